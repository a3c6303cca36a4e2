#pragma once

#include "film/interruption.h"
#include "platform/shared_objects.h"
#include "platform/whole_file.h"
#include "protocol/command.h"
#include "protocol/opened_film.h"
#include "protocol/reader_side.h"
#include "reader/film.h"

#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <utility>

/// Serves one program: takes its commands from the command block, decodes, and answers in the data and result blocks.
class FrameServer {
public:
    /// Creates the shared objects, the liveness mutex last; null if a living reader has that share name or the system
    /// refuses. `ended` tells that the program has ended.
    [[nodiscard]] static std::unique_ptr<FrameServer> create(const std::string &shareName, Interrupted ended);
    FrameServer(const FrameServer &) = delete;
    FrameServer &operator=(const FrameServer &) = delete;

    /// Returns when the program has said "exit" or has ended.
    void run();

private:
    using Clock = std::chrono::steady_clock;

    FrameServer(std::string shareName, Interrupted ended);
    [[nodiscard]] bool createObjects();

    /// False if the command was to end.
    [[nodiscard]] bool carryOut(const std::string &text);
    void workAhead();

    /// A reply, or nothing if there is none to be given.
    using Reply = std::optional<std::string>;
    [[nodiscard]] Reply reply(const protocol::Timeout &command);
    [[nodiscard]] Reply reply(const protocol::Frames &command);
    [[nodiscard]] Reply reply(const protocol::BufferUpdate &command);
    [[nodiscard]] Reply reply(const protocol::Open &command);
    [[nodiscard]] Reply reply(const protocol::Close &command);
    [[nodiscard]] Reply reply(const protocol::Read &command);
    [[nodiscard]] Reply reply(const protocol::Exit &command);

    /// True if the film at this path is open and its pictures have their room.
    [[nodiscard]] bool openFilm(const std::string &path);
    /// What the program will know of the film.
    [[nodiscard]] protocol::OpenedFilm openedFilm() const;
    [[nodiscard]] std::optional<std::size_t> dataSize(std::int64_t pictures) const;
    [[nodiscard]] bool reserveData(std::size_t size);
    void openAgainIfFileChanged();
    [[nodiscard]] std::chrono::microseconds pause() const;

    std::string m_shareName;
    Interrupted m_ended;
    Interrupted m_interrupted; ///< the program has ended or wants something else

    std::optional<protocol::CommandBlock> m_commands;
    std::unique_ptr<SharedMemory> m_results;
    std::unique_ptr<SharedMemory> m_data;
    std::unique_ptr<LivenessMutex> m_liveness;

    std::unique_ptr<Film> m_film;
    std::int64_t m_picturesPerRead = 1;
    Clock::time_point m_lastActivity = Clock::now();

    /// A film that could not be opened: the program may want it again with the very same words, which nobody can tell
    /// from the first ones.
    struct Refused {
        std::string path;
        std::optional<FileState> state;
        Clock::time_point looked;
    };
    std::optional<Refused> m_refused;
};
