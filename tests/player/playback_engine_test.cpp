#include "fake_graph.h"

#include "player/playback_engine.h"

#include <QTemporaryFile>
#include <QTest>
#include <QWidget>

namespace {

/// Writes down what the engine shows.
class RecordingDisplay final : public PlayerDisplay {
public:
    QWidget panel;
    QStringList messages;
    QString openedPath;
    int fittings = 0;
    int resets = 0;
    bool playing = false;

    void showMessage(const QString &text) override { messages << text; }
    QWidget *videoPanel() override { return &panel; }
    void showNormalRate() override { ++resets; }
    void showOpenedVideo(const QString &filePath) override { openedPath = filePath; }
    void showPlaying(bool isPlaying) override { playing = isPlaying; }
    std::uint16_t volumeBarLevel() override { return 0x1234; }
    void restartFitting() override { ++fittings; }
};

} // namespace

class PlaybackEngineTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();
    void openStartsPlayingAtRateOne();
    void eachFailingStepShowsItsText_data();
    void eachFailingStepShowsItsText();
    void whatOneLibraryRefusesAnotherPlays();
    void commandsAreTakenOnce();

private:
    QTemporaryFile m_film;
    std::unique_ptr<FakeGraphSystem> m_system;
    std::unique_ptr<RecordingDisplay> m_display;
};

void PlaybackEngineTest::init()
{
    QVERIFY(m_film.open());
    m_system = std::make_unique<FakeGraphSystem>();
    m_display = std::make_unique<RecordingDisplay>();
    initializeEngine(*m_system, *m_display);
}

void PlaybackEngineTest::cleanup()
{
    releaseEngine();
    QCOMPARE(m_system->graphsAlive, 0);
    QCOMPARE(m_system->initialized, 0);
}

void PlaybackEngineTest::openStartsPlayingAtRateOne()
{
    speed = 3.0;
    // A stream without pictures has a rate all the same.
    m_system->frameSeconds = 0.0;
    Open(m_film.fileName());
    QVERIFY(OPENED && !PAUSED);
    QCOMPARE(speed, 1.0);
    QCOMPARE(fps, 25.0);
    QCOMPARE(QSize(srcWidth, srcHeight), QSize(1280, 720));
    QCOMPARE(Duration, MediaTime(905'000'000));
    QCOMPARE(m_system->calls,
             QStringList({"initialize", "create", "control", "event", "picture", "seeking", "file " + m_film.fileName(),
                          "render", "window", "owner", "style", "place", "rate", "run"}));
    QCOMPARE(m_display->openedPath, m_film.fileName());
    QVERIFY(m_display->playing);
    QVERIFY(m_system->level.left == 0x1234 && m_system->level.right == 0x1234);
    QVERIFY(m_display->resets == 1 && m_display->fittings == 1);
    QVERIFY(m_display->messages.isEmpty());
}

void PlaybackEngineTest::eachFailingStepShowsItsText_data()
{
    QTest::addColumn<QStringList>("steps");
    QTest::addColumn<Status>("status");
    QTest::addColumn<QStringList>("texts");
    const auto fails = [](const char *step, const QStringList &texts) {
        QTest::newRow(step) << QStringList(step) << statusFailure << texts;
    };
    fails("initialize", {"hdshow: CoInitialize() failure\n"});
    fails("create", {"hdshow: CoCreateInstance() failure\n"});
    fails("control", {"hdshow: unable to obtain IMediaControl interface\n"});
    fails("event", {"hdshow: unable to obtain IMediaEvent interface\n"});
    fails("picture", {"hdshow: unable to obtain IMediaEvent interface\n"});
    fails("seeking", {"Failed query interface"});
    fails("render", {"Failed open file"});
    fails("window", {"Failed query interface 2"});
    fails("owner", {"!=S_OK", "Failed pin owner"});
    fails("style", {"Failed WindowStyle"});
    fails("place", {"!=S_OK", "hdshow: unable to render "});
    // This alone leaves the session open.
    fails("run", {"hdshow: unable to run "});
    constexpr Status someDevicesMissing = 0x40242;
    QTest::newRow("remarks") << QStringList{"render", "owner", "style", "place"} << someDevicesMissing
                             << QStringList{"!=S_OK", "!=S_OK"};
}

