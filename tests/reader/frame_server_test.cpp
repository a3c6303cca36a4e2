#include "reader/film.h"
#include "reader_films.h"
#include "scripted_client.h"

#include "films/film_witness.h"
#include "platform/posix/object_directory.h"

#include <QDir>
#include <QFile>
#include <QImage>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

#include <sys/stat.h>

#include <algorithm>
#include <csignal>
#include <thread>

using namespace std::chrono_literals;

// The built FrameReader, asked by a client that follows the protocol to the letter.

class FrameServerTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void cleanup();
    void everyCommandIsAnswered();
    void exitLeavesNothing();
    void openTellsTheFilm();
    void readsDeliverWhatWasAsked();
    void theBufferFollowsFramesAndFilm();
    void picturesAreThereBeforeTheirEcho();
    void brokenCommandsAreNotAnswered_data();
    void brokenCommandsAreNotAnswered();
    void whatIsNoFilmIsNotAnswered_data();
    void whatIsNoFilmIsNotAnswered();
    void aFilmThatComesLaterIsOpened();
    void anAbandonedCommandIsDropped();
    void aRemovedFilmIsReadOn();
    void aKilledReaderLooksDeadAndIsReplaced();
    void aStoppedReaderAnswersLater();
    void theReaderEndsWithItsProgram_data();
    void theReaderEndsWithItsProgram();
    void programsDoNotDisturbEachOther();
    void oneNameHasOneReader();
    void aReaderWithoutAProgramEnds();

private:
    static QString film(const QString &file);
    static int numberIn(const ScriptedClient &client, const ScriptedClient::OpenFilm &film, int picture = 0);
};

QString FrameServerTest::film(const QString &file)
{
    const auto &films = readerFilms();
    const auto found = std::find_if(films.begin(), films.end(),
                                    [&](const ReaderFilm &candidate) { return candidate.made.file == file; });
    if (found == films.end())
        qFatal("no film %s", qPrintable(file));
    return makeReaderFilm(*found);
}

int FrameServerTest::numberIn(const ScriptedClient &client, const ScriptedClient::OpenFilm &film, int picture)
{
    const auto pixels = client.data().subspan(film.pictureBytes() * static_cast<std::size_t>(picture));
    const QImage image(reinterpret_cast<const uchar *>(pixels.data()), film.width, film.height, film.width * 3,
                       QImage::Format_BGR888);
    return paintedFrameNumber(image).value_or(-1);
}

// Whatever happened, no reader is left, and no name of one.
void FrameServerTest::cleanup()
{
    const QDir directory(QString::fromStdString(ObjectDirectory::ofThisProgram()->path()));
    QTRY_VERIFY(directory.entryList(QDir::Files | QDir::Hidden).isEmpty());
}

void FrameServerTest::everyCommandIsAnswered()
{
    ScriptedClient client;
    QVERIFY(client.isReady());
    for (const char *command : {"timeout 500", "frames 20", "frames 1", "bufupdate", "close", "timeout -1"})
        QVERIFY2(client.ask(command), command);
    // The same words again find the old answer, and the next ones a new one.
    QVERIFY(client.ask("bufupdate") && client.ask("bufupdate") && client.ask("close"));
    // Shorter and longer ones in quick succession.
    for (int number = 0; number < 300; ++number) {
        const std::string command = "timeout " + std::string(static_cast<std::size_t>(number * 7 % 60), '0') + '1';
        client.send(command);
        QVERIFY2(client.awaitReply(), command.c_str());
        QCOMPARE(client.resultBlock()[command.size()], ' ');
    }
}

void FrameServerTest::exitLeavesNothing()
{
    ScriptedClient client;
    client.send("exit");
    QTRY_VERIFY(client.hasEnded());
    QVERIFY(!client.isAlive());
}

void FrameServerTest::openTellsTheFilm()
{
    ScriptedClient client;
    const auto opened = client.open(film("reader_h264.mkv").toStdString());
    QVERIFY(opened);
    QCOMPARE(opened->width, 160);
    QCOMPARE(opened->height, 120);
    QCOMPARE(opened->frameCount, 130);
    QVERIFY(std::abs(opened->frameRate - 24000.0 / 1001.0) < 1e-9);
    QVERIFY(client.ask("close"));
    QVERIFY2(!client.ask("read 1", 200ms), "no film, no picture");
}

