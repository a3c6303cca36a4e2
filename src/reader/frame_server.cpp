#include "reader/frame_server.h"

#include "protocol/blocks.h"

#include <algorithm>
#include <new>
#include <system_error>
#include <thread>

using namespace std::chrono_literals;

namespace {

// The program maps a few bytes even before it knows a film.
constexpr std::size_t leastDataSize = protocol::blockSize;
static_assert(leastDataSize >= protocol::unopenedDataSize);

std::optional<FileState> stateOf(const std::string &path)
{
    return stateOfFile(std::u8string(path.begin(), path.end()));
}

} // namespace

std::unique_ptr<FrameServer> FrameServer::create(const std::string &shareName, Interrupted ended)
{
    std::unique_ptr<FrameServer> server(new FrameServer(shareName, std::move(ended)));
    return server->createObjects() ? std::move(server) : nullptr;
}

FrameServer::FrameServer(std::string shareName, Interrupted ended)
    : m_shareName(std::move(shareName)), m_ended(std::move(ended)),
      m_interrupted([this] { return m_ended() || m_commands->hasChanged(); })
{
}

bool FrameServer::createObjects()
{
    using namespace protocol;
    const std::string liveness = objectName(livenessMutex, m_shareName);
    // The objects of a living reader must not be replaced, and the program takes the mutex for the sign that the
    // blocks are there.
    const auto starting = LivenessMutex::create(liveness + " starting");
    if (!starting || LivenessMutex::exists(liveness))
        return false;
    auto commands = SharedMemory::create(objectName(commandBlock, m_shareName), blockSize);
    m_results = SharedMemory::create(objectName(resultBlock, m_shareName), blockSize);
    if (!commands || !m_results || !reserveData(leastDataSize))
        return false;
    m_commands.emplace(std::move(commands));
    m_liveness = LivenessMutex::create(liveness);
    return m_liveness != nullptr;
}

void FrameServer::run()
{
    while (!m_ended()) {
        if (const std::optional<std::string> command = m_commands->take()) {
            const bool goesOn = carryOut(*command);
            m_lastActivity = Clock::now();
            if (!goesOn)
                return;
            workAhead();
            continue;
        }
        openAgainIfFileChanged();
        std::this_thread::sleep_for(pause());
    }
}

// A program at work gets its answer at once; one that is not wants no more than a reader that still listens.
std::chrono::microseconds FrameServer::pause() const
{
    if (m_commands->isPending())
        return 30us;
    const auto idle = Clock::now() - m_lastActivity;
    if (idle < 200ms)
        return 100us;
    return idle < 1s ? 500us : 50ms;
}

bool FrameServer::carryOut(const std::string &text)
{
    m_refused.reset();
    const std::optional<protocol::Command> command = protocol::parseCommand(text);
    if (!command)
        return true;
    try {
        if (const Reply answer = std::visit([this](const auto &told) { return reply(told); }, *command))
            protocol::publish(*m_results, text, *answer);
    } catch (const std::bad_alloc &) {
        // Without memory for it there is no answer, as for a film that cannot be read.
        m_film.reset();
    }
    return !std::holds_alternative<protocol::Exit>(*command);
}

void FrameServer::workAhead()
{
    try {
        if (m_film)
            m_film->workAhead(m_interrupted);
    } catch (const std::bad_alloc &) {
        m_film.reset();
    }
}

FrameServer::Reply FrameServer::reply(const protocol::Timeout & /*command*/)
{
    // Every answer is given as soon as it can be.
    return std::string(protocol::done);
}

FrameServer::Reply FrameServer::reply(const protocol::Exit & /*command*/)
{
    return std::nullopt;
}

// Films

FrameServer::Reply FrameServer::reply(const protocol::Open &command)
{
    const std::optional<FileState> state = stateOf(command.path);
    if (openFilm(command.path))
        return textOf(openedFilm());
    m_film.reset();
    m_refused = Refused{command.path, state, Clock::now()};
    return std::nullopt;
}

FrameServer::Reply FrameServer::reply(const protocol::Close & /*command*/)
{
    m_film.reset();
    return std::string(protocol::done);
}

bool FrameServer::openFilm(const std::string &path)
{
    m_film.reset();
    m_film = Film::open(path, m_interrupted, m_ended);
    // The program will map its pictures as soon as it knows their size, and takes no refusal then.
    const std::optional<std::size_t> size = m_film ? dataSize(m_picturesPerRead) : std::nullopt;
    return size && reserveData(*size);
}

protocol::OpenedFilm FrameServer::openedFilm() const
{
    return {m_film->width(), m_film->height(), m_film->frameCount(), m_film->frameRate()};
}

void FrameServer::openAgainIfFileChanged()
{
    constexpr auto interval = 250ms;
    if (!m_refused || Clock::now() - m_refused->looked < interval)
        return;
    m_refused->looked = Clock::now();
    if (stateOf(m_refused->path) != m_refused->state)
        (void)carryOut(textOf(protocol::Open{m_refused->path}));
}

FrameServer::Reply FrameServer::reply(const protocol::Read &command)
{
    if (!m_film)
        return std::nullopt;
    const auto fitting = static_cast<std::int64_t>(m_data->size() / m_film->pictureBytes());
    const std::int64_t wanted =
        std::clamp<std::int64_t>(command.count.value_or(m_picturesPerRead), 1, protocol::mostPictures);
    const std::int64_t count = std::min(wanted, fitting);
    if (count < 1)
        return std::nullopt;
    const std::span<std::byte> pixels(m_data->data(), static_cast<std::size_t>(count) * m_film->pictureBytes());
    if (!m_film->read(command.first, pixels, m_interrupted))
        return std::nullopt;
    return std::string(protocol::done);
}

// The data block

FrameServer::Reply FrameServer::reply(const protocol::Frames &command)
{
    if (command.number < 1 || command.number > protocol::mostPictures || !dataSize(command.number))
        return std::string(protocol::refused);
    m_picturesPerRead = command.number;
    return std::string(protocol::done);
}

FrameServer::Reply FrameServer::reply(const protocol::BufferUpdate & /*command*/)
{
    // The program waits for an answer whatever it is, and sees by the block's size if it was refused.
    const std::optional<std::size_t> size = dataSize(m_picturesPerRead);
    return std::string(size && reserveData(*size) ? protocol::done : protocol::refused);
}

std::optional<std::size_t> FrameServer::dataSize(std::int64_t pictures) const
{
    if (!m_film)
        return leastDataSize;
    const std::optional<std::int32_t> size = openedFilm().dataSize(pictures);
    return size ? std::optional(static_cast<std::size_t>(*size)) : std::nullopt;
}

bool FrameServer::reserveData(std::size_t size)
{
    size = std::max(size, leastDataSize);
    if (m_data && m_data->size() == size)
        return true;
    auto data = SharedMemory::create(protocol::objectName(protocol::dataBlock, m_shareName), size);
    if (!data)
        return false;
    m_data = std::move(data);
    return true;
}