void PlaybackEngineTest::eachFailingStepShowsItsText()
{
    QFETCH(QStringList, steps);
    QFETCH(Status, status);
    Open(m_film.fileName());
    m_system->calls.clear();
    m_display->openedPath.clear();
    for (const QString &step : steps)
        m_system->statuses[step] = status;
    Open(m_film.fileName());
    QCOMPARE(m_system->calls.constFirst(), QString("stop"));
    QTEST(m_display->messages, "texts");
    const bool opens = steps.constLast() == "run" || !failed(status);
    QCOMPARE(OPENED, opens);
    QCOMPARE(m_display->openedPath.isEmpty(), failed(status));
    // After a failure to place the picture the interfaces stand until the next open.
    if (!opens && steps.constLast() != "place") {
        QCOMPARE(m_system->graphsAlive, 0);
        QCOMPARE(m_system->initialized, 0);
        QCOMPARE(m_system->calls.last(), steps.constLast());
    }
    QCOMPARE(m_system->calls.contains("run"), opens);
    // The next open starts from nothing all the same.
    m_system->statuses.clear();
    Open(m_film.fileName());
    QVERIFY(OPENED);
    QCOMPARE(m_system->graphsAlive, 1);
}

void PlaybackEngineTest::whatOneLibraryRefusesAnotherPlays()
{
    FakeGraphSystem second;
    m_system->next = &second;
    m_system->statuses["render"] = statusFailure;
    for (int open = 0; open < 2; ++open) {
        Open(m_film.fileName());
        QVERIFY(OPENED && m_display->messages.isEmpty());
        QVERIFY(m_system->graphsAlive == 0 && m_system->initialized == 0 && second.graphsAlive == 1);
    }
    SetVolume(7);
    second.level.left = 9;
    QVERIFY(m_system->level.left == 7 && GetVolume() == 9);
    second.statuses["render"] = statusFailure;
    Open(m_film.fileName());
    QCOMPARE(m_display->messages, QStringList("Failed open file"));
    QVERIFY(!OPENED && second.graphsAlive == 0 && second.initialized == 0);
    releaseEngine();
}

void PlaybackEngineTest::commandsAreTakenOnce()
{
    Open(m_film.fileName());
    m_system->calls.clear();
    m_system->refusedRate = 3.0;
    Play();
    SetRate(2.0);
    Pause();
    Pause();
    QVERIFY(PAUSED && !m_display->playing);
    // A paused session takes what it is asked without a word.
    SetRate(3.0);
    QCOMPARE(GetRate(), 2.0);
    Play();
    Play();
    QVERIFY(!PAUSED && m_display->playing);
    QCOMPARE(m_system->calls, QStringList({"pause", "rate", "run", "pause", "rate", "run"}));
    QCOMPARE(m_display->fittings, 2);
    QVERIFY(m_display->messages.isEmpty());

    // A rate that is refused goes back to one, bar and all, and the film runs on.
    m_system->calls.clear();
    SetRate(3.0);
    QCOMPARE(m_system->calls, QStringList({"pause", "rate", "pause", "rate", "run", "run"}));
    QCOMPARE(m_display->messages, QStringList({"Error set rate"}));
    QVERIFY(GetRate() == 1.0 && speed == 1.0 && m_display->resets == 2);
    // One that is refused as well is not asked for twice.
    m_system->refusedRate = 1.0;
    SetRate(1.0);
    QCOMPARE(m_display->messages.size(), 2);
}

QTEST_MAIN(PlaybackEngineTest)
#include "playback_engine_test.moc"
