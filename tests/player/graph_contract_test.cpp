#include "fake_graph.h"
#include "mpv_player.h"

#include "films/film_maker.h"

#include <QGuiApplication>
#include <QTest>

namespace {

/// A graph system with the engine on it and a film it can open.
class Player : public PlayerDisplay {
public:
    QWidget panel;
    QStringList messages;
    bool clockRuns = true;      ///< playing moves the position
    MediaTime filmLength = 0;   ///< of `film` (100 ns)
    QString film;

    Player() { panel.resize(320, 180); }

    /// Until the newest seek has landed.
    [[nodiscard]] virtual bool settle() = 0;

    void showMessage(const QString &text) override { messages << text; }
    QWidget *videoPanel() override { return &panel; }
    void resetSpeedBar() override {}
    void showOpenedVideo(const QString &) override {}
    void showPlaying(bool) override {}
    void applyVolume() override {}
    void restartFitting() override {}
};

class FakePlayer final : public Player {
public:
    FakePlayer()
    {
        clockRuns = false;
        filmLength = m_system.duration;
        film = "/film.avi";
        initializeEngine(m_system, *this);
    }
    ~FakePlayer() override { releaseEngine(); }
    bool settle() override { return true; }

private:
    FakeGraphSystem m_system;
};

class LibmpvPlayer final : public Player {
public:
    explicit LibmpvPlayer(std::unique_ptr<VideoSurface> (*makeSurface)(QWidget *)) : m_system(&panel, makeSurface(&panel))
    {
        constexpr MediaTime filmSeconds = 420 / 25;
        constexpr MediaTime fraction = 420 % 25 * unitsPerSecond / 25;
        filmLength = filmSeconds * unitsPerSecond + fraction;
        film = makeFilm(standardFilm("h264_25.mp4"));
        panel.show();
        initializeEngine(m_system, *this);
    }
    ~LibmpvPlayer() override { releaseEngine(); }
    bool settle() override
    {
        return QTest::qWaitFor([this] { return !m_system.session() || m_system.session()->isSettled(); }, 10'000);
    }

    /// True while pictures are drawn the way that was asked for, not by the fallback.
    [[nodiscard]] bool drawsWithOpenGl() const { return m_system.surface().turnsPictures(); }

private:
    MpvGraphSystem m_system;
};

} // namespace

// What the engine promises whatever plays: run on the fake, and on libmpv with each surface the platform has.

class GraphContractTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void openPlaysFromTheStart_data() { systems(); }
    void openPlaysFromTheStart();
    void aPausedPositionStands_data() { systems(); }
    void aPausedPositionStands();
    void aPositionAskedForIsToldUntilItIsReached_data() { systems(); }
    void aPositionAskedForIsToldUntilItIsReached();
    void everyRateIsTakenAndTold_data() { systems(); }
    void everyRateIsTakenAndTold();
    void aSecondFilmStartsAnew_data() { systems(); }
    void aSecondFilmStartsAnew();
    void cleanup() { m_player.reset(); }

private:
    static void systems();
    void open();

    std::unique_ptr<Player> m_player;
};

void GraphContractTest::systems()
{
    QTest::addColumn<QString>("system");
    if (QGuiApplication::platformName() == "offscreen") {
        QTest::newRow("fake") << "fake";
        QTest::newRow("libmpv, software") << "software";
    } else {
        QTest::newRow("libmpv, OpenGL") << "opengl";
    }
}

void GraphContractTest::open()
{
    QFETCH(QString, system);
    if (system == "fake")
        m_player = std::make_unique<FakePlayer>();
    else
        m_player = std::make_unique<LibmpvPlayer>(system == "opengl" ? createOpenGlSurface : createSoftwareSurface);
    Open(m_player->film);
    QCOMPARE(m_player->messages, QStringList());
    QVERIFY(OPENED);
    if (system == "opengl")
        QVERIFY(static_cast<LibmpvPlayer &>(*m_player).drawsWithOpenGl());
}

