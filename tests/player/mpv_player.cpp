#include "mpv_player.h"

#include "films/film_witness.h"
#include "util/media_time.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QTest>
#include <QTimer>

MpvPlayer::MpvPlayer(std::unique_ptr<VideoSurface> (*makeSurface)(QWidget *))
    : m_system(&m_panel, makeSurface(&m_panel))
{
    m_panel.resize(640, 360);
    m_panel.show();
    initializeEngine(m_system, *this);
}

MpvPlayer::~MpvPlayer()
{
    releaseEngine();
}

void MpvPlayer::openPaused(const QString &path)
{
    Open(path);
    Pause();
    seekTo(0);
}

bool MpvPlayer::settle()
{
    QElapsedTimer waited;
    waited.start();
    // Given a time limit, processEvents() would run through and take the decoder's processor.
    QTimer alarm;
    alarm.start(20);
    while (m_system.session() && !m_system.session()->isSettled()) {
        if (waited.elapsed() > 10'000)
            return false;
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
    // What was drawn last is shown with the next turn of the event loop.
    QCoreApplication::processEvents();
    return true;
}

void MpvPlayer::stepForward()
{
    SetPosition(steppedPosition(GetPosition(), unitsPerSecond / fps, Duration), SeekTo::NextPicture);
    QVERIFY(settle());
}

void MpvPlayer::stepBack()
{
    SetPosition(steppedPosition(GetPosition(), -unitsPerSecond / fps, Duration), SeekTo::PreviousPicture);
    QVERIFY(settle());
}

void MpvPlayer::seekTo(MediaTime time)
{
    SetPosition(time);
    QVERIFY(settle());
}

int MpvPlayer::shownNumber()
{
    return paintedFrameNumber(m_system.surface().picture()).value_or(-1);
}

void runEvents(int milliseconds)
{
    QEventLoop loop;
    QTimer::singleShot(milliseconds, Qt::PreciseTimer, &loop, &QEventLoop::quit);
    loop.exec();
}