void FrameServerTest::readsDeliverWhatWasAsked()
{
    ScriptedClient client;
    const auto opened = client.open(film("reader_h264.mp4").toStdString());
    QVERIFY(opened);
    const std::pair<const char *, int> reads[] = {
        {"0", 0}, {"1", 1}, {"129", 129}, {"64", 64}, {"63", 63}, {"130", 129}, {"100000", 129}, {"-1", 0},
        {"9223372036854775807", 129}, {"-9223372036854775808", 0}, {"99999999999999999999", 129}, {"64", 64}};
    for (const auto &[index, number] : reads) {
        QVERIFY2(client.ask(std::string("read ") + index), index);
        QCOMPARE(numberIn(client, *opened), number);
        // The same words again: the old echo stands, and so does the picture.
        QVERIFY(client.ask(std::string("read ") + index));
        QCOMPARE(numberIn(client, *opened), number);
    }
}

void FrameServerTest::theBufferFollowsFramesAndFilm()
{
    ScriptedClient client;
    auto opened = client.open(film("reader_h264.mp4").toStdString(), 5);
    QVERIFY(opened);
    QVERIFY(client.ask("read 40"));
    for (int picture = 0; picture < 5; ++picture)
        QCOMPARE(numberIn(client, *opened, picture), 40 + picture);
    QVERIFY(client.ask("read 127"));
    for (int picture = 0; picture < 5; ++picture)
        QCOMPARE(numberIn(client, *opened, picture), std::min(127 + picture, 129));

    // Fewer than the buffer holds leave the rest alone, more do not fit.
    QVERIFY(client.ask("read 10 2"));
    QCOMPARE(numberIn(client, *opened, 1), 11);
    QCOMPARE(numberIn(client, *opened, 2), 129);
    QVERIFY(client.ask("read 20 20"));
    QCOMPARE(numberIn(client, *opened, 4), 24);

    // Numbers of frames that are none change nothing.
    QVERIFY(client.ask("frames 0") && client.ask("frames 21") && client.ask("frames 9999999999"));
    QVERIFY(client.mapData(5 * opened->pictureBytes()));
    QVERIFY(!client.mapData(6 * opened->pictureBytes()));
    QVERIFY(client.ask("frames 20"));
    QVERIFY(client.mapData(20 * opened->pictureBytes()));

    // Another film, another size.
    opened = client.open(makeFilm(standardFilm("h264_25.mp4")).toStdString(), 2);
    QVERIFY(opened);
    QCOMPARE(QSize(opened->width, opened->height), QSize(320, 180));
    QVERIFY(client.ask("read 3"));
    QCOMPARE(numberIn(client, *opened, 0), 3);
    QCOMPARE(numberIn(client, *opened, 1), 4);
}

