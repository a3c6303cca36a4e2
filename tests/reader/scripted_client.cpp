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
    const std::set<pid_t> before = children();
    m_process = startHiddenProcess(TAVRIN_FRAME_READER, shareName);
    for (const pid_t number : children()) {
        if (!before.contains(number))
            m_number = number;
    }
    m_command = map(frame_protocol::commandBlock, frame_protocol::blockSize);
    m_result = map(frame_protocol::resultBlock, frame_protocol::blockSize);
    m_data = map(frame_protocol::dataBlock, frame_protocol::unopenedDataSize);
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

std::unique_ptr<SharedMemory> ScriptedClient::map(std::string_view block, std::size_t size) const
{
    return SharedMemory::open(std::string(block) + m_shareName, size);
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
    auto found = reply();
    for (; !found && std::chrono::steady_clock::now() <= deadline; found = reply())
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    return found;
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
    m_data = map(frame_protocol::dataBlock, size);
    return m_data != nullptr;
}
