#include "export/frame_reader.h"

#include "platform/object_folder.h"
#include "util/error_reason.h"
#include "util/user_error.h"

#include <algorithm>
#include <chrono>
#include <cstring>
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

/// To follow the message that the reader could not be started; empty where no folder is the reason.
QString startRefusal()
{
    const std::optional<RefusedFolder> refused = refusedObjectFolder();
    if (!refused)
        return {};
    const QString folder = QStringLiteral(": папка «%1» ").arg(QString::fromStdString(refused->path));
    switch (refused->why) {
    case RefusedFolder::Why::OfAnotherUser:
        return folder + QStringLiteral("принадлежит другому пользователю");
    case RefusedFolder::Why::OpenToOthers:
        return folder + QStringLiteral("открыта другим пользователям");
    case RefusedFolder::Why::SystemRefuses:
        break;
    }
    return folder + QStringLiteral("недоступна, ") + errorReason(refused->error);
}

} // namespace

void FRAME_READER::Run()
{
    m_blocks.close();
    m_opened = false;
    m_process.reset();
    // Where the names are the whole session's, a reader that stays there is another copy's, and its blocks too.
    const auto patience = std::chrono::steady_clock::now() + retryInterval;
    while (Check() && std::chrono::steady_clock::now() < patience)
        std::this_thread::sleep_for(pollInterval);
    if (!Check())
        m_process = startHiddenProcess(m_exePath.toStdString(), m_shareName.toStdString());
    bool isThere = false;
    for (int round = 0; round < mutexRounds && !isThere && !hasEnded(); ++round)
        isThere = Check() || sleepUntil([this] { return Check(); });
    m_position = 0;
    openBlocks();
}

bool FRAME_READER::Check() const
{
    for (int attempt = 0; attempt < mutexAttempts; ++attempt) {
        if (LivenessMutex::exists(protocol::objectName(protocol::livenessMutex, m_shareName.toStdString())))
            return true;
    }
    return false;
}

bool FRAME_READER::Command(const QString &text)
{
    throwIfEnded();
    if (!m_blocks.isOpen())
        openBlocks();
    if (!m_blocks.isOpen())
        throw UserError(QStringLiteral("Программа чтения кадров «%1» не отвечает").arg(m_exePath));
    std::string command = text.toStdString();
    if (!protocol::fitsCommandBlock(command))
        throw UserError(QStringLiteral("Слишком длинная команда для программы чтения кадров: «%1»").arg(text));
    m_lastCommand = text;
    m_blocks.send(std::move(command));
    return true;
}

