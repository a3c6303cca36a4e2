#include "scripted_client.h"

#include "util/frame_protocol.h"

#include <atomic>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <iterator>
#include <set>
#include <thread>

namespace {

std::set<pid_t> children()
{
    std::ifstream file("/proc/thread-self/children");
    return {std::istream_iterator<pid_t>(file), {}};
}

} // namespace

ScriptedClient::ScriptedClient(const std::string &shareName) : m_shareName(shareName)
{
    using namespace frame_protocol;
    const std::set<pid_t> before = children();
    m_process = startHiddenProcess(TAVRIN_FRAME_READER, shareName);
    for (const pid_t number : children()) {
        if (!before.contains(number))
            m_number = number;
    }
    m_command = SharedMemory::open(std::string(frame_protocol::commandBlock) + shareName, blockSize);
    m_result = SharedMemory::open(std::string(frame_protocol::resultBlock) + shareName, blockSize);
    m_data = SharedMemory::open(std::string(dataBlock) + shareName, unopenedDataSize);
}

ScriptedClient::~ScriptedClient()
{
    m_process.reset();
    while (m_number > 0 && children().contains(m_number))
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
}

bool ScriptedClient::isAlive() const
{
    return LivenessMutex::exists(std::string(frame_protocol::livenessMutex) + m_shareName);
}

std::span<char> ScriptedClient::commandBlock() const
{
    return {reinterpret_cast<char *>(m_command->data()), m_command->size()};
}

std::span<char> ScriptedClient::resultBlock() const
{
    return {reinterpret_cast<char *>(m_result->data()), m_result->size()};
}

void ScriptedClient::send(const std::string &command)
{
    m_sent = command;
    std::memcpy(m_command->data(), command.c_str(), command.size() + 1);
}

std::optional<std::string> ScriptedClient::reply() const
{
    std::string block(frame_protocol::blockSize, '\0');
    std::memcpy(block.data(), m_result->data(), block.size());
    std::atomic_signal_fence(std::memory_order_seq_cst);
    if (block.compare(0, m_sent.size(), m_sent) != 0)
        return std::nullopt;
    return std::string(block.c_str() + m_sent.size() + 1);
}

std::optional<std::string> ScriptedClient::awaitReply(std::chrono::milliseconds patience) const
{
    const auto deadline = std::chrono::steady_clock::now() + patience;
    for (;;) {
        if (auto found = reply())
            return found;
        if (std::chrono::steady_clock::now() > deadline)
            return std::nullopt;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
}

std::optional<std::string> ScriptedClient::ask(const std::string &command, std::chrono::milliseconds patience)
{
    send(command);
    return awaitReply(patience);
}

std::optional<ScriptedClient::OpenFilm> ScriptedClient::open(const std::string &path, int frames)
{
    const auto text = ask("open " + path);
    OpenFilm film;
    long long count = 0;
    if (!text || std::sscanf(text->c_str(), "%d %d %lld %lf", &film.width, &film.height, &count, &film.frameRate) != 4)
        return std::nullopt;
    film.frameCount = count;
    if (!ask("frames " + std::to_string(frames)) || !mapData(film.pictureBytes() * static_cast<std::size_t>(frames)))
        return std::nullopt;
    return film;
}

bool ScriptedClient::mapData(std::size_t size)
{
    m_data.reset();
    if (!ask("bufupdate"))
        return false;
    m_data = SharedMemory::open(std::string(frame_protocol::dataBlock) + m_shareName, size);
    return m_data != nullptr;
}
