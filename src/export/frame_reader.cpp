#include "export/frame_reader.h"

#include "util/frame_protocol.h"
#include "util/user_error.h"

#include <algorithm>
#include <atomic>
#include <charconv>
#include <cmath>
#include <cstring>
#include <limits>
#include <string>
#include <thread>

using namespace std::chrono_literals;

namespace {

constexpr auto pollInterval = 1ms;
constexpr int pollsPerResult = 100;
constexpr auto retryInterval = 500ms;
constexpr int mutexRounds = 10;
constexpr int mutexAttempts = 3;
constexpr int openCalls = 5;
constexpr int readCalls = 10;

/// The text of a block up to its first NUL or its end.
QByteArray textIn(const QByteArray &block)
{
    const auto end = block.indexOf('\0');
    return end < 0 ? block : block.first(end);
}

QByteArray contentOf(const SharedMemory &block)
{
    QByteArray copy(static_cast<qsizetype>(block.size()), Qt::Uninitialized);
    std::memcpy(copy.data(), block.data(), block.size());
    return copy;
}

/// Reads the number that `text` begins with, after blanks, and takes it off the text; false if it begins with none.
/// Numbers beyond the type become its bounds.
template <typename Number>
bool takeNumber(std::string_view &text, Number &number)
{
    const auto first = text.find_first_not_of(" \t\r\n\v\f");
    text.remove_prefix(first == std::string_view::npos ? text.size() : first);
    const bool negative = text.starts_with('-');
    if (text.starts_with('+'))
        text.remove_prefix(1);
    Number read{};
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), read);
    if (error == std::errc::invalid_argument)
        return false;
    using Limits = std::numeric_limits<Number>;
    number = error == std::errc() ? read : negative ? Limits::lowest() : Limits::max();
    text.remove_prefix(static_cast<std::size_t>(end - text.data()));
    return true;
}

} // namespace

void FRAME_READER::Run()
{
    m_commandView.reset();
    m_resultView.reset();
    m_dataView.reset();
    m_opened = false;
    m_sent.clear();
    m_earlier.clear();
    m_process.reset();
    m_process = startHiddenProcess(m_exePath.toStdString(), m_shareName.toStdString());
    for (int round = 0; round < mutexRounds && !hasEnded() && !Check(); ++round)
        sleepFor(retryInterval, [this] { return Check(); });
    m_position = 0;
    openBlocks();
}

bool FRAME_READER::Check() const
{
    for (int attempt = 0; attempt < mutexAttempts; ++attempt) {
        if (LivenessMutex::exists(nameOf(frame_protocol::livenessMutex)))
            return true;
    }
    return false;
}

bool FRAME_READER::Command(const QString &text)
{
    throwIfEnded();
    if (!m_commandView || !m_resultView)
        openBlocks();
    if (!m_commandView || !m_resultView)
        throw UserError(QStringLiteral("Программа чтения кадров «%1» не отвечает").arg(m_exePath));

    const QByteArray command = text.toUtf8();
    if (command.size() + 1 >= static_cast<qsizetype>(m_commandView->size()) || command.contains('\0'))
        throw UserError(QStringLiteral("Слишком длинная команда для программы чтения кадров: «%1»").arg(text));

    m_lastCommand = text;
    m_earlier += m_sent;
    m_sent = command;
    std::memcpy(m_commandView->data(), command.constData(), static_cast<std::size_t>(command.size()) + 1);
    return true;
}

bool FRAME_READER::Result()
{
    for (int attempt = 0; attempt < pollsPerResult; ++attempt) {
        // Asked before the block is looked at, so that the last answer of a reader that ends is still taken.
        const bool ended = hasEnded();
        if (takeAnswer())
            return true;
        if (ended)
            throwIfEnded();
        std::this_thread::sleep_for(pollInterval);
    }
    return false;
}

/// True if the result block, of which this is a copy, holds the answer to the last command. The same command again is
/// answered by its old answer; but one that is only the beginning of an earlier one, such as a shorter frame index, is
/// not answered by that one's.
bool FRAME_READER::isAnswered(const QByteArray &result) const
{
    const auto isLongerAndAnswered = [&](const QByteArray &earlier) {
        return earlier.size() > m_sent.size() && earlier.startsWith(m_sent) && result.startsWith(earlier);
    };
    return result.startsWith(m_sent) && std::none_of(m_earlier.begin(), m_earlier.end(), isLongerAndAnswered);
}

bool FRAME_READER::takeAnswer()
{
    if (!m_resultView)
        return false;
    QByteArray result = contentOf(*m_resultView);
    if (!isAnswered(result))
        return false;
    // The reader writes the reply before the echo: what is copied once the echo was seen is complete.
    std::atomic_thread_fence(std::memory_order_acquire);
    result = contentOf(*m_resultView);
    m_lastResult = QString::fromUtf8(textIn(result.mid(m_sent.size() + 1)));
    // The reader works in order: nothing earlier can be answered any more.
    m_earlier.clear();
    return true;
}

bool FRAME_READER::TimeOut(std::int32_t n)
{
    Command(QStringLiteral("timeout %1").arg(n));
    return Result();
}

void FRAME_READER::SetFramesBuf(std::int32_t n)
{
    if (n < 1 || n > frame_protocol::mostFrames)
        return;
    const std::int32_t size = sizeOfFrames(n);
    m_framesPerBuffer = n;
    Command(QStringLiteral("frames %1").arg(n));
    awaitResult();
    renewData(size);
}

