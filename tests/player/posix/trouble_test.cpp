#include "engine_player.h"

#include "films/film_maker.h"
#include "util/media_time.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QTcpServer>
#include <QTemporaryDir>
#include <QTest>

#include <sys/stat.h>
#include <unistd.h>

// Files that people open by mistake, that are damaged, or that are unlike other films.

namespace {

const QStringList h264 = {"-c:v", "libx264", "-preset", "veryfast", "-pix_fmt", "yuv420p", "-bf", "2", "-g", "50"};
const QStringList aac = {"-c:a", "aac", "-b:a", "64k"};

const QDateTime longAgo = QDateTime::fromSecsSinceEpoch(1000);

QByteArray contents(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        qFatal("cannot read %s", qPrintable(path));
    return file.readAll();
}

void encode(const QStringList &arguments)
{
    (void)outputOf("ffmpeg", QStringList{"-nostdin", "-y", "-loglevel", "error"} + arguments);
}

/// An entry of this process's /proc folder, such as "fd": how many names it holds.
qsizetype entriesOf(const char *folder)
{
    return QDir(QString("/proc/self/") + folder).entryList(QDir::AllEntries | QDir::System).size();
}

qint64 residentBytes()
{
    return contents("/proc/self/statm").split(' ').at(1).toLongLong() * ::getpagesize();
}

/// Within the fifth of a second by which containers and sound miss a length.
bool isNear(MediaTime time, MediaTime wanted)
{
    return qAbs(time - wanted) < unitsPerSecond / 5;
}

} // namespace

class TroubleTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init() { m_player = std::make_unique<EnginePlayer>(); }
    void cleanup() { m_player.reset(); }
    void whatIsNoFilmIsRefusedAndOpensNothing_data();
    void whatIsNoFilmIsRefusedAndOpensNothing();
    void anyFileNameOpens_data();
    void anyFileNameOpens();
    void damagedFilmsPlay_data();
    void damagedFilmsPlay();
    void filmsUpsideDownAndOnTheirSideAreUpright();
    void picturesOfAnySizeOpen();
    void picturesThatOnlyLibavformatNames();
    void aSoundFilePlays();
    void soundThatOutlastsThePictures();
    void picturesThatOutlastTheSoundOrStartAfterIt();
    void aStillPicture();
    void aStreamWithoutTimesIsSteppedThrough();
    void hammeredCommandsEndWhereTheLastOneAsked();
    void openingAgainAndAgainLeaksNothing();

private:
    /// A path in the test's folder.
    QString at(const QString &name) const { return m_folder.filePath(name); }
    QString write(const QString &name, const QByteArray &bytes) const
    {
        QFile file(at(name));
        if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size())
            qFatal("cannot write %s", qPrintable(name));
        return at(name);
    }
    /// A film of 50 painted pictures.
    static QString painted(const QString &name, const QStringList &video, const QStringList &audio = {})
    {
        return makeFilm({.file = "trouble_" + name, .frames = 50, .video = video, .audio = audio});
    }
    /// The plain film's pictures with a tone of this length; the pictures may start later than it.
    QString withTone(const QString &name, const char *toneSeconds, const char *picturesStart = "0") const
    {
        encode({"-itsoffset", picturesStart, "-i", m_film, "-f", "lavfi", "-i", QString("sine=d=") + toneSeconds,
                "-map", "0:v", "-map", "1:a", "-c:v", "copy", "-c:a", "aac", at(name)});
        return at(name);
    }
    /// Opens what can be played, paused on its first picture.
    void open(const QString &path)
    {
        m_player->openPaused(path);
        QCOMPARE(m_player->messages, QStringList());
        QVERIFY(OPENED);
    }
    /// The picture of this number is there, and the frame counter names it.
    void compareShown(int number)
    {
        QCOMPARE(m_player->shownNumber(), number);
        QCOMPARE(frameNumber(GetPosition(), fps), std::int64_t(number));
    }
    /// To a painted film's picture, which has to be there then.
    void seekToPicture(int number)
    {
        m_player->seekTo(number * unitsPerSecond / 25);
        compareShown(number);
    }
    QTemporaryDir m_folder;
    QString m_film;
    QTcpServer m_server;
    std::unique_ptr<EnginePlayer> m_player;
};

