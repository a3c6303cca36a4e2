#include "engine_player.h"

#include "util/media_time.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QTest>
#include <QTimer>

#include <utility>

EnginePlayer::EnginePlayer(std::unique_ptr<GraphSystem> (*makeSystem)(QWidget *), QSize panelSize)
    : m_system(makeSystem(&m_panel))
{
    m_panel.resize(panelSize);
    m_panel.show();
    initializeEngine(*m_system, *this);
}

EnginePlayer::~EnginePlayer()
{
    releaseEngine();
}

void EnginePlayer::openPaused(const QString &path)
{
    Open(path);
    Pause();
    seekTo(0);
}

void EnginePlayer::pause()
{
    Pause();
    QVERIFY(settle());
    // Longer than two pictures are apart; longer still where the position names another picture.
    const auto stands = [this](int shown) { return shown == frameNumber(GetPosition(), fps) ? 150 : 300; };
    QElapsedTimer unchanged;
    unchanged.start();
    for (int shown = shownNumber(); !unchanged.hasExpired(stands(shown));) {
        constexpr int pollMilliseconds = 10;
        runEvents(pollMilliseconds);
        if (const int before = std::exchange(shown, shownNumber()); before != shown)
            unchanged.restart();
    }
}

bool EnginePlayer::settle()
{
    QElapsedTimer waited;
    waited.start();
    // Given a time limit, processEvents() would run through and take the decoder's processor.
    QTimer alarm;
    alarm.start(20);
    while (!IsSettled()) {
        if (waited.elapsed() > 10'000)
            return false;
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
    // What was drawn last is shown with the next turn of the event loop.
    QCoreApplication::processEvents();
    return true;
}

void EnginePlayer::stepForward()
{
    SetPosition(steppedPosition(GetPosition(), unitsPerSecond / fps, Duration), SeekTo::NextPicture);
    QVERIFY(settle());
}

void EnginePlayer::stepBack()
{
    SetPosition(steppedPosition(GetPosition(), -unitsPerSecond / fps, Duration), SeekTo::PreviousPicture);
    QVERIFY(settle());
}

void EnginePlayer::seekTo(MediaTime time)
{
    SetPosition(time);
    QVERIFY(settle());
}

void runEvents(int milliseconds)
{
    QEventLoop loop;
    QTimer::singleShot(milliseconds, Qt::PreciseTimer, &loop, &QEventLoop::quit);
    loop.exec();
}