bool FRAME_READER::Open(const QString &path)
{
    Command(QStringLiteral("open ") + path);
    int calls = 1;
    while (!Result()) {
        pauseForAnswer();
        if (calls++ == openCalls) {
            m_errorText += QStringLiteral(" Can't open file");
            return false;
        }
    }
    m_opened = true;
    parseOpenReply(m_lastResult.toUtf8());
    const std::int32_t size = sizeOfFrames(m_framesPerBuffer);
    if (size == 0) {
        throw UserError(QStringLiteral("Программа чтения кадров сообщила неверный размер кадра: %1 × %2")
                            .arg(m_width)
                            .arg(m_height));
    }
    renewData(size);
    return true;
}

bool FRAME_READER::Close()
{
    m_opened = false;
    if (hasEnded())
        return false;
    try {
        Command(QStringLiteral("close"));
        return Result();
    } catch (const UserError &) {
        // The reader has ended meanwhile, and with it the film is closed.
        return false;
    }
}

bool FRAME_READER::Read()
{
    Command(QStringLiteral("read %1").arg(m_position));
    for (int call = 0; call < readCalls; ++call) {
        if (Result()) {
            m_position += m_framesPerBuffer;
            return true;
        }
        pauseForAnswer();
    }
    return false;
}

bool FRAME_READER::ReadAsync()
{
    Command(QStringLiteral("read %1 %2").arg(m_position).arg(m_framesPerBuffer));
    m_position += m_framesPerBuffer;
    return true;
}

bool FRAME_READER::GetData()
{
    if (bufferSize() != m_dataViewSize)
        mapData(bufferSize());
    if (!m_dataView)
        throw UserError(QStringLiteral("Кадры программы чтения кадров недоступны"));
    std::memcpy(m_localBuffer.data(), m_dataView->data(), m_localBuffer.size());
    return true;
}

void FRAME_READER::ResizeVideoBuf()
{
    m_localBuffer.assign(static_cast<std::size_t>(sizeOfFrames(m_framesPerBuffer)), 0);
}

bool FRAME_READER::Exit()
{
    if (!hasEnded())
        Command(QStringLiteral("exit"));
    m_commandView.reset();
    m_resultView.reset();
    m_dataView.reset();
    return true;
}

std::string FRAME_READER::nameOf(std::string_view prefix) const
{
    return std::string(prefix) + m_shareName.toStdString();
}

void FRAME_READER::openBlocks()
{
    m_commandView = SharedMemory::open(nameOf(frame_protocol::commandBlock), frame_protocol::blockSize);
    m_resultView = SharedMemory::open(nameOf(frame_protocol::resultBlock), frame_protocol::blockSize);
    mapData(m_dataViewSize);
}

/// Leaves no view if the block is smaller than `size`.
void FRAME_READER::mapData(std::int32_t size)
{
    m_dataView.reset();
    m_dataViewSize = size;
    if (size > 0)
        m_dataView = SharedMemory::open(nameOf(frame_protocol::dataBlock), static_cast<std::size_t>(size));
}

/// Has the reader make the data block anew and maps it.
void FRAME_READER::renewData(std::int32_t size)
{
    m_dataView.reset();
    Command(QStringLiteral("bufupdate"));
    awaitResult();
    mapData(size);
    if (size > 0 && !m_dataView)
        throw UserError(QStringLiteral("Кадры программы чтения кадров недоступны"));
}

void FRAME_READER::throwIfEnded() const
{
    if (!m_process)
        throw UserError(QStringLiteral("Не удалось запустить программу чтения кадров «%1»").arg(m_exePath));
    if (m_process->ended())
        throw UserError(QStringLiteral("Программа чтения кадров «%1» неожиданно завершилась").arg(m_exePath));
}

/// Sleeps for `duration`, but no longer than until `isOver` or there is no reader to sleep for.
void FRAME_READER::sleepFor(std::chrono::milliseconds duration, const std::function<bool()> &isOver) const
{
    constexpr auto slice = 5ms;
    const auto end = std::chrono::steady_clock::now() + duration;
    while (!hasEnded() && !isOver() && std::chrono::steady_clock::now() < end)
        std::this_thread::sleep_for(std::min<std::chrono::nanoseconds>(slice, end - std::chrono::steady_clock::now()));
}

/// The pause between two calls of `Result` for a slow command. An answer that comes meanwhile is not left lying.
void FRAME_READER::pauseForAnswer() const
{
    sleepFor(retryInterval, [this] { return isAnswered(contentOf(*m_resultView)); });
}

void FRAME_READER::awaitResult()
{
    while (!Result())
        std::this_thread::sleep_for(pollInterval);
}

/// Width, height, frame count and frame rate, separated by blanks. What does not parse stays what it was.
void FRAME_READER::parseOpenReply(const QByteArray &reply)
{
    std::string_view text(reply.constData(), static_cast<std::size_t>(reply.size()));
    (void)(takeNumber(text, m_width) && takeNumber(text, m_height) && takeNumber(text, m_frameCount)
           && takeNumber(text, m_frameRate));
}

/// Bytes of that many frames; 0 without a picture. Throws UserError if they are more than the protocol can count.
std::int32_t FRAME_READER::sizeOfFrames(std::int32_t frames) const
{
    if (m_width <= 0 || m_height <= 0)
        return 0;
    constexpr std::int64_t most = std::numeric_limits<std::int32_t>::max() / frame_protocol::bytesPerPixel;
    const std::int64_t pixels = std::int64_t{m_width} * m_height;
    if (pixels > most / frames) {
        throw UserError(QStringLiteral("Кадр слишком велик: %1 × %2").arg(m_width).arg(m_height));
    }
    return static_cast<std::int32_t>(pixels * frames * frame_protocol::bytesPerPixel);
}