void TroubleTest::initTestCase()
{
    QVERIFY(m_folder.isValid() && m_server.listen(QHostAddress::LocalHost));
    m_film = painted("plain.mp4", h264, aac);
    // Reading the neighbour of the lists would show in the time of its last access.
    QFile neighbour(write("beside.mp4", contents(m_film)));
    QVERIFY(neighbour.open(QIODevice::ReadWrite) && neighbour.setFileTime(longAgo, QFileDevice::FileAccessTime)
            && neighbour.setFileTime(longAgo, QFileDevice::FileModificationTime));
}

void TroubleTest::whatIsNoFilmIsRefusedAndOpensNothing_data()
{
    QTest::addColumn<QString>("path");
    QTest::newRow("nothing there") << at("missing.mp4");
    QTest::newRow("no name") << "";
    QTest::newRow("text") << write("notes.avi", QByteArray("Список покупок: хлеб, молоко.\n").repeated(200));
    QTest::newRow("cut before its index") << write("cut.mp4", contents(m_film).left(contents(m_film).size() / 2));
    QDir(m_folder.path()).mkpath("folder");
    QFile::copy(m_film, at("folder/film.mp4"));
    QTest::newRow("folder") << at("folder");
    ::mkfifo(QFile::encodeName(at("pipe.avi")).constData(), 0644);
    QTest::newRow("pipe without a writer") << at("pipe.avi");
    for (const char *name : {"/dev/zero", "-", "http://127.0.0.1:9/film.mp4", "memory://abc", "av://lavfi:testsrc"})
        QTest::newRow(name) << name;
    // Lists: FILM stands for a film beside them, URL for an address that is watched.
    const auto list = [this](const char *name, QByteArray text) {
        text.replace("URL", "http://127.0.0.1:" + QByteArray::number(m_server.serverPort()));
        QTest::newRow(name) << write(name, text.replace("FILM", at("beside.mp4").toUtf8()));
    };
    const QByteArray hls = "#EXTM3U\n#EXT-X-VERSION:3\n#EXT-X-TARGETDURATION:2\n#EXTINF:2.0,\n";
    list("list.m3u", "#EXTM3U\n#EXTINF:2,x\nFILM\nURL/a.mp4\n");
    list("address.m3u8", hls + "URL/a.ts\n#EXTINF:2.0,\nFILM\n#EXT-X-ENDLIST\n");
    list("hls.mp4", hls + "FILM\n#EXT-X-ENDLIST\n");
    list("list.pls", "[playlist]\nFile1=FILM\nFile2=URL/a.mp4\nNumberOfEntries=2\nVersion=2\n");
    list("list.cue", "FILE \"beside.mp4\" WAVE\n  TRACK 01 AUDIO\n    INDEX 01 00:00:00\n");
    list("list.edl", "# mpv EDL v0\nFILM,0,1\n");
    list("list.ffconcat", "ffconcat version 1.0\nfile beside.mp4\n");
    list("list.txt", "URL/a.mp4\nFILM\n");
}

void TroubleTest::whatIsNoFilmIsRefusedAndOpensNothing()
{
    QFETCH(QString, path);
    Open(path);
    QCOMPARE(m_player->messages, QStringList("Failed open file"));
    QVERIFY(!OPENED);
    QVERIFY2(!m_server.waitForNewConnection(20), "the network was asked");
    QCOMPARE(QFileInfo(at("beside.mp4")).lastRead(), longAgo);
    // The next film opens as if nothing had been.
    m_player->messages.clear();
    open(m_film);
}

void TroubleTest::anyFileNameOpens_data()
{
    QTest::addColumn<QString>("name");
    for (const char *name :
         {"Наш отпуск 🎂.mp4", "часть #2.mp4", "100%25 %d %03d.mp4", "-vf hflip.mp4", "--help", "  два  пробела  ",
          "[*] сцена?.mp4", "http:/film.mp4", "file:/film.mp4", "edl:/film.mp4", "quote\"and'back\\slash.mp4",
          "$HOME ~ ${path}.mp4", "line\nbreak.mp4", "film.m3u", "film.cue", "film.txt"})
        QTest::newRow(name) << QString::fromUtf8(name);
    QTest::newRow("255 bytes") << QString("x").repeated(255);
}

void TroubleTest::anyFileNameOpens()
{
    QFETCH(QString, name);
    const QString path = at("names/" + name);
    QVERIFY(QDir().mkpath(QFileInfo(path).path()));
    QVERIFY(QFile::copy(m_film, path));
    open(path);
    QCOMPARE(m_player->shownNumber(), 0);
    // Named from the folder it lies in, too.
    const QString before = QDir::currentPath();
    QVERIFY(QDir::setCurrent(at("names")));
    open(name);
    QVERIFY(QDir::setCurrent(before));
    QCOMPARE(m_player->shownNumber(), 0);
    QVERIFY(QFile::remove(path));
}

