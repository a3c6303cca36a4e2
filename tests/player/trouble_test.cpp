#include "mpv_player.h"

#include "films/film_maker.h"
#include "platform/failing_system.h"
#include "player/transport.h"

#include <QDateTime>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QTcpServer>
#include <QTemporaryDir>
#include <QTest>

#include <sys/stat.h>
#include <unistd.h>

// Files that people open by mistake, that are damaged, or that are unlike other films.

namespace {

const QStringList h264 = {"-c:v", "libx264", "-preset", "veryfast", "-pix_fmt", "yuv420p", "-bf", "2", "-g", "50"};
const QStringList aac = {"-c:a", "aac", "-b:a", "64k"};

QByteArray contents(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        qFatal("cannot read %s", qPrintable(path));
    return file.readAll();
}

/// Runs ffmpeg; the test ends if that fails.
void encode(const QStringList &arguments)
{
    QProcess process;
    process.start("ffmpeg", QStringList{"-nostdin", "-y", "-loglevel", "error"} + arguments);
    if (!process.waitForFinished(60'000) || process.exitCode() != 0)
        qFatal("ffmpeg: %s", process.readAllStandardError().constData());
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
    void init() { m_player = std::make_unique<MpvPlayer>(); }
    void cleanup() { m_player.reset(); }
    void whatIsNoFilmIsRefused_data();
    void whatIsNoFilmIsRefused();
    void aFileWithoutReadPermissionIsRefused();
    void listsOpenNothing_data();
    void listsOpenNothing();
    void anyFileNameOpens_data();
    void anyFileNameOpens();
    void damagedFilmsPlay_data();
    void damagedFilmsPlay();
    void picturesOfAnyShapeAreExact_data();
    void picturesOfAnyShapeAreExact();
    void picturesOfAnySizeOpen_data();
    void picturesOfAnySizeOpen();
    void aSoundFilePlays();
    void soundThatOutlastsThePictures();
    void pausingBesideTheLastPictureNamesIt();
    void picturesThatOutlastTheSound();
    void picturesThatStartAfterTheSound();
    void aStillPicture();
    void aStreamWithoutADurationIsSteppedThrough();
    void aStreamWithAGuessedDurationIsSteppedThrough();
    void hammeredCommandsEndWhereTheLastOneAsked_data();
    void hammeredCommandsEndWhereTheLastOneAsked();
    void openingAgainAndAgainLeaksNothing();

private:
    QString write(const QString &name, const QByteArray &bytes);
    /// A path in the test's folder.
    QString at(const QString &name) const { return m_folder.filePath(name); }
    /// A film of 50 painted pictures; `video` may hold filters.
    QString painted(const QString &name, const QStringList &video, const QStringList &audio = {}, int rotation = 0,
                    QSize size = {320, 180});
    void refuse(const QString &path);
    /// Opens what can be played, paused on its first picture.
    void open(const QString &path);
    /// To a painted film's picture, which has to be there then.
    void seekToPicture(int number);
    /// The picture of this number is there, and the frame counter names it.
    void compareShown(int number);
    /// Pauses, until the picture stands.
    void pause();
    /// The plain film's pictures with a tone of this length; the pictures may start later than it.
    QString withTone(const QString &name, const char *toneSeconds, const char *picturesStart = "0");

    QTemporaryDir m_folder;
    QString m_film;
    std::unique_ptr<MpvPlayer> m_player;
};

QString TroubleTest::write(const QString &name, const QByteArray &bytes)
{
    const QString path = at(name);
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size())
        qFatal("cannot write %s", qPrintable(path));
    return path;
}

QString TroubleTest::painted(const QString &name, const QStringList &video, const QStringList &audio, int rotation,
                             QSize size)
{
    return makeFilm({.file = "trouble_" + name,
                     .size = size,
                     .frames = 50,
                     .rate = "25/1",
                     .video = video,
                     .audio = audio,
                     .rotation = rotation});
}

void TroubleTest::initTestCase()
{
    QVERIFY(m_folder.isValid());
    // Readable by whoever the test becomes.
    QVERIFY(::chmod(QFile::encodeName(m_folder.path()).constData(), 0755) == 0);
    m_film = painted("plain.mp4", h264, aac);
}

void TroubleTest::open(const QString &path)
{
    m_player->openPaused(path);
    QCOMPARE(m_player->messages, QStringList());
    QVERIFY(OPENED);
}

void TroubleTest::seekToPicture(int number)
{
    m_player->seekTo(number * unitsPerSecond / 25);
    compareShown(number);
}

void TroubleTest::compareShown(int number)
{
    QCOMPARE(m_player->shownNumber(), number);
    QCOMPARE(frameNumber(GetPosition(), fps), std::int64_t(number));
}

void TroubleTest::pause()
{
    Pause();
    QVERIFY(m_player->settle());
    // A picture that was handed over already is still drawn.
    runEvents(150);
}

void TroubleTest::refuse(const QString &path)
{
    QElapsedTimer spent;
    spent.start();
    Open(path);
    QCOMPARE(m_player->messages, QStringList("Failed open file"));
    QVERIFY(!OPENED);
    QVERIFY2(spent.elapsed() < 5000, "nobody waits that long for a refusal");
    // The next film opens as if nothing had been.
    m_player->messages.clear();
    Open(m_film);
    QVERIFY(OPENED);
    QCOMPARE(m_player->messages, QStringList());
}

void TroubleTest::whatIsNoFilmIsRefused_data()
{
    QTest::addColumn<QString>("path");
    QTest::newRow("nothing there") << at("missing.mp4");
    QTest::newRow("no name") << "";
    QTest::newRow("text") << write("notes.avi", QByteArray("Список покупок: хлеб, молоко.\n").repeated(200));
    QTest::newRow("empty") << write("empty.mp4", {});
    QTest::newRow("zeros") << write("zeros.mkv", QByteArray(100'000, '\0'));
    QTest::newRow("cut before its index") << write("cut.mp4", contents(m_film).left(contents(m_film).size() / 2));
    QDir(m_folder.path()).mkpath("folder");
    QFile::copy(m_film, at("folder/film.mp4"));
    QTest::newRow("folder") << at("folder");
    ::mkfifo(QFile::encodeName(at("pipe.avi")).constData(), 0644);
    QTest::newRow("pipe without a writer") << at("pipe.avi");
    QTest::newRow("device") << "/dev/zero";
    QTest::newRow("standard input") << "-";
    QTest::newRow("address") << "http://127.0.0.1:9/film.mp4";
    QTest::newRow("pseudo file") << "memory://abc";
    QTest::newRow("generated film") << "av://lavfi:testsrc";
}

void TroubleTest::whatIsNoFilmIsRefused()
{
    QFETCH(QString, path);
    refuse(path);
}

void TroubleTest::aFileWithoutReadPermissionIsRefused()
{
    const QString path = at("secret.mp4");
    QVERIFY(QFile::copy(m_film, path));
    QVERIFY(::chmod(QFile::encodeName(path).constData(), 0) == 0);
    const AsOrdinaryUser user;
    Open(path);
    QVERIFY(!OPENED);
    QCOMPARE(m_player->messages, QStringList("Failed open file"));
}

void TroubleTest::listsOpenNothing_data()
{
    QTest::addColumn<QByteArray>("text");
    const auto row = [](const char *name, const QByteArray &text) { QTest::newRow(name) << text; };
    // FILM stands for a film beside the list, URL for an address that somebody watches.
    row("list.m3u", "#EXTM3U\n#EXTINF:2,x\nFILM\nURL/a.mp4\n");
    row("address.m3u", "#EXTM3U\nURL/a.mp4\nFILM\n");
    const QByteArray hls = "#EXTM3U\n#EXT-X-VERSION:3\n#EXT-X-TARGETDURATION:2\n#EXTINF:2.0,\n";
    row("list.m3u8", hls + "URL/a.ts\n#EXTINF:2.0,\nFILM\n#EXT-X-ENDLIST\n");
    row("master.m3u8", "#EXTM3U\n#EXT-X-STREAM-INF:BANDWIDTH=1280000\nURL/low.m3u8\n");
    row("hls.mp4", hls + "FILM\n#EXT-X-ENDLIST\n");
    row("list.pls", "[playlist]\nFile1=FILM\nFile2=URL/a.mp4\nNumberOfEntries=2\nVersion=2\n");
    row("list.cue", "FILE \"beside.mp4\" WAVE\n  TRACK 01 AUDIO\n    INDEX 01 00:00:00\n");
    row("list.edl", "# mpv EDL v0\nFILM,0,1\n");
    row("address.edl", "# mpv EDL v0\nURL/a.mp4,0,1\n");
    row("list.ffconcat", "ffconcat version 1.0\nfile beside.mp4\n");
    row("list.sdp", "v=0\no=- 0 0 IN IP4 127.0.0.1\ns=x\nc=IN IP4 127.0.0.1\nt=0 0\nm=video 5004 RTP/AVP 96\n"
                    "a=rtpmap:96 H264/90000\n");
    row("list.mpd", "<?xml version=\"1.0\"?>\n<MPD xmlns=\"urn:mpeg:dash:schema:mpd:2011\" type=\"static\" "
                    "mediaPresentationDuration=\"PT2S\">\n<Period><AdaptationSet mimeType=\"video/mp4\">"
                    "<Representation id=\"1\" bandwidth=\"1000\"><BaseURL>URL/a.mp4</BaseURL></Representation>"
                    "</AdaptationSet></Period></MPD>\n");
    row("list.mov", "[Reference]\r\nRef1=URL/a.mov\r\n");
    row("list.asx", "<ASX VERSION=\"3.0\"><ENTRY><REF HREF=\"URL/a.wmv\"/></ENTRY></ASX>");
    row("list.txt", "URL/a.mp4\nFILM\n");
}

void TroubleTest::listsOpenNothing()
{
    QFETCH(QByteArray, text);
    QTcpServer server;
    QVERIFY(server.listen(QHostAddress::LocalHost));
    const QString beside = write("beside.mp4", contents(m_film));
    text.replace("URL", "http://127.0.0.1:" + QByteArray::number(server.serverPort()));
    text.replace("FILM", beside.toUtf8());

    // Reading the neighbour would show in the time of its last access.
    const QDateTime longAgo = QDateTime::fromSecsSinceEpoch(1000);
    QFile neighbour(beside);
    QVERIFY(neighbour.open(QIODevice::ReadWrite) && neighbour.setFileTime(longAgo, QFileDevice::FileAccessTime)
            && neighbour.setFileTime(longAgo, QFileDevice::FileModificationTime));
    neighbour.close();
    refuse(write(QTest::currentDataTag(), text));
    runEvents(20);
    QVERIFY2(!server.hasPendingConnections() && !server.waitForNewConnection(100), "the network was asked");
    QCOMPARE(QFileInfo(beside).lastRead(), longAgo);
}

void TroubleTest::anyFileNameOpens_data()
{
    QTest::addColumn<QString>("name");
    for (const char *name :
         {"Наш отпуск.mp4", "🎬 день рождения 🎂.mp4", "часть #2.mp4", "100%25 %d %03d.mp4", "-vf hflip.mp4", "--help",
          "  два  пробела  ", "http:__example.org_film.mp4", "[*] сцена?.mp4", "http:/film.mp4", "file:/film.mp4",
          "edl:/film.mp4", "quote\"and'back\\slash.mp4", "$HOME ~ ${path}.mp4", "line\nbreak.mp4", "film.m3u",
          "film.cue", "film.txt", "film", "a;b,c|d&e.mp4"})
        QTest::newRow(name) << QString::fromUtf8(name);
    QTest::newRow("250 bytes") << QString("ж").repeated(123) + ".mp4";
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
    const QStringList mpeg4{"-c:v", "mpeg4", "-g", "25"};
    for (const auto &[suffix, video, audio] :
         {std::tuple("mp4", h264, aac + QStringList{"-movflags", "+faststart"}), std::tuple("avi", mpeg4, mp2),
          std::tuple("ts", mpeg2, mp2), std::tuple("mkv", h264, aac + QStringList{"-cluster_time_limit", "200"}),
          std::tuple("mpg", mpeg2, mp2)}) {
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
    pause();
    QVERIFY(GetPosition() <= Duration);
}

void TroubleTest::picturesOfAnyShapeAreExact_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<QSize>("shown");
    const QStringList h264Full = {"-vf", "format=yuv444p", "-c:v", "libx264", "-preset", "veryfast", "-g", "25"};
    const QSize odd(321, 181);
    const auto row = [](const char *name, const QString &path, QSize shown) { QTest::newRow(name) << path << shown; };
    row("odd, H.264", painted("odd.mp4", h264Full, {}, 0, odd), odd);
    row("odd, FFV1", painted("odd.mkv", {"-c:v", "ffv1"}, {}, 0, odd), odd);
    row("odd, MJPEG", painted("odd.avi", {"-c:v", "mjpeg", "-q:v", "3"}, {}, 0, odd), odd);
    const QStringList vp9 = {"-c:v", "libvpx-vp9", "-cpu-used", "8", "-deadline", "realtime"};
    row("odd, VP9", painted("odd.webm", vp9, {}, 0, odd), odd);
    row("portrait", painted("portrait.mp4", h264, {}, 0, {180, 320}), {180, 320});
    // Squeezed to half its width, and shown wide again.
    row("anamorphic", painted("anamorphic.mp4", QStringList{"-vf", "scale=160:180,setsar=2"} + h264), {320, 180});
    row("turned by 90", painted("turned90.mp4", QStringList{"-vf", "transpose=cclock"} + h264, {}, 90, {180, 320}),
        {180, 320});
    row("turned by 180", painted("turned180.mp4", QStringList{"-vf", "hflip,vflip"} + h264, {}, 180), {320, 180});
    row("turned by 270", painted("turned270.mp4", QStringList{"-vf", "transpose=clock"} + h264, {}, 270, {180, 320}),
        {180, 320});
    const QStringList fields = {"-c:v", "mpeg2video", "-q:v", "3", "-flags", "+ildct+ilme", "-top", "1"};
    row("interlaced", painted("interlaced.mpg", fields), {320, 180});
}

void TroubleTest::picturesOfAnyShapeAreExact()
{
    QFETCH(QString, path);
    QFETCH(QSize, shown);
    open(path);
    QCOMPARE(QSize(srcWidth, srcHeight), shown);
    for (int number = 0; number < 6; ++number) {
        compareShown(number);
        m_player->stepForward();
    }
    m_player->stepBack();
    compareShown(5);
    seekToPicture(33);
}

void TroubleTest::picturesOfAnySizeOpen_data()
{
    QTest::addColumn<QString>("size");
    QTest::addColumn<QStringList>("video");
    const QStringList mjpeg{"-c:v", "mjpeg", "-q:v", "8"};
    QTest::newRow("tiny") << "16x16" << h264;
    QTest::newRow("smallest") << "2x2" << QStringList{"-c:v", "ffv1"};
    QTest::newRow("huge") << "8192x4320" << mjpeg;
    QTest::newRow("a ribbon") << "4096x16" << mjpeg;
}

void TroubleTest::picturesOfAnySizeOpen()
{
    QFETCH(QString, size);
    QFETCH(QStringList, video);
    const QString path = at("size_" + size + ".mkv");
    encode(QStringList{"-f", "lavfi", "-i", "color=c=red:r=25:d=0.2:s=" + size} + video + QStringList{path});
    open(path);
    QCOMPARE(QString("%1x%2").arg(srcWidth).arg(srcHeight), size);
    for (int step = 0; step < 3; ++step)
        m_player->stepForward();
    m_player->stepBack();
    QCOMPARE(frameNumber(GetPosition(), fps), std::int64_t(2));
    // The smallest panel that a window can leave it.
    SetVideoRect(0, 0);
    runEvents(30);
    SetVideoRect(1, 1);
    m_player->stepForward();
    QCOMPARE(frameNumber(GetPosition(), fps), std::int64_t(3));
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
    const MediaTime there = GetPosition();
    runEvents(100);
    QCOMPARE(GetPosition(), there);
    m_player->seekTo(2 * unitsPerSecond);
    const MediaTime before = GetPosition();
    QVERIFY(isNear(before, 2 * unitsPerSecond));
    m_player->stepForward();
    QVERIFY(qAbs(GetPosition() - before - unitsPerSecond / 25) < unitsPerSecond / 50);
    m_player->stepBack();
    QVERIFY(qAbs(GetPosition() - before) < unitsPerSecond / 50);
    Play();
    QTRY_VERIFY(GetPosition() > before + unitsPerSecond / 4);
}

QString TroubleTest::withTone(const QString &name, const char *toneSeconds, const char *picturesStart)
{
    encode({"-itsoffset", picturesStart, "-i", m_film, "-f", "lavfi", "-i", QString("sine=d=") + toneSeconds, "-map",
            "0:v", "-map", "1:a", "-c:v", "copy", "-c:a", "aac", at(name)});
    return at(name);
}

void TroubleTest::soundThatOutlastsThePictures()
{
    open(withTone("long_sound.mp4", "6"));
    QVERIFY(isNear(Duration, 6 * unitsPerSecond));
    m_player->seekTo(1 * unitsPerSecond);
    Play();
    SetRate(3.0);
    // While the sound plays on, the clock does.
    QTRY_VERIFY(GetPosition() > 4 * unitsPerSecond);
    pause();
    compareShown(49);
    m_player->seekTo(5 * unitsPerSecond);
    QCOMPARE(m_player->shownNumber(), 49);
    m_player->stepBack();
    QCOMPARE(m_player->shownNumber(), 48);
    m_player->stepForward();
    m_player->stepForward();
    compareShown(49);
}

void TroubleTest::pausingBesideTheLastPictureNamesIt()
{
    const QString path = withTone("long_sound.mp4", "6");
    for (int hundredths = 196; hundredths < 240; hundredths += 6) {
        open(path);
        m_player->seekTo(18 * unitsPerSecond / 10);
        Play();
        QTRY_VERIFY(GetPosition() >= hundredths * unitsPerSecond / 100);
        pause();
        compareShown(49);
    }
    // Before and after a jump into the sound has landed, too.
    for (const int milliseconds : {0, 20, 100}) {
        open(path);
        Play();
        runEvents(50);
        SetPosition(5 * unitsPerSecond);
        runEvents(milliseconds);
        pause();
        compareShown(49);
    }
}

void TroubleTest::picturesThatOutlastTheSound()
{
    open(withTone("short_sound.mp4", "0.5"));
    QVERIFY(isNear(Duration, 2 * unitsPerSecond));
    Play();
    QTRY_VERIFY(GetPosition() > unitsPerSecond);
    pause();
    const int shown = m_player->shownNumber();
    QVERIFY(shown >= 20);
    compareShown(shown);
    m_player->stepForward();
    QCOMPARE(m_player->shownNumber(), shown + 1);
    Play();
    runEvents(1500);
    QCOMPARE(m_player->shownNumber(), 49);
    QVERIFY(!PAUSED);
}

void TroubleTest::picturesThatStartAfterTheSound()
{
    open(withTone("late_pictures.mkv", "4", "1"));
    compareShown(0);
    QCOMPARE(GetPosition(), MediaTime(0));
    m_player->stepForward();
    compareShown(1);
    seekToPicture(30);
    seekToPicture(0);
    Play();
    QTRY_VERIFY(m_player->shownNumber() > 5);
    pause();
    compareShown(m_player->shownNumber());
}

void TroubleTest::aStillPicture()
{
    for (const char *name : {"still%03d.png", "photo.jpg"}) {
        encode({"-i", m_film, "-frames:v", "1", "-update", "1", at(name)});
        open(at(name));
        QCOMPARE(QSize(srcWidth, srcHeight), QSize(320, 180));
        QTRY_COMPARE(m_player->shownNumber(), 0);
        m_player->stepForward();
        m_player->stepForward();
        m_player->stepBack();
        m_player->seekTo(unitsPerSecond);
        QCOMPARE(m_player->shownNumber(), 0);
        Play();
        runEvents(200);
        QVERIFY(OPENED && !PAUSED);
        QCOMPARE(m_player->shownNumber(), 0);
        pause();
    }
}

void TroubleTest::aStreamWithoutADurationIsSteppedThrough()
{
    Open(painted("raw.h264", h264));
    Pause();
    QVERIFY(OPENED);
    QCOMPARE(Duration, MediaTime(0));
    runEvents(100);
    int number = m_player->shownNumber();
    QVERIFY(number >= 0 && number < 25);
    compareShown(number);
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

void TroubleTest::aStreamWithAGuessedDurationIsSteppedThrough()
{
    open(painted("raw.m2v", {"-c:v", "mpeg2video", "-g", "12"}));
    for (int number = 0; number < 50; ++number) {
        QCOMPARE(m_player->shownNumber(), number);
        m_player->stepForward();
    }
    QCOMPARE(m_player->shownNumber(), 49);
    m_player->stepBack();
    QCOMPARE(m_player->shownNumber(), 48);
}

void TroubleTest::hammeredCommandsEndWhereTheLastOneAsked_data()
{
    QTest::addColumn<bool>("playing");
    QTest::newRow("paused") << false;
    QTest::newRow("playing") << true;
}

void TroubleTest::hammeredCommandsEndWhereTheLastOneAsked()
{
    QFETCH(bool, playing);
    open(makeFilm(standardFilm("h264_25.mp4")));
    if (playing)
        Play();
    constexpr int keyRepeatMilliseconds = 33;
    const auto step = [](double offset, SeekTo picture = SeekTo::Time) {
        SetPosition(steppedPosition(GetPosition(), offset, Duration), picture);
        runEvents(keyRepeatMilliseconds);
    };
    const auto hammer = [&step](int times) {
        for (int round = 0; round < times; ++round) {
            step(5.0 * unitsPerSecond);
            step(-3.0 * unitsPerSecond);
            SetRate(round % 2 == 0 ? 6.0 : 0.1);
            runEvents(keyRepeatMilliseconds);
            step(unitsPerSecond / fps, SeekTo::NextPicture);
            step(unitsPerSecond / fps, SeekTo::NextPicture);
        }
    };
    hammer(9);
    const qint64 before = residentBytes();
    hammer(18);
    QVERIFY2(residentBytes() - before < 30'000'000, "memory grows with every command");
    SetRate(1.0);
    QCOMPARE(PAUSED, !playing);
    const MediaTime asked = 7 * unitsPerSecond;
    SetPosition(asked);
    QCOMPARE(GetPosition(), asked);
    QVERIFY(m_player->settle());
    if (playing) {
        QVERIFY(GetPosition() - asked < unitsPerSecond);
        QTRY_VERIFY(GetPosition() > asked + unitsPerSecond / 4);
        pause();
    } else {
        QCOMPARE(m_player->shownNumber(), 7 * 25);
    }
    // Play and pause at the same speed.
    for (int command = 0; command < 40; ++command) {
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
    QVERIFY(m_player->settle());
    const MediaTime stands = GetPosition();
    const int shown = m_player->shownNumber();
    runEvents(150);
    QCOMPARE(GetPosition(), stands);
    compareShown(shown);
}

void TroubleTest::openingAgainAndAgainLeaksNothing()
{
    const auto openAndClose = [this](int times) {
        for (int round = 0; round < times; ++round) {
            Open(m_film);
            QVERIFY(OPENED);
            SetPosition(Duration / 2);
            Teardown();
            runEvents(1);
        }
    };
    openAndClose(5);
    const qsizetype files = entriesOf("fd");
    const qsizetype threads = entriesOf("task");
    openAndClose(50);
    QTRY_COMPARE(entriesOf("task"), threads);
    QCOMPARE(entriesOf("fd"), files);
    QCOMPARE(m_player->messages, QStringList());
}

QTEST_MAIN(TroubleTest)
#include "trouble_test.moc"