void FRAME_READER::send(const protocol::Command &command)
{
    Command(QString::fromStdString(textOf(command)));
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

bool FRAME_READER::takeAnswer()
{
    const std::optional<std::string> reply = m_blocks.reply();
    if (reply)
        m_lastResult = QString::fromStdString(*reply);
    return reply.has_value();
}

bool FRAME_READER::TimeOut(std::int32_t n)
{
    send(protocol::Timeout{n});
    return Result();
}

void FRAME_READER::SetFramesBuf(std::int32_t n)
{
    if (n < 1 || n > protocol::mostPictures)
        return;
    const std::int32_t size = sizeOfPictures(n);
    m_framesPerBuffer = n;
    send(protocol::Frames{n});
    awaitAnswer();
    renewData(size);
}

bool FRAME_READER::Open(const QString &path)
{
    send(protocol::Open{path.toStdString()});
    const std::optional<protocol::OpenedFilm> film = awaitFilm();
    if (!film) {
        m_errorText += QStringLiteral(" Can't open file");
        return false;
    }
    m_opened = true;
    m_film = *film;
    const std::int32_t size = sizeOfPictures(m_framesPerBuffer);
    if (size == 0) {
        throw UserError(QStringLiteral("Программа чтения кадров сообщила неверный размер кадра: %1 × %2")
                            .arg(width())
                            .arg(height()));
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
        send(protocol::Close{});
        return Result();
    } catch (const UserError &) {
        // The reader has ended meanwhile, and with it the film is closed.
        return false;
    }
}

bool FRAME_READER::Read()
{
    send(protocol::Read{m_position});
    if (!awaitSlowAnswer(readCalls, [] { return true; }))
        return false;
    m_position += m_framesPerBuffer;
    return true;
}

bool FRAME_READER::ReadAsync()
{
    send(protocol::Read{m_position, m_framesPerBuffer});
    m_position += m_framesPerBuffer;
    return true;
}

bool FRAME_READER::GetData()
{
    if (bufferSize() != m_dataViewSize)
        mapData(bufferSize());
    if (m_blocks.data().empty())
        throw UserError(QStringLiteral("Кадры программы чтения кадров недоступны"));
    std::memcpy(m_localBuffer.data(), m_blocks.data().data(), m_localBuffer.size());
    return true;
}

void FRAME_READER::ResizeVideoBuf()
{
    m_localBuffer.assign(static_cast<std::size_t>(sizeOfPictures(m_framesPerBuffer)), 0);
}

bool FRAME_READER::Exit()
{
    if (!hasEnded())
        send(protocol::Exit{});
    m_blocks.close();
    return true;
}

void FRAME_READER::openBlocks()
{
    m_blocks.open(m_shareName.toStdString());
    mapData(m_dataViewSize);
}

/// Leaves no view if the block is smaller than `size`.
void FRAME_READER::mapData(std::int32_t size)
{
    m_dataViewSize = size;
    m_blocks.mapData(size);
}

/// Has the reader make the data block anew and maps it.
void FRAME_READER::renewData(std::int32_t size)
{
    m_blocks.unmapData();
    send(protocol::BufferUpdate{});
    awaitAnswer();
    mapData(size);
    if (size > 0 && m_blocks.data().empty())
        throw UserError(QStringLiteral("Кадры программы чтения кадров недоступны"));
}

void FRAME_READER::throwIfEnded() const
{
    if (hasEnded() && Check())
        throw UserError(QStringLiteral("Программу чтения кадров «%1» занимает другая копия программы. "
                                       "Закройте её и повторите экспорт")
                            .arg(m_exePath));
    if (!m_process)
        throw UserError(QStringLiteral("Не удалось запустить программу чтения кадров «%1»").arg(m_exePath)
                        + startRefusal());
    if (m_process->ended())
        throw UserError(QStringLiteral("Программа чтения кадров «%1» неожиданно завершилась").arg(m_exePath));
}

/// The pause between two attempts. Ends early when `isOver` or when there is no reader to wait for; true if `isOver`.
bool FRAME_READER::sleepUntil(const std::function<bool()> &isOver) const
{
    constexpr auto slice = 5ms;
    const auto end = std::chrono::steady_clock::now() + retryInterval;
    for (;;) {
        const auto left = end - std::chrono::steady_clock::now();
        // Asked before `isOver`, so that what came at the very end still counts.
        const bool isLast = hasEnded() || left <= 0ms;
        if (isOver())
            return true;
        if (isLast)
            return false;
        std::this_thread::sleep_for(std::min<std::chrono::nanoseconds>(slice, left));
    }
}

/// Waits for the answer to a slow command in that many calls of `Result`, with a pause after each that fails. Counts
/// an answer only if `isWhole`, and looks for it during the pauses too.
bool FRAME_READER::awaitSlowAnswer(int calls, const std::function<bool()> &isWhole)
{
    const auto isAnswered = [&] { return takeAnswer() && isWhole(); };
    for (int call = 0; call < calls; ++call) {
        if ((Result() && isWhole()) || sleepUntil(isAnswered))
            return true;
    }
    throwIfEnded();
    return false;
}

/// What the answer to `open` tells; nothing if there is none, or none that tells all.
std::optional<protocol::OpenedFilm> FRAME_READER::awaitFilm()
{
    std::optional<protocol::OpenedFilm> film;
    (void)awaitSlowAnswer(openCalls, [&] {
        film = protocol::parseOpenedFilm(m_lastResult.toStdString());
        return film.has_value();
    });
    return film;
}

/// Waits without limit.
void FRAME_READER::awaitAnswer()
{
    while (!Result())
        std::this_thread::sleep_for(pollInterval);
}

/// Bytes of that many pictures; 0 without a film. Throws UserError if they are more than the protocol can count.
std::int32_t FRAME_READER::sizeOfPictures(std::int32_t pictures) const
{
    if (width() <= 0 || height() <= 0)
        return 0;
    const std::optional<std::int32_t> size = m_film.dataSize(pictures);
    if (!size)
        throw UserError(QStringLiteral("Кадр слишком велик: %1 × %2").arg(width()).arg(height()));
    return *size;
}
