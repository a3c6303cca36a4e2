#include "reader/frame_server.h"

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <limits>
#include <new>
#include <system_error>
#include <thread>

using namespace std::chrono_literals;

namespace {

constexpr std::size_t leastDataSize = frame_protocol::blockSize;
static_assert(leastDataSize >= frame_protocol::unopenedDataSize);

std::string objectName(std::string_view prefix, const std::string &shareName)
{
    return std::string(prefix) + shareName;
}

std::string number(double value)
{
    char text[32];
    const auto [end, error] = std::to_chars(text, text + sizeof text, value);
    return error == std::errc() ? std::string(text, end) : std::string("0");
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
    const std::string liveness = objectName(frame_protocol::livenessMutex, m_shareName);
    // The objects of a living reader must not be replaced, and the program takes the mutex for the sign that the
    // blocks are there.
    const auto starting = LivenessMutex::create(liveness + " starting");
    if (!starting || LivenessMutex::exists(liveness))
        return false;
    auto commands =
        SharedMemory::create(objectName(frame_protocol::commandBlock, m_shareName), frame_protocol::blockSize);
    auto results =
        SharedMemory::create(objectName(frame_protocol::resultBlock, m_shareName), frame_protocol::blockSize);
    if (!commands || !results || !reserveData(leastDataSize))
        return false;
    m_commands.emplace(std::move(commands));
    m_results.emplace(std::move(results));
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
    const std::optional<Command> command = parseCommand(text);
    if (!command)
        return true;
    if (command->kind == Command::Kind::Exit)
        return false;
    try {
        if (const std::optional<std::string> answer = reply(*command))
            m_results->publish(text, *answer);
    } catch (const std::bad_alloc &) {
        // Without memory for it there is no answer, as for a film that cannot be read.
        m_film.reset();
    }
    return true;
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

std::optional<std::string> FrameServer::reply(const Command &command)
{
    switch (command.kind) {
    case Command::Kind::Frames:
        return setFrames(command.number);
    case Command::Kind::BufferUpdate:
        return updateBuffer();
    case Command::Kind::Open:
        return open(command.path);
    case Command::Kind::Read:
        return read(command);
    case Command::Kind::Close:
        m_film.reset();
        return "ok";
    case Command::Kind::Timeout: // every answer is given as soon as it can be
    case Command::Kind::Exit:
        break;
    }
    return "ok";
}

// Films

std::optional<std::string> FrameServer::open(const std::string &path)
{
    m_film.reset();
    const FileState state = stateOf(path);
    std::unique_ptr<Film> film = Film::open(path, m_interrupted, m_ended);
    if (film) {
        m_film = std::move(film);
        // The program will map its frames as soon as it knows their size, and takes no refusal then.
        const std::optional<std::size_t> size = dataSize(m_frames);
        if (!size || !reserveData(*size))
            m_film.reset();
    }
    if (!m_film) {
        m_refused = Refused{path, state, Clock::now()};
        return std::nullopt;
    }
    return std::to_string(m_film->width()) + ' ' + std::to_string(m_film->height()) + ' '
           + std::to_string(m_film->frameCount()) + ' ' + number(m_film->frameRate());
}

void FrameServer::openAgainIfFileChanged()
{
    constexpr auto interval = 250ms;
    if (!m_refused || Clock::now() - m_refused->looked < interval)
        return;
    m_refused->looked = Clock::now();
    if (stateOf(m_refused->path) != m_refused->state)
        (void)carryOut("open " + std::string(m_refused->path));
}

FrameServer::FileState FrameServer::stateOf(const std::string &path)
{
    const std::filesystem::path file(std::u8string(path.begin(), path.end()));
    std::error_code timeError;
    std::error_code sizeError;
    const auto time = std::filesystem::last_write_time(file, timeError);
    const auto size = std::filesystem::file_size(file, sizeError);
    if (timeError || sizeError)
        return std::nullopt;
    return std::pair(time, size);
}

std::optional<std::string> FrameServer::read(const Command &command)
{
    if (!m_film)
        return std::nullopt;
    const auto fitting = static_cast<std::int64_t>(m_data->size() / m_film->pictureBytes());
    const std::int64_t count =
        std::min(std::clamp<std::int64_t>(command.count.value_or(m_frames), 1, frame_protocol::mostFrames), fitting);
    if (count < 1)
        return std::nullopt;
    const std::span<std::byte> pixels(m_data->data(), static_cast<std::size_t>(count) * m_film->pictureBytes());
    if (!m_film->read(command.number, pixels, m_interrupted))
        return std::nullopt;
    return "ok";
}

// The data block

std::optional<std::size_t> FrameServer::dataSize(std::int64_t frames) const
{
    if (!m_film)
        return leastDataSize;
    const std::int64_t size = frames * static_cast<std::int64_t>(m_film->pictureBytes());
    if (size > std::numeric_limits<std::int32_t>::max())
        return std::nullopt;
    return static_cast<std::size_t>(size);
}

bool FrameServer::reserveData(std::size_t size)
{
    // The program maps a few bytes even before it knows a film.
    size = std::max(size, leastDataSize);
    if (m_data && m_data->size() == size)
        return true;
    auto data = SharedMemory::create(objectName(frame_protocol::dataBlock, m_shareName), size);
    if (!data)
        return false;
    m_data = std::move(data);
    return true;
}

std::string FrameServer::setFrames(std::int64_t count)
{
    if (count < 1 || count > frame_protocol::mostFrames || !dataSize(count))
        return "refused";
    m_frames = count;
    return "ok";
}

std::string FrameServer::updateBuffer()
{
    // The program waits for an answer whatever it is, and sees by the block's size if it was refused.
    const std::optional<std::size_t> size = dataSize(m_frames);
    return size && reserveData(*size) ? "ok" : "refused";
}
