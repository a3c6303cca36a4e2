#include "scripted_client.h"

#include "protocol/blocks.h"
#include "protocol/command.h"

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
    m_blocks.open(shareName);
    m_blocks.mapData(protocol::unopenedDataSize);
}

ScriptedClient::~ScriptedClient()
{
    m_process.reset();
    while (children().contains(m_number))
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
}

bool ScriptedClient::isAlive() const
{
    return LivenessMutex::exists(protocol::objectName(protocol::livenessMutex, m_shareName));
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

std::optional<protocol::OpenedFilm> ScriptedClient::open(const std::string &path, int pictures)
{
    const auto reply = ask(textOf(protocol::Open{path}));
    const auto film = reply ? protocol::parseOpenedFilm(*reply) : std::nullopt;
    if (!film || !ask(textOf(protocol::Frames{pictures})) || !mapData(*film, pictures))
        return std::nullopt;
    return film;
}

bool ScriptedClient::mapData(const protocol::OpenedFilm &film, int pictures)
{
    m_blocks.unmapData();
    if (!ask(textOf(protocol::BufferUpdate{})))
        return false;
    m_blocks.mapData(film.dataSize(pictures).value_or(1));
    return !data().empty();
}
