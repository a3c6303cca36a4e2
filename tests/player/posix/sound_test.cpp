#include "engine_player.h"

#include "films/film_maker.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QRegularExpression>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

#include <cmath>

// The program's stream in a real sound server whose only device plays to nowhere.

class SoundTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cleanupTestCase();
    void init() { m_player = std::make_unique<EnginePlayer>(); }
    void cleanup();
    void withoutAServerTheFilmPlaysAndTheLevelWaits();
    void theLevelFollowsBothWays();
    void aServerThatDiesLeavesTheFilmPlaying();

private:
    void startServer()
    {
        m_server.setStandardErrorFile(QProcess::nullDevice());
        m_server.start(TAVRIN_SOUND_SERVER, {m_folder.path()});
        QVERIFY(m_server.waitForStarted());
        QTRY_VERIFY_WITH_TIMEOUT(pactl({"list", "short", "sinks"}).contains("null"), 10'000);
    }
    void stopServer()
    {
        if (m_server.state() == QProcess::NotRunning)
            return;
        m_server.kill();
        m_server.waitForFinished();
        QFile::remove(m_folder.filePath("sound"));
    }
    static QByteArray pactl(const QStringList &arguments)
    {
        QProcess process;
        process.start("pactl", arguments);
        process.waitForFinished(5000);
        return process.readAllStandardOutput();
    }
    /// Amplitude of this process's stream in percent, the cube of what the server counts; -1 while there is no stream.
    [[nodiscard]] static int streamPercent()
    {
        static const QRegularExpression volume("Volume:[^\n/]*?(\\d+) /");
        const QRegularExpressionMatch found = volume.match(pactl({"list", "sink-inputs"}));
        return found.hasMatch() ? qRound(100.0 * std::pow(found.captured(1).toInt() / 65536.0, 3)) : -1;
    }
    [[nodiscard]] static int told() { return qRound(GetVolume() * 100.0 / 0xFFFF); }
    static void setLevel(int percent) { SetVolume(static_cast<std::uint16_t>(qRound(percent * 0xFFFF / 100.0))); }

    static constexpr auto homes = {"HOME", "XDG_CONFIG_HOME", "XDG_CACHE_HOME", "XDG_DATA_HOME", "XDG_STATE_HOME"};
    QTemporaryDir m_folder;
    QProcess m_server;
    QString m_film;
    std::unique_ptr<EnginePlayer> m_player;
};

void SoundTest::initTestCase()
{
    if (QStandardPaths::findExecutable("pactl").isEmpty())
        QSKIP("the programs of a sound server are not installed");
    m_film = makeFilm(standardFilm("h264_25.mp4"));
    for (const char *name : homes) {
        QVERIFY(QDir(m_folder.path()).mkdir(name));
        qputenv(name, QFile::encodeName(m_folder.filePath(name)));
    }
    // The folder is nobody else's, as a run-time folder has to be.
    qputenv("XDG_RUNTIME_DIR", QFile::encodeName(m_folder.path()));
    qputenv("PULSE_SERVER", "unix:" + QFile::encodeName(m_folder.filePath("sound")));
}

void SoundTest::cleanup()
{
    m_player.reset();
    stopServer();
}

// Neither the films nor the core's own set-up have left anything behind.
void SoundTest::cleanupTestCase()
{
    for (const char *name : homes) {
        QStringList entries =
            QDir(m_folder.filePath(name)).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot);
        // The sound server's own, made by its daemon and its client library.
        entries.removeAll("pulse");
        QCOMPARE(entries, QStringList());
    }
}

void SoundTest::withoutAServerTheFilmPlaysAndTheLevelWaits()
{
    setLevel(30);
    Open(m_film);
    QCOMPARE(m_player->messages, QStringList());
    QVERIFY(OPENED && !PAUSED);
    QTRY_VERIFY(GetPosition() > unitsPerSecond / 2);
    QCOMPARE(told(), 30);
    setLevel(40);
    QCOMPARE(told(), 40);
    // The device appears with the next film.
    startServer();
    Open(m_film);
    QTRY_COMPARE(streamPercent(), 40);
}

void SoundTest::theLevelFollowsBothWays()
{
    startServer();
    Open(m_film);
    const auto compareLevel = [this](int percent) {
        QTRY_COMPARE(streamPercent(), percent);
        QTRY_COMPARE(told(), percent);
    };
    for (const int percent : {0, 100, 70}) {
        setLevel(percent);
        compareLevel(percent);
    }
    // The level outlives steps and seeks, whoever has set it.
    for (const int percent : {70, 35}) {
        if (percent != 70)
            pactl({"set-sink-input-volume", pactl({"list", "short", "sink-inputs"}).split('\t').constFirst(),
                   QString::number(percent / 100.0, 'f', 2)});
        // Nobody asks for the level before the stream ends.
        QTRY_COMPARE(streamPercent(), percent);
        Pause();
        m_player->seekTo(3 * unitsPerSecond);
        m_player->stepForward();
        m_player->stepBack();
        QCOMPARE(told(), percent);
        Play();
        compareLevel(percent);
    }
    // A new film starts from it.
    Open(m_film);
    compareLevel(35);
    // Set while no stream is there.
    Pause();
    m_player->seekTo(2 * unitsPerSecond);
    setLevel(80);
    QCOMPARE(told(), 80);
    Play();
    compareLevel(80);
}

void SoundTest::aServerThatDiesLeavesTheFilmPlaying()
{
    startServer();
    Open(m_film);
    setLevel(60);
    QTRY_COMPARE(streamPercent(), 60);
    stopServer();
    const MediaTime before = GetPosition();
    QTRY_VERIFY_WITH_TIMEOUT(GetPosition() > before + unitsPerSecond, 8000);
    QVERIFY(OPENED && !PAUSED);
    QCOMPARE(told(), 60);
    // The film that plays is heard again when the server is back.
    SetPosition(0);
    startServer();
    QTRY_COMPARE_WITH_TIMEOUT(streamPercent(), 60, 8000);
    QVERIFY(pactl({"list", "sink-inputs"}).contains("media.name = \"h264_25.mp4\""));
    stopServer();
    Pause();
    m_player->seekTo(1 * unitsPerSecond);
    QCOMPARE(m_player->shownNumber(), 25);
    // Paused it is not looked for, but with the next start.
    startServer();
    Play();
    QTRY_COMPARE(streamPercent(), 60);
}

QTEST_MAIN(SoundTest)
#include "sound_test.moc"
