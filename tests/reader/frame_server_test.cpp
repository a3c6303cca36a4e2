#include "reader_films.h"
#include "scripted_client.h"

#include "films/film_witness.h"
#include "platform/posix/object_directory.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include <sys/stat.h>

#include <algorithm>
#include <thread>

using namespace std::chrono_literals;

// The built FrameReader, asked by a client that follows the protocol to the letter.

class FrameServerTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void cleanup();
    void everyCommandIsAnswered();
    void readsDeliverWhatWasAsked();
    void theBufferFollowsFramesAndFilm();
    void picturesAreThereBeforeTheirEcho();
    void brokenCommandsAreNotAnswered();
    void whatIsNoFilmIsNotAnswered_data();
    void whatIsNoFilmIsNotAnswered();
    void aFilmThatComesLaterIsOpened();
    void anAbandonedCommandIsDropped();
};

namespace {

using Opened = std::optional<ScriptedClient::OpenFilm>;

Opened open(ScriptedClient &client, const QString &film, int frames = 1)
{
    return client.open(readerFilm(film).toStdString(), frames);
}

int numberIn(const ScriptedClient &client, const Opened &film, int picture = 0)
{
    const auto pixels = client.data().subspan(film->pictureBytes() * static_cast<std::size_t>(picture));
    return paintedFrameNumber(pictureOf(pixels, film->width, film->height)).value_or(-1);
}

/// The numbers of as many pictures in the data block.
QList<int> numbersIn(const ScriptedClient &client, const Opened &film, int pictures)
{
    QList<int> numbers;
    for (int picture = 0; picture < pictures; ++picture)
        numbers << numberIn(client, film, picture);
    return numbers;
}

} // namespace

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
        QVERIFY2(client.ask(command), command.c_str());
        QCOMPARE(client.resultBlock()[command.size()], ' ');
    }
}

void FrameServerTest::readsDeliverWhatWasAsked()
{
    ScriptedClient client;
    const auto opened = open(client, "reader_h264.mkv");
    QVERIFY(opened);
    QCOMPARE(QSize(opened->width, opened->height), QSize(160, 120));
    QCOMPARE(opened->frameCount, 130);
    QVERIFY(std::abs(opened->frameRate - 24000.0 / 1001.0) < 1e-9);
    const std::pair<const char *, int> reads[] = {
        {"0", 0}, {"1", 1}, {"129", 129}, {"64", 64}, {"63", 63}, {"130", 129}, {"100000", 129}, {"-1", 0},
        {"9223372036854775807", 129}, {"-9223372036854775808", 0}, {"99999999999999999999", 129}, {"64", 64}};
    for (const auto &[index, number] : reads) {
        // The same words again: the old echo stands, and so does the picture.
        for (int time = 0; time < 2; ++time) {
            QVERIFY2(client.ask(std::string("read ") + index), index);
            QCOMPARE(numberIn(client, opened), number);
        }
    }
    QVERIFY(client.ask("close"));
    QVERIFY2(!client.ask("read 1", 200ms), "no film, no picture");
}

void FrameServerTest::theBufferFollowsFramesAndFilm()
{
    ScriptedClient client;
    auto opened = open(client, "reader_h264.mp4", 5);
    QVERIFY(opened);
    // Fewer than the buffer holds leave the rest alone, more do not fit.
    const std::pair<const char *, QList<int>> reads[] = {{"read 40", {40, 41, 42, 43, 44}},
                                                         {"read 127", {127, 128, 129, 129, 129}},
                                                         {"read 10 2", {10, 11, 129, 129, 129}},
                                                         {"read 20 20", {20, 21, 22, 23, 24}}};
    for (const auto &[command, numbers] : reads) {
        QVERIFY2(client.ask(command), command);
        QCOMPARE(numbersIn(client, opened, 5), numbers);
    }

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
    QCOMPARE(numbersIn(client, opened, 2), (QList<int>{3, 4}));
}

