#pragma once

#include "platform/process.h"
#include "protocol/blocks.h"
#include "protocol/command.h"
#include "protocol/opened_film.h"
#include "protocol/program_side.h"

#include <QString>

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

/// The program's side of the frame reader, a process of its own that decodes the pictures of a film and hands them over
/// through shared memory: one text command at a time, answered by its echo (protocol/). The operations block the
/// calling thread until their answer is there or their patience is over.
///
/// No operation waits for a reader that could not be started or whose process has ended: what would have to send it a
/// command throws UserError, except for `Close` and `Exit`, which have nothing to do then. `Run` starts a new one. A
/// reader that is alive is not trusted: what it says is checked before it is used.
class FRAME_READER {
public:
    FRAME_READER() = default;
    ~FRAME_READER() = default;
    FRAME_READER(const FRAME_READER &) = delete;
    FRAME_READER &operator=(const FRAME_READER &) = delete;

    /// Sets the suffix of the shared objects' names, which is also the reader's command-line argument.
    void SetShareName(const QString &name) { m_shareName = name; }
    /// Sets the full path of the reader's executable.
    void SetEXE(const QString &path) { m_exePath = path; }

    /// Starts the reader, waits some seconds at most until it is there, and opens the shared blocks. No film is open
    /// then. Never fails: what is wrong is found by the operations that need the reader.
    void Run();

    /// Tries three times whether the reader's mutex exists, without waiting.
    [[nodiscard]] bool Check() const;

    /// True if no reader was started or its process has ended.
    [[nodiscard]] bool hasEnded() const { return !m_process || m_process->ended(); }

    /// Sends a command; true. Throws UserError if it does not fit its block.
    bool Command(const QString &text);

    /// Waits about 100 ms for the answer to the last command; true if it has come, and is `lastResult` then.
    bool Result();

    /// Tells the reader a time-out; true if it answered.
    bool TimeOut(std::int32_t n);

    /// Has every read deliver `n` pictures, 1 .. 20; nothing happens for any other number. Waits without limit for the
    /// reader's answers. Throws UserError if the pictures are too large or cannot be reached.
    void SetFramesBuf(std::int32_t n);

    /// Opens a film; false, and the error text longer, if the reader has not told all that is to be known of it within
    /// some three seconds. Else waits without limit for the pictures' block. Throws UserError if the reader tells an
    /// impossible picture size or its pictures cannot be reached; the film is open in the reader then.
    [[nodiscard]] bool Open(const QString &path);

    /// Closes the film. True if the reader answered.
    bool Close();

    /// Sets the index of the next picture to read.
    void Seek(std::int64_t frameIndex) { m_position = frameIndex; }

    /// Has the reader deliver the pictures from the position on, which then moves behind them; false, and the position
    /// what it was, if no answer came within some six seconds.
    bool Read();

    /// Requests the pictures from the position on, does not wait for them, and moves the position behind them; true.
    bool ReadAsync();

    /// Copies the delivered pictures into the local buffer; true. Throws UserError if they cannot be reached.
    bool GetData();

    /// Makes the local buffer as large as the pictures of one read.
    void ResizeVideoBuf();

    /// Tells the reader to end and lets go of the shared blocks; true.
    bool Exit();

    [[nodiscard]] const QString &shareName() const { return m_shareName; }
    [[nodiscard]] const QString &exePath() const { return m_exePath; }
    /// The reply to the last command that was answered, and the last command sent.
    [[nodiscard]] const QString &lastResult() const { return m_lastResult; }
    [[nodiscard]] const QString &lastCommand() const { return m_lastCommand; }
    /// Grows with every film that could not be opened.
    [[nodiscard]] const QString &errorText() const { return m_errorText; }
    [[nodiscard]] std::int32_t framesPerBuffer() const { return m_framesPerBuffer; }
    /// Of the opened film: pixels, pictures per second, pictures. 0 before the first one.
    [[nodiscard]] std::int32_t width() const { return m_film.width; }
    [[nodiscard]] std::int32_t height() const { return m_film.height; }
    [[nodiscard]] double frameRate() const { return m_film.frameRate; }
    [[nodiscard]] std::int64_t frameCount() const { return m_film.frameCount; }
    /// Bytes of the local buffer and of the view of the data block.
    [[nodiscard]] std::int32_t bufferSize() const { return static_cast<std::int32_t>(m_localBuffer.size()); }
    [[nodiscard]] std::int32_t dataViewSize() const { return m_dataViewSize; }
    /// The index of the next picture to read.
    [[nodiscard]] std::int64_t position() const { return m_position; }
    [[nodiscard]] bool opened() const { return m_opened; }
    /// The pictures delivered last: rows from the top down, blue, green and red of each pixel, without padding.
    [[nodiscard]] const std::vector<std::uint8_t> &localBuffer() const { return m_localBuffer; }

private:
    void send(const protocol::Command &command);
    void openBlocks();
    void mapData(std::int32_t size);
    void renewData(std::int32_t size);
    void throwIfEnded() const;
    [[nodiscard]] bool sleepUntil(const std::function<bool()> &isOver) const;
    [[nodiscard]] bool takeAnswer();
    [[nodiscard]] bool awaitSlowAnswer(int calls, const std::function<bool()> &isWhole);
    [[nodiscard]] std::optional<protocol::OpenedFilm> awaitFilm();
    void awaitAnswer();
    [[nodiscard]] std::int32_t sizeOfPictures(std::int32_t pictures) const;

    QString m_shareName;
    QString m_exePath;
    QString m_lastResult;
    QString m_lastCommand;
    QString m_errorText;
    std::int32_t m_framesPerBuffer = 1;
    std::int32_t m_dataViewSize = protocol::unopenedDataSize;
    protocol::OpenedFilm m_film;
    std::int64_t m_position = 0;
    bool m_opened = false;
    std::vector<std::uint8_t> m_localBuffer = std::vector<std::uint8_t>(10);

    std::unique_ptr<HiddenProcess> m_process;
    protocol::ProgramSide m_blocks;
};