void TroubleTest::damagedFilmsPlay_data()
{
    QTest::addColumn<QString>("path");
    const QStringList mp2{"-c:a", "mp2"};
    const QStringList mpeg2{"-c:v", "mpeg2video", "-g", "12"};
    for (const auto &[suffix, video, audio] :
         {std::tuple("mp4", h264, aac + QStringList{"-movflags", "+faststart"}), std::tuple("ts", mpeg2, mp2),
          std::tuple("avi", QStringList{"-c:v", "mpeg4", "-g", "25"}, mp2), std::tuple("mpg", mpeg2, mp2),
          std::tuple("mkv", h264, aac + QStringList{"-cluster_time_limit", "200"})}) {
        QByteArray bytes = contents(painted(QString("whole.") + suffix, video, audio));
        const QByteArray cut = bytes.left(bytes.size() * 6 / 10);
        QTest::addRow("%s cut off", suffix) << write(QString("cut.") + suffix, cut);
        bytes.replace(bytes.size() / 2, bytes.size() / 20, QByteArray(bytes.size() / 20, '\x5a'));
        QTest::addRow("%s damaged", suffix) << write(QString("damaged.") + suffix, bytes);
    }
}

void TroubleTest::damagedFilmsPlay()
{
    QFETCH(QString, path);
    open(path);
    QCOMPARE(m_player->shownNumber(), 0);
    // Over the damage, in steps and at once; back before it everything is right again.
    m_player->seekTo(Duration / 3);
    for (int step = 0; step < 15; ++step)
        m_player->stepForward();
    m_player->seekTo(Duration - 1);
    m_player->stepForward();
    m_player->stepBack();
    seekToPicture(8);
    m_player->stepForward();
    QCOMPARE(m_player->shownNumber(), 9);
    Play();
    SetRate(4.0);
    QTRY_VERIFY(GetPosition() > 2 * Duration / 5);
    QVERIFY(OPENED && !PAUSED);
    m_player->pause();
    QVERIFY(GetPosition() <= Duration);
}

void TroubleTest::filmsUpsideDownAndOnTheirSideAreUpright()
{
    for (const auto &[rotation, filters, size] :
         {std::tuple(180, "hflip,vflip", QSize(320, 180)), std::tuple(270, "transpose=clock", QSize(180, 320))}) {
        open(makeFilm({.file = QString("trouble_turned%1.mp4").arg(rotation),
                       .size = size,
                       .frames = 50,
                       .video = QStringList{"-vf", filters} + h264,
                       .audio = {},
                       .rotation = rotation}));
        QCOMPARE(QSize(srcWidth, srcHeight), size);
        seekToPicture(33);
    }
}

void TroubleTest::picturesOfAnySizeOpen()
{
    for (const auto &[size, codec] : {std::pair("2x2", "ffv1"), std::pair("8192x4320", "mjpeg")}) {
        const QString path = at(QString("size_%1.mkv").arg(size));
        encode({"-f", "lavfi", "-i", QString("color=c=red:r=25:d=0.2:s=%1").arg(size), "-c:v", codec, path});
        open(path);
        QCOMPARE(QString("%1x%2").arg(srcWidth).arg(srcHeight), QString(size));
        for (int step = 0; step < 3; ++step)
            m_player->stepForward();
        m_player->stepBack();
        QCOMPARE(frameNumber(GetPosition(), fps), std::int64_t(2));
        // The smallest panel that a window can leave it.
        for (const int side : {0, 1}) {
            SetVideoRect(side, side);
            m_player->stepForward();
            QCOMPARE(frameNumber(GetPosition(), fps), std::int64_t(3 + side));
        }
    }
}

void TroubleTest::picturesThatOnlyLibavformatNames()
{
    for (const QStringList &audio : {QStringList(), aac}) {
        // Its encoder is slow.
        open(makeFilm({.file = QString("trouble_cinepak_%1.mkv").arg(audio.size()),
                       .size = {96, 64},
                       .frames = 12,
                       .video = {"-c:v", "cinepak"},
                       .audio = audio}));
        compareShown(0);
        m_player->stepForward();
        compareShown(1);
        seekToPicture(8);
    }
}