void FrameServerTest::picturesAreThereBeforeTheirEcho()
{
    ScriptedClient client;
    const auto opened = open(client, "reader_mjpeg.avi");
    QVERIFY(opened);
    for (int round = 0; round < 400; ++round) {
        const int number = round * 37 % 130;
        client.send("read " + std::to_string(100'000 + number).substr(1));
        std::optional<std::string> reply;
        while (!reply)
            reply = client.reply(); // without a pause, so as to catch what is half done
        QCOMPARE(*reply, std::string("ok"));
        QCOMPARE(numberIn(client, opened), number);
    }
}

void FrameServerTest::brokenCommandsAreNotAnswered()
{
    ScriptedClient client;
    QVERIFY(open(client, "reader_h264.mp4"));
    const auto ignores = [&](const QByteArray &command) {
        std::copy_n(command.constData(), std::min<qsizetype>(command.size() + 1, 1000), client.commandBlock());
        std::this_thread::sleep_for(30ms);
        // It goes on with the next command.
        return !QByteArray(client.resultBlock()).startsWith(command) && client.ask("bufupdate");
    };
    for (const char *command : {"read", "read ", "read x", "read 1x", "read 1 2 3", "read 1.5", "reads 1", "open",
                                "open ", "frames", "frames x", "closes", "close now", " close", "exit now", "x"})
        QVERIFY2(ignores(command), command);
    // A path that leaves no room for its end: the rest of the block is not read for it.
    QVERIFY(ignores("open /" + QByteArray(994, 'x')));
}

void FrameServerTest::whatIsNoFilmIsNotAnswered_data()
{
    QTest::addColumn<QByteArray>("content");
    for (const char *name : {"missing", "folder", "pipe", "sound.mp4", "empty.avi"})
        QTest::newRow(name) << QByteArray();
    QTest::newRow("text.mp4") << QByteArray("Это не фильм.\n").repeated(1000);
    // What names another file or a place in the network.
    QTest::newRow("list.txt") << QByteArray("ffconcat version 1.0\nfile '%1/film.mp4'\n");
    QTest::newRow("list.m3u8") << QByteArray("#EXTM3U\n#EXT-X-TARGETDURATION:10\n#EXTINF:5,\n%1/film.ts\n"
                                             "#EXT-X-ENDLIST\n");
    QTest::newRow("film.sdp") << QByteArray("v=0\no=- 0 0 IN IP4 127.0.0.1\ns=x\nc=IN IP4 127.0.0.1\nt=0 0\n"
                                            "m=video 9999 RTP/AVP 96\na=rtpmap:96 H264/90000\n");
}

void FrameServerTest::whatIsNoFilmIsNotAnswered()
{
    QFETCH(QByteArray, content);
    const QString name = QTest::currentDataTag();
    QTemporaryDir folder;
    QVERIFY(QFile::copy(readerFilm("reader_h264.mp4"), folder.filePath("film.mp4")));
    QVERIFY(QFile::copy(readerFilm("reader_h264.ts"), folder.filePath("film.ts")));
    const QString path = folder.filePath(name);
    if (name == "folder")
        QVERIFY(QDir().mkdir(path));
    else if (name == "pipe") // that nobody writes to
        QCOMPARE(mkfifo(qPrintable(path), 0600), 0);
    else if (name == "sound.mp4")
        (void)outputOf("ffmpeg", {"-v", "quiet", "-f", "lavfi", "-i", "sine=duration=1", path});
    else if (name != "missing")
        writeFile(path, content.replace("%1", folder.path().toUtf8()));
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
    QVERIFY(QFile::copy(readerFilm("reader_h264.mp4"), path));
    // The program asks again with the same words, which the reader cannot tell from the first ones.
    QVERIFY(client.ask(command, 3000ms));
}

void FrameServerTest::anAbandonedCommandIsDropped()
{
    ScriptedClient client;
    const auto opened = open(client, "reader_h264_one_group.mp4");
    QVERIFY(opened);
    for (int round = 0; round < 60; ++round) {
        client.send("read 128");
        std::this_thread::sleep_for(std::chrono::microseconds(round * 137 % 4000));
        const std::string next = "read " + std::to_string(2 + round % 5 * 20);
        QVERIFY(client.ask(next));
        QCOMPARE(numberIn(client, opened), 2 + round % 5 * 20);
    }
}

QTEST_APPLESS_MAIN(FrameServerTest)
#include "frame_server_test.moc"
