#include "mpv_player.h"

#include "films/film_maker.h"

#include <QGuiApplication>
#include <QTest>

// What the engine promises on libmpv, whichever surface the platform has.

class GraphContractTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup() { m_player.reset(); }
    void aPositionAskedForIsToldUntilItIsReached();
    void everyRateIsTakenAndTold();
    void aSecondFilmStartsAnew();

private:
    QString m_film;
    std::unique_ptr<MpvPlayer> m_player;
};

void GraphContractTest::init()
{
    const bool offscreen = QGuiApplication::platformName() == "offscreen";
    m_player = std::make_unique<MpvPlayer>(offscreen ? createSoftwareSurface : createOpenGlSurface);
    m_film = makeFilm(standardFilm("h264_25.mp4"));
    Open(m_film);
    QCOMPARE(m_player->messages, QStringList());
    QVERIFY(OPENED && !PAUSED);
    // Pictures are drawn the way that was asked for, not by the fallback.
    QCOMPARE(m_player->system().surface().turnsPictures(), !offscreen);
    // A film's sound may end some pictures after or before the last picture.
    QVERIFY(qAbs(Duration - 420 * unitsPerSecond / 25) <= unitsPerSecond / 10);
    QCOMPARE(QSize(srcWidth, srcHeight), QSize(320, 180));
    QVERIFY(qAbs(fps - 25.0) < 1e-6);
    QTRY_VERIFY(GetPosition() > unitsPerSecond / 2);
}

void GraphContractTest::aPositionAskedForIsToldUntilItIsReached()
{
    Pause();
    // The picture that is there begins less than a frame from the time asked for.
    const auto isReached = [this](MediaTime asked) {
        return GetPosition() == asked && m_player->settle() && qAbs(GetPosition() - asked) <= unitsPerSecond / 25;
    };
    for (const int percent : {50, 90, 10, 0, 70}) {
        SetPosition(percent * Duration / 100);
        QVERIFY(isReached(percent * Duration / 100));
    }
    // The newest of a flood of commands counts, and no position lies outside the film.
    for (int command = 0; command < 50; ++command)
        SetPosition(command * Duration / 50);
    QVERIFY(isReached(49 * Duration / 50));
    m_player->seekTo(-5 * unitsPerSecond);
    QCOMPARE(GetPosition(), MediaTime(0));
    m_player->seekTo(Duration + 100 * unitsPerSecond);
    QVERIFY(GetPosition() <= Duration);
    QVERIFY(GetPosition() >= Duration - unitsPerSecond / 5);
}

void GraphContractTest::everyRateIsTakenAndTold()
{
    for (const double rate : {0.1, 0.25, 1.0, 3.0, 6.0}) {
        Play();
        SetRate(rate);
        QCOMPARE(GetRate(), rate);
        QVERIFY(!PAUSED);
        Pause();
        SetRate(rate);
        QCOMPARE(GetRate(), rate);
        QVERIFY(PAUSED);
    }
    QCOMPARE(m_player->messages, QStringList());
    m_player->seekTo(0);
    Play();
    QTRY_VERIFY_WITH_TIMEOUT(GetPosition() > 3 * unitsPerSecond, 1500);
}

void GraphContractTest::aSecondFilmStartsAnew()
{
    SetRate(2.0);
    SetPosition(Duration / 2);
    Pause();
    Open(m_film);
    QVERIFY(OPENED && !PAUSED);
    QCOMPARE(GetRate(), 1.0);
    QVERIFY(GetPosition() < unitsPerSecond);
    // With a command under way.
    SetPosition(Duration / 3);
    Teardown();
    QVERIFY(!OPENED);
    QCOMPARE(GetPosition(), MediaTime(0));
    Teardown();
    runEvents(50);
    Open(m_film);
    QVERIFY(OPENED);
    QVERIFY(GetPosition() < unitsPerSecond);
    QCOMPARE(m_player->messages, QStringList());
}

QTEST_MAIN(GraphContractTest)
#include "graph_contract_test.moc"