void GraphContractTest::openPlaysFromTheStart()
{
    open();
    QVERIFY(!PAUSED);
    QCOMPARE(GetRate(), 1.0);
    QVERIFY(GetPosition() < unitsPerSecond / 2);
    // A film's sound may end some pictures after or before the last picture.
    QVERIFY(qAbs(Duration - m_player->filmLength) <= unitsPerSecond / 10);
    QCOMPARE(GetDuration(), Duration);
    QVERIFY(srcWidth > 0 && srcHeight > 0);
    QVERIFY(qAbs(fps - 25.0) < 1e-6);
    if (m_player->clockRuns) {
        const MediaTime before = GetPosition();
        QTRY_VERIFY(GetPosition() > before + unitsPerSecond / 2);
    }
}

void GraphContractTest::aPausedPositionStands()
{
    open();
    Pause();
    QVERIFY(PAUSED);
    QVERIFY(m_player->settle());
    const MediaTime there = GetPosition();
    runEvents(200);
    QCOMPARE(GetPosition(), there);
    Play();
    QVERIFY(!PAUSED);
    if (m_player->clockRuns)
        QTRY_VERIFY(GetPosition() > there + unitsPerSecond / 10);
}

void GraphContractTest::aPositionAskedForIsToldUntilItIsReached()
{
    open();
    Pause();
    for (const double part : {0.5, 0.9, 0.1, 0.0, 0.7}) {
        const auto asked = static_cast<MediaTime>(part * static_cast<double>(Duration));
        SetPosition(asked);
        QCOMPARE(GetPosition(), asked);
        QVERIFY(m_player->settle());
        // The picture that is there begins less than a frame from the time asked for.
        QVERIFY(qAbs(GetPosition() - asked) <= static_cast<MediaTime>(unitsPerSecond / fps));
    }
    // The newest of a flood of commands counts, and no position lies outside the film.
    for (int command = 0; command < 50; ++command)
        SetPosition(command * Duration / 50);
    QCOMPARE(GetPosition(), 49 * Duration / 50);
    QVERIFY(m_player->settle());
    QVERIFY(qAbs(GetPosition() - 49 * Duration / 50) <= static_cast<MediaTime>(unitsPerSecond / fps));
    SetPosition(-5 * unitsPerSecond);
    QVERIFY(m_player->settle());
    QCOMPARE(GetPosition(), MediaTime(0));
    SetPosition(Duration + 100 * unitsPerSecond);
    QVERIFY(m_player->settle());
    QVERIFY(GetPosition() <= Duration);
    QVERIFY(GetPosition() >= Duration - unitsPerSecond / 5);
}

void GraphContractTest::everyRateIsTakenAndTold()
{
    open();
    for (const double rate : {0.1, 0.25, 1.0, 3.0, 6.0}) {
        for (const bool paused : {false, true}) {
            if (paused)
                Pause();
            else
                Play();
            SetRate(rate);
            QCOMPARE(GetRate(), rate);
            QCOMPARE(PAUSED, paused);
        }
    }
    QCOMPARE(m_player->messages, QStringList());
    if (!m_player->clockRuns)
        return;
    SetPosition(0);
    QVERIFY(m_player->settle());
    Play();
    QTRY_VERIFY_WITH_TIMEOUT(GetPosition() > 3 * unitsPerSecond, 1500);
}

void GraphContractTest::aSecondFilmStartsAnew()
{
    open();
    SetRate(2.0);
    SetPosition(Duration / 2);
    Pause();
    Open(m_player->film);
    QVERIFY(OPENED);
    QVERIFY(!PAUSED);
    QCOMPARE(GetRate(), 1.0);
    QVERIFY(GetPosition() < unitsPerSecond);
    Teardown();
    QVERIFY(!OPENED);
    QCOMPARE(GetPosition(), MediaTime(0));
    Teardown();
    // With a command under way.
    Open(m_player->film);
    SetPosition(Duration / 3);
    Teardown();
    QVERIFY(!OPENED);
    runEvents(50);
    Open(m_player->film);
    QVERIFY(OPENED);
    QVERIFY(GetPosition() < unitsPerSecond);
    QCOMPARE(m_player->messages, QStringList());
}

QTEST_MAIN(GraphContractTest)
#include "graph_contract_test.moc"