void TroubleTest::aSoundFilePlays()
{
    const QString path = at("song.mp3");
    encode({"-f", "lavfi", "-i", "sine=d=4", path});
    Open(path);
    QCOMPARE(m_player->messages, QStringList());
    QVERIFY(OPENED);
    QCOMPARE(QSize(srcWidth, srcHeight), QSize(0, 0));
    QCOMPARE(fps, 25.0);
    QVERIFY(isNear(Duration, 4 * unitsPerSecond));
    QTRY_VERIFY(GetPosition() > unitsPerSecond / 4);
    Pause();
    m_player->seekTo(2 * unitsPerSecond);
    const MediaTime before = GetPosition();
    QVERIFY(isNear(before, 2 * unitsPerSecond));
    m_player->stepForward();
    QVERIFY(qAbs(GetPosition() - before - unitsPerSecond / 25) < unitsPerSecond / 50);
    m_player->stepBack();
    QVERIFY(qAbs(GetPosition() - before) < unitsPerSecond / 50);
}

void TroubleTest::soundThatOutlastsThePictures()
{
    const QString path = withTone("long_sound.mp4", "6");
    // Wherever it is paused the last picture is there, and further on the position is the sound's.
    for (const int hundredths : {196, 202, 208, 214, 220, 226, 400}) {
        open(path);
        QVERIFY(isNear(Duration, 6 * unitsPerSecond));
        m_player->seekTo(18 * unitsPerSecond / 10);
        Play();
        QTRY_VERIFY(GetPosition() >= hundredths * unitsPerSecond / 100);
        m_player->pause();
        QCOMPARE(m_player->shownNumber(), 49);
        QVERIFY(hundredths > 200 || frameNumber(GetPosition(), fps) == 49);
    }
    const MediaTime paused = GetPosition();
    QVERIFY(paused >= 4 * unitsPerSecond && paused < 6 * unitsPerSecond);
    Play();
    QVERIFY(GetPosition() >= paused - unitsPerSecond / 10);
    m_player->pause();
    m_player->seekTo(5 * unitsPerSecond);
    m_player->stepForward();
    QCOMPARE(GetPosition(), 5 * unitsPerSecond);
    QCOMPARE(m_player->shownNumber(), 49);
    m_player->stepBack();
    compareShown(48);
    m_player->stepForward();
    m_player->stepForward();
    compareShown(49);
    m_player->seekTo(5 * unitsPerSecond);
    Play();
    QTRY_VERIFY(GetPosition() > 5 * unitsPerSecond && IsSettled());
    QVERIFY(QTest::qWaitFor([] { return GetPosition() == Duration; }, 20'000));
    runEvents(300);
    QCOMPARE(GetPosition(), Duration);
    // Before and after a jump into the sound has landed, too.
    for (const auto &[jumps, milliseconds] :
         {std::pair(1, 0), std::pair(2, 0), std::pair(2, 10), std::pair(1, 20), std::pair(1, 100)}) {
        open(path);
        Play();
        QTRY_VERIFY(GetPosition() > 0);
        for (int jump = 0; jump < jumps; ++jump)
            SetPosition(5 * unitsPerSecond + jump * unitsPerSecond / 25);
        runEvents(milliseconds);
        m_player->pause();
        QCOMPARE(m_player->shownNumber(), 49);
        QVERIFY(isNear(GetPosition(), 51 * unitsPerSecond / 10));
    }
}

void TroubleTest::picturesThatOutlastTheSoundOrStartAfterIt()
{
    open(withTone("short_sound.mp4", "0.5"));
    QVERIFY(isNear(Duration, 2 * unitsPerSecond));
    Play();
    QTRY_VERIFY(GetPosition() > unitsPerSecond);
    m_player->pause();
    const int shown = m_player->shownNumber();
    QVERIFY(shown >= 20);
    compareShown(shown);
    Play();
    QTRY_COMPARE(m_player->shownNumber(), 49);
    QVERIFY(!PAUSED);

    open(withTone("late_pictures.mkv", "4", "1"));
    compareShown(0);
    QCOMPARE(GetPosition(), MediaTime(0));
    m_player->stepForward();
    compareShown(1);
    seekToPicture(30);
    seekToPicture(0);
    Play();
    QTRY_VERIFY(m_player->shownNumber() > 5);
    m_player->pause();
    compareShown(m_player->shownNumber());
}

void TroubleTest::aStillPicture()
{
    for (const char *name : {"still%03d.png", "photo.jpg"}) {
        encode({"-i", m_film, "-frames:v", "1", "-update", "1", at(name)});
        open(at(name));
        QTRY_COMPARE(m_player->shownNumber(), 0);
        m_player->stepForward();
        m_player->stepBack();
        m_player->seekTo(unitsPerSecond);
        Play();
        m_player->seekTo(0);
        QVERIFY(OPENED && !PAUSED);
        QTRY_COMPARE(m_player->shownNumber(), 0);
    }
}

void TroubleTest::aStreamWithoutTimesIsSteppedThrough()
{
    // The length of this one is guessed.
    open(painted("raw.m2v", {"-c:v", "mpeg2video", "-g", "12"}));
    for (int number = 0; number < 50; ++number) {
        QCOMPARE(m_player->shownNumber(), number);
        m_player->stepForward();
    }
    m_player->stepBack();
    QCOMPARE(m_player->shownNumber(), 48);

    // This one tells none.
    Open(painted("raw.h264", h264));
    m_player->pause();
    QVERIFY(OPENED);
    QCOMPARE(Duration, MediaTime(0));
    int number = m_player->shownNumber();
    QVERIFY(number >= 0 && number < 25);
    while (number < 49 && !QTest::currentTestFailed()) {
        m_player->stepForward();
        compareShown(++number);
        if (number == 40) {
            // Nothing else moves it: there are no times to go to.
            m_player->stepBack();
            m_player->seekTo(steppedPosition(GetPosition(), unitsPerSecond, Duration));
            m_player->seekTo(0);
            compareShown(number);
        }
    }
    m_player->stepForward();
    compareShown(49);
}

void TroubleTest::hammeredCommandsEndWhereTheLastOneAsked()
{
    open(makeFilm(standardFilm("h264_25.mp4")));
    constexpr int keyRepeatMilliseconds = 33;
    const auto step = [](double offset, SeekTo picture = SeekTo::Time) {
        SetPosition(steppedPosition(GetPosition(), offset, Duration), picture);
        runEvents(keyRepeatMilliseconds);
    };
    const auto hammer = [this, &step](int times) {
        for (int round = 0; round < times; ++round) {
            step(5.0 * unitsPerSecond);
            step(-3.0 * unitsPerSecond);
            SetRate(round % 2 == 0 ? 6.0 : 0.1);
            runEvents(keyRepeatMilliseconds);
            step(unitsPerSecond / fps, SeekTo::NextPicture);
            step(unitsPerSecond / fps, SeekTo::NextPicture);
        }
        SetRate(1.0);
        SetPosition(7 * unitsPerSecond);
        QCOMPARE(GetPosition(), 7 * unitsPerSecond);
        QVERIFY(m_player->settle());
    };
    hammer(9);
    const qint64 before = residentBytes();
    hammer(18);
    QVERIFY2(residentBytes() - before < 30'000'000, "memory grows with every command");
    QVERIFY(PAUSED);
    compareShown(7 * 25);
    Play();
    hammer(9);
    QVERIFY(!PAUSED);
    QVERIFY(GetPosition() - 7 * unitsPerSecond < unitsPerSecond);
    QTRY_VERIFY(GetPosition() > 29 * unitsPerSecond / 4);
    // Play and pause at the same speed.
    for (int command = 0; command < 41; ++command) {
        if (PAUSED)
            Play();
        else
            Pause();
        if (command % 3 == 0)
            step(-1.0 * unitsPerSecond / fps, SeekTo::PreviousPicture);
        else
            runEvents(keyRepeatMilliseconds / 2);
    }
    QVERIFY(PAUSED);
    m_player->pause();
    compareShown(m_player->shownNumber());
}

void TroubleTest::openingAgainAndAgainLeaksNothing()
{
    qsizetype files = 0;
    qsizetype threads = 0;
    for (int round = 0; round < 55; ++round) {
        Open(m_film);
        QVERIFY(OPENED);
        SetPosition(Duration / 2);
        Teardown();
        runEvents(1);
        if (round == 4) {
            files = entriesOf("fd");
            threads = entriesOf("task");
        }
    }
    QTRY_COMPARE(entriesOf("task"), threads);
    QCOMPARE(entriesOf("fd"), files);
    QCOMPARE(m_player->messages, QStringList());
}

QTEST_MAIN(TroubleTest)
#include "trouble_test.moc"
