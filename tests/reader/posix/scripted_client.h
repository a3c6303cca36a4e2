#pragma once

#include "platform/process.h"
#include "protocol/opened_film.h"
#include "protocol/program_side.h"

#include <sys/types.h>

#include <chrono>
#include <memory>
#include <optional>
#include <span>
#include <string>

/// The program's side of the frame reader's protocol, word by word, with the built FrameReader at the other end.
class ScriptedClient {
public:
    explicit ScriptedClient(const std::string &shareName = "TAVRIN");
    /// Lets go of the reader and waits until it has ended.
    ~ScriptedClient();

    /// True if the reader lives and its blocks could be mapped.
    [[nodiscard]] bool isReady() const { return m_number > 0 && m_blocks.isOpen() && !data().empty() && isAlive(); }
    [[nodiscard]] bool isAlive() const;
    [[nodiscard]] bool hasEnded() const { return !m_process || m_process->ended(); }
    /// The reader's process number, or -1.
    [[nodiscard]] pid_t process() const { return m_number; }

    /// Writes the command as the program does. It must fit the block.
    void send(const std::string &command) { m_blocks.send(command); }
    /// The reply to the command sent last, if there is one now.
    [[nodiscard]] std::optional<std::string> reply() { return m_blocks.reply(); }
    /// Sends a command and waits for its reply, looking every millisecond.
    [[nodiscard]] std::optional<std::string> ask(const std::string &command,
                                                 std::chrono::milliseconds patience = std::chrono::seconds(20));

    /// "open" and what follows it: the buffer is updated and mapped for that many pictures.
    [[nodiscard]] std::optional<protocol::OpenedFilm> open(const std::string &path, int pictures = 1);
    /// "bufupdate", and the data block mapped for that many pictures of the film; false if it is smaller.
    [[nodiscard]] bool mapData(const protocol::OpenedFilm &film, int pictures);

    /// What the last reads have left in the data block.
    [[nodiscard]] std::span<const std::byte> data() const { return m_blocks.data(); }

private:
    std::string m_shareName;
    std::unique_ptr<HiddenProcess> m_process;
    pid_t m_number = -1;
    protocol::ProgramSide m_blocks;
};