void FrameServerTest::picturesAreThereBeforeTheirEcho()
{
    ScriptedClient client;
    const auto opened = client.open(film("reader_mjpeg.avi").toStdString());
    QVERIFY(opened);
    for (int round = 0; round < 400; ++round) {
        const int number = round * 37 % 130;
        client.send("read " + std::to_string(100'000 + number).substr(1));
        std::optional<std::string> reply;
        while (!reply)
            reply = client.reply(); // without a pause, so as to catch what is half done
        QCOMPARE(*reply, std::string("ok"));
        QCOMPARE(numberIn(client, *opened), number);
    }
}

void FrameServerTest::brokenCommandsAreNotAnswered_data()
{
    QTest::addColumn<QByteArray>("command");
    for (const char *command : {"read", "read ", "read x", "read 1x", "read 1 2 3", "read 1.5", "reads 1", "open",
                                "open ", "frames", "frames x", "closes", "close now", " close", "exit now", "x"})
        QTest::newRow(command) << QByteArray(command);
    // A path that leaves no room for its end: the rest of the block is not read for it.
    QTest::newRow("no end") << ("open /" + QByteArray(994, 'x'));
}

void FrameServerTest::brokenCommandsAreNotAnswered()
{
    QFETCH(QByteArray, command);
    ScriptedClient client;
    QVERIFY(client.open(film("reader_h264.mp4").toStdString()));
    if (command.size() == 1000)
        std::copy(command.begin(), command.end(), client.commandBlock().begin());
    else
        client.send(command.toStdString());
    std::this_thread::sleep_for(30ms);
    QVERIFY(!QByteArray(client.resultBlock().data()).startsWith(command));
    QVERIFY2(client.ask("read 3"), "it goes on");
}

void FrameServerTest::whatIsNoFilmIsNotAnswered_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QString>("name");
    QTest::newRow("nothing there") << QByteArray() << "";
    QTest::newRow("a folder") << QByteArray() << "folder";
    QTest::newRow("a pipe nobody writes") << QByteArray() << "pipe";
    QTest::newRow("an empty file") << QByteArray() << "empty.avi";
    QTest::newRow("text") << QByteArray("Это не фильм.\n").repeated(1000) << "text.mp4";
    QTest::newRow("concat list") << QByteArray("ffconcat version 1.0\nfile film.mp4\n") << "list.ffconcat";
    QTest::newRow("concat list by path") << QByteArray("ffconcat version 1.0\nfile '%1/film.mp4'\n") << "list.txt";
    QTest::newRow("HLS playlist") << QByteArray("#EXTM3U\n#EXT-X-VERSION:3\n#EXT-X-TARGETDURATION:10\n#EXTINF:5,\n"
                                                "film.ts\n#EXT-X-ENDLIST\n")
                                  << "list.m3u8";
    QTest::newRow("HLS playlist in the network") << QByteArray("#EXTM3U\n#EXT-X-TARGETDURATION:10\n#EXTINF:5,\n"
                                                               "http://127.0.0.1:9/film.ts\n#EXT-X-ENDLIST\n")
                                                 << "net.m3u8";
    QTest::newRow("session description") << QByteArray("v=0\no=- 0 0 IN IP4 127.0.0.1\ns=x\nc=IN IP4 127.0.0.1\nt=0 0\n"
                                                       "m=video 9999 RTP/AVP 96\na=rtpmap:96 H264/90000\n")
                                         << "film.sdp";
    QTest::newRow("DASH manifest") << QByteArray("<?xml version=\"1.0\"?><MPD xmlns=\"urn:mpeg:dash:schema:mpd:2011\" "
                                                 "type=\"static\"><Period><AdaptationSet mimeType=\"video/mp4\">"
                                                 "<Representation id=\"1\" bandwidth=\"1\"><BaseURL>film.mp4</BaseURL>"
                                                 "<SegmentBase/></Representation></AdaptationSet></Period></MPD>")
                                   << "film.mpd";
    QTest::newRow("sound only") << QByteArray() << "sound.mp4";
    QTest::newRow("a picture larger than numbers") << QByteArray() << "large.bmp";
}

void FrameServerTest::whatIsNoFilmIsNotAnswered()
{
    QFETCH(QByteArray, content);
    QFETCH(QString, name);
    QTemporaryDir folder;
    QVERIFY(QFile::copy(film("reader_h264.mp4"), folder.filePath("film.mp4")));
    QVERIFY(QFile::copy(film("reader_h264.ts"), folder.filePath("film.ts")));
    const QString path = folder.filePath(name.isEmpty() ? "missing.avi" : name);
    if (name == "folder") {
        QVERIFY(QDir().mkdir(path));
    } else if (name == "pipe") {
        QCOMPARE(mkfifo(qPrintable(path), 0600), 0);
    } else if (name == "sound.mp4") {
        QCOMPARE(QProcess::execute("ffmpeg", {"-v", "quiet", "-f", "lavfi", "-i", "sine=duration=1", path}), 0);
    } else if (name == "large.bmp") {
        // 30,000 by 30,000 pixels of three bytes are more than a signed 32-bit number counts.
        content = QByteArray::fromHex("424d0000000000000000360000002800000030750000307500000100180000000000");
        content += QByteArray(100'000, '\0');
    }
    if (!name.isEmpty() && name != "folder" && name != "pipe" && name != "sound.mp4") {
        QFile file(path);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(content.replace("%1", folder.path().toUtf8()));
    }
    ScriptedClient client;
    QVERIFY(!client.ask("open " + path.toStdString(), 400ms));
    QVERIFY(client.open(folder.filePath("film.mp4").toStdString()));
    QVERIFY(client.ask("read 7"));
}

void FrameServerTest::aFilmThatComesLaterIsOpened()
{
    QTemporaryDir folder;
    const QString path = folder.filePath(QString::fromUtf8("фильм %03d 'а'.mp4"));
    const std::string command = "open " + path.toStdString();
    ScriptedClient client;
    QVERIFY(!client.ask(command, 300ms));
    QVERIFY(QFile::copy(film("reader_h264.mp4"), path));
    // The program asks again with the same words, which the reader cannot tell from the first ones.
    QVERIFY(client.ask(command, 3000ms));
}

void FrameServerTest::anAbandonedCommandIsDropped()
{
    ScriptedClient client;
    const auto opened = client.open(film("reader_h264_one_group.mp4").toStdString());
    QVERIFY(opened);
    for (int round = 0; round < 60; ++round) {
        client.send("read 128");
        std::this_thread::sleep_for(std::chrono::microseconds(round * 137 % 4000));
        const std::string next = "read " + std::to_string(2 + round % 5 * 20);
        QVERIFY(client.ask(next));
        QCOMPARE(numberIn(client, *opened), 2 + round % 5 * 20);
    }
}

void FrameServerTest::aRemovedFilmIsReadOn()
{
    QTemporaryDir folder;
    const QString path = folder.filePath("film.mp4");
    QVERIFY(QFile::copy(film("reader_h264.mp4"), path));
    ScriptedClient client;
    const auto opened = client.open(path.toStdString());
    QVERIFY(opened);
    QVERIFY(QFile::remove(path));
    for (const int number : {100, 3, 129, 0}) {
        QVERIFY(client.ask("read " + std::to_string(number)));
        QCOMPARE(numberIn(client, *opened), number);
    }
}

void FrameServerTest::aKilledReaderLooksDeadAndIsReplaced()
{
    ScriptedClient first;
    QVERIFY(first.open(film("reader_h264.mp4").toStdString()));
    QCOMPARE(kill(first.process(), SIGKILL), 0);
    QTRY_VERIFY(first.hasEnded());
    QVERIFY(!first.isAlive());
    ScriptedClient second;
    QVERIFY(second.isReady());
    const auto opened = second.open(film("reader_h264.mp4").toStdString());
    QVERIFY(opened && second.ask("read 5"));
    QCOMPARE(numberIn(second, *opened), 5);
}

void FrameServerTest::aStoppedReaderAnswersLater()
{
    ScriptedClient client;
    const auto opened = client.open(film("reader_h264.mp4").toStdString());
    QVERIFY(opened);
    QCOMPARE(kill(client.process(), SIGSTOP), 0);
    QVERIFY(!client.ask("read 11", 300ms));
    QVERIFY(client.isAlive());
    QCOMPARE(kill(client.process(), SIGCONT), 0);
    QVERIFY(client.awaitReply());
    QCOMPARE(numberIn(client, *opened), 11);
}

namespace {

bool isRunning(pid_t process)
{
    QFile status(QString("/proc/%1/stat").arg(process));
    return status.open(QIODevice::ReadOnly) && !status.readAll().contains(") Z ");
}

QByteArray nextLine(QProcess &process)
{
    while (!process.canReadLine() && process.waitForReadyRead(10'000)) {
    }
    return process.readLine().trimmed();
}

} // namespace

void FrameServerTest::theReaderEndsWithItsProgram_data()
{
    QTest::addColumn<bool>("killed");
    QTest::addColumn<bool>("stopped");
    QTest::newRow("that ends") << false << false;
    QTest::newRow("that is killed") << true << false;
    QTest::newRow("that is killed while the reader is stopped") << true << true;
}

void FrameServerTest::theReaderEndsWithItsProgram()
{
    QFETCH(bool, killed);
    QFETCH(bool, stopped);
    QProcess program;
    program.start(TAVRIN_READER_PROGRAM, {film("reader_h264.mp4"), "1", "60", "120"});
    const pid_t reader = nextLine(program).toInt();
    QVERIFY(reader > 0);
    QVERIFY(!nextLine(program).isEmpty());
    if (stopped)
        kill(reader, SIGSTOP);
    if (killed)
        program.kill();
    else
        program.closeWriteChannel();
    program.waitForFinished();
    if (stopped)
        kill(reader, SIGCONT);
    QTRY_VERIFY(!isRunning(reader));
}

void FrameServerTest::programsDoNotDisturbEachOther()
{
    QProcess programs[2];
    const QString films[2] = {film("reader_h264.mp4"), film("reader_hevc.mp4")};
    for (int number = 0; number < 2; ++number)
        programs[number].start(TAVRIN_READER_PROGRAM, {films[number], "100", "3", "60", "77"});
    QMap<QByteArray, QByteArray> sums[2];
    for (int round = 0; round < 60; ++round) {
        for (int number = 0; number < 2; ++number) {
            const QList<QByteArray> words = nextLine(programs[number]).split(' ');
            QVERIFY(!words.at(0).isEmpty());
            if (words.size() < 2)
                continue;
            QByteArray &sum = sums[number][words.at(0)];
            if (!sum.isEmpty())
                QCOMPARE(words.at(1), sum);
            sum = words.at(1);
        }
    }
    QCOMPARE(sums[0].size(), 4);
    QVERIFY(sums[0] != sums[1]);
    for (QProcess &program : programs) {
        program.closeWriteChannel();
        QVERIFY(program.waitForFinished());
    }
}

void FrameServerTest::oneNameHasOneReader()
{
    ScriptedClient first;
    QVERIFY(first.isReady());
    {
        const ScriptedClient second;
        QTRY_VERIFY(second.hasEnded());
        const ScriptedClient other("../OTHER");
        QVERIFY(other.isReady());
    }
    QVERIFY(first.isReady());
    QVERIFY(first.ask("close"));
}

void FrameServerTest::aReaderWithoutAProgramEnds()
{
    QProcess reader;
    reader.start(TAVRIN_FRAME_READER, {"TAVRIN"});
    QVERIFY(reader.waitForFinished(5000));
    QVERIFY(reader.exitCode() != 0);
    QCOMPARE(reader.readAllStandardOutput() + reader.readAllStandardError(), QByteArray());
}

QTEST_APPLESS_MAIN(FrameServerTest)
#include "frame_server_test.moc"
