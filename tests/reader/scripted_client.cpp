#include "scripted_client.h"

#include "util/frame_protocol.h"

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
    while (children().contains(m_number))
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
    const std::string block(resultBlock(), frame_protocol::blockSize);
    if (!block.starts_with(m_sent))
        return std::nullopt;
    return block.c_str() + m_sent.size() + 1;
}

std::optional<std::string> ScriptedClient::ask(const std::string &command, std::chrono::milliseconds patience)
{
    send(command);
    const auto deadline = std::chrono::steady_clock::now() + patience;
    auto found = reply();
    for (; !found && std::chrono::steady_clock::now() <= deadline; found = reply())
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    return found;
}

std::optional<ScriptedClient::OpenFilm> ScriptedClient::open(const std::string &path, int frames)
{
    const auto text = ask("open " + path);
    OpenFilm film;
    if (!text
        || std::sscanf(text->c_str(), "%d %d %lld %lf", &film.width, &film.height, &film.frameCount, &film.frameRate)
               != 4)
        return std::nullopt;
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
