#include "reader_films.h"
#include "scripted_client.h"

#include "films/film_witness.h"
#include "platform/posix/object_directory.h"

#include <QDir>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <filesystem>
#include <limits>
#include <thread>

using namespace std::chrono_literals;

namespace {

using Opened = std::optional<protocol::OpenedFilm>;

Opened open(ScriptedClient &client, const QString &film, int frames = 1)
{
    return client.open(readerFilm(film).toStdString(), frames);
}

int numberIn(const ScriptedClient &client, const Opened &film, int picture = 0)
{
    const auto pixels = client.data().subspan(static_cast<std::size_t>(*film->dataSize(1) * picture));
    return paintedFrameNumber(pictureOf(pixels, film->width, film->height)).value_or(-1);
}

QDir ownDirectory()
{
    return QString::fromStdString(ObjectDirectory::ofThisProgram()->path());
}

/// What a process has open, but for the shared objects.
QStringList filesOf(pid_t process)
{
    QStringList files;
    for (const auto &entry : std::filesystem::directory_iterator("/proc/" + std::to_string(process) + "/fd")) {
        const QString target = QString::fromStdString(read_symlink(entry).string());
        if (!target.startsWith(ownDirectory().path()))
            files << target.section(':', 0, 0);
    }
    return files;
}

void makeDirectory(const QString &path, mode_t mode)
{
    QVERIFY(QDir().mkdir(path));
    chmod(qPrintable(path), mode);
}

// An orphan that has ended may wait long for the system to collect it, and threads of it live on for a moment.
bool isRunning(pid_t process)
{
    const QString folder = QString("/proc/%1/").arg(process);
    QFile status(folder + "stat");
    return status.open(QIODevice::ReadOnly)
           && (!status.readAll().contains(") Z ") || QDir(folder + "task", "[0-9]*").count() > 1);
}

/// What `Program` starts: prints its reader's process number and the directory of their objects, then reads pictures of
/// a film again and again and prints for each its index and its number, until it is killed or its input ends.
bool runProgram(const std::string &film)
{
    ScriptedClient client;
    const ObjectDirectory *directory = ObjectDirectory::ofThisProgram();
    std::printf("%d %s\n", client.process(), directory == nullptr ? "none" : directory->path().c_str());
    const Opened opened = client.isReady() ? client.open(film) : std::nullopt;
    for (pollfd input{STDIN_FILENO, POLLIN, 0}; opened && poll(&input, 1, 0) == 0; std::fflush(stdout)) {
        for (const int index : {100, 3, 60, 77})
            std::printf("%d %d\n", index, client.ask("read " + std::to_string(index)) ? numberIn(client, opened) : -1);
    }
    return opened.has_value();
}

/// A copy of the program: another process with a reader of its own.
class Program {
public:
    explicit Program(const QProcessEnvironment &environment = QProcessEnvironment::systemEnvironment(),
                     const QString &film = readerFilm("reader_h264.mp4"))
    {
        m_process.setProcessEnvironment(environment);
        m_process.start("/proc/self/exe", {"program", film});
        const auto [number, path] = words();
        reader = number.toInt();
        directory = path;
    }
    ~Program()
    {
        end(false);
        while (reader > 0 && isRunning(reader))
            QTest::qSleep(1);
    }

    void end(bool ofItself)
    {
        ofItself ? m_process.closeWriteChannel() : m_process.kill();
        m_process.waitForFinished();
    }

    /// The two words of the next line that it prints, empty if it has ended.
    std::pair<QString, QString> words()
    {
        while (!m_process.canReadLine() && m_process.waitForReadyRead(10'000)) {}
        const QString line = QString::fromUtf8(m_process.readLine()).trimmed();
        return {line.section(' ', 0, 0), line.section(' ', 1)};
    }

    pid_t reader = -1;
    QString directory;

private:
    QProcess m_process;
};

} // namespace

// The built FrameReader, asked by a client that follows the protocol to the letter: what it answers, how it begins and
// ends, and what it leaves.

class ReaderProcessTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    // Whatever happened, no reader is left, and no name of one.
    void cleanup() { QTRY_VERIFY(ownDirectory().entryList(QDir::Files | QDir::Hidden).isEmpty()); }

    void commandsAreAnsweredAndNothingElse()
    {
        ScriptedClient client;
        QVERIFY(open(client, "reader_h264.mp4"));
        for (const char *command : {"timeout 500", "frames 20", "frames 1", "bufupdate", "timeout -1"})
            QVERIFY2(client.ask(command), command);
        // The same words again find the old answer, and the next ones a new one.
        QVERIFY(client.ask("bufupdate") && client.ask("bufupdate") && client.ask("timeout 1"));
        // Shorter and longer ones in quick succession.
        for (int number = 0; number < 300; ++number) {
            const std::string command = "timeout " + std::string(static_cast<std::size_t>(number * 7 % 60), '0') + '1';
            QVERIFY2(client.ask(command), command.c_str());
        }
        QVERIFY2(!client.ask("exit now", 30ms) && client.ask("bufupdate"), "what is no command is passed over");
    }

    void readsDeliverWhatWasAsked()
    {
        ScriptedClient client;
        const auto opened = open(client, "reader_h264.mkv");
        QVERIFY(opened);
        QCOMPARE(QSize(opened->width, opened->height), QSize(160, 120));
        QCOMPARE(opened->frameCount, 130);
        QVERIFY(std::abs(opened->frameRate - 24000.0 / 1001.0) < 1e-9);
        constexpr long most = std::numeric_limits<long>::max();
        for (const long index : {0L, 1L, 129L, 64L, 63L, 130L, 100'000L, -1L, 64L, -most, most}) {
            // The same words again: the old echo stands, and so does the picture.
            for (int time = 0; time < 2; ++time) {
                QVERIFY2(client.ask("read " + std::to_string(index)), qPrintable(QString::number(index)));
                QCOMPARE(numberIn(client, opened), static_cast<int>(std::clamp(index, 0L, 129L)));
            }
        }
        QVERIFY(client.ask("close"));
        QVERIFY2(!client.ask("read 1", 200ms), "no film, no picture");
    }

    void theBufferFollowsFramesAndFilm()
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
            for (int picture = 0; picture < 5; ++picture)
                QCOMPARE(numberIn(client, opened, picture), numbers[picture]);
        }

        // Numbers of frames that are none change nothing.
        QVERIFY(client.ask("frames 0") && client.ask("frames 21") && client.ask("frames 9999999999"));
        QVERIFY(client.mapData(*opened, 5) && !client.mapData(*opened, 6));
        QVERIFY(client.ask("frames 20") && client.mapData(*opened, 20));

        // Another film, another size.
        opened = client.open(makeFilm(standardFilm("h264_25.mp4")).toStdString(), 2);
        QVERIFY(opened && client.ask("read 3"));
        QCOMPARE(QSize(opened->width, opened->height), QSize(320, 180));
        QVERIFY(numberIn(client, opened) == 3 && numberIn(client, opened, 1) == 4);
    }

    void picturesAreThereBeforeTheirEcho()
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

    void whatIsNoFilmIsNotAnswered()
    {
        const QTemporaryDir folder;
        const QString film = folder.filePath("film.mp4");
        QVERIFY(QFile::copy(readerFilm("reader_h264.mp4"), film));
        QVERIFY(QFile::copy(readerFilm("reader_h264.ts"), folder.filePath("film.ts")));
        makeDirectory(folder.filePath("folder"), 0700);
        QCOMPARE(mkfifo(qPrintable(folder.filePath("pipe")), 0600), 0); // that nobody writes to
        (void)outputOf("ffmpeg", {"-v", "quiet", "-f", "lavfi", "-i", "sine=duration=1", folder.filePath("sound.mp4")});
        writeFile(folder.filePath("empty.avi"), {});
        writeFile(folder.filePath("text.mp4"), QByteArray("Это не фильм.\n").repeated(1000));
        // What names another file, in the folder that the reader works in, or a place in the network.
        writeFile(folder.filePath("list.txt"), "ffconcat version 1.0\nfile film.mp4\n");
        writeFile(folder.filePath("list.m3u8"),
                  "#EXTM3U\n#EXT-X-TARGETDURATION:10\n#EXTINF:5,\nfilm.ts\n#EXT-X-ENDLIST\n");
        writeFile(folder.filePath("film.sdp"), "v=0\no=- 0 0 IN IP4 127.0.0.1\ns=x\nc=IN IP4 127.0.0.1\nt=0 0\n"
                                               "m=video 9999 RTP/AVP 96\na=rtpmap:96 H264/90000\n");
        const QString before = QDir::currentPath();
        QDir::setCurrent(folder.path());
        ScriptedClient client;
        QDir::setCurrent(before);
        for (const char *name :
             {"missing", "folder", "pipe", "sound.mp4", "empty.avi", "text.mp4", "list.txt", "list.m3u8", "film.sdp"}) {
            QVERIFY2(!client.ask("open " + folder.filePath(name).toStdString(), 400ms), name);
            QCOMPARE(filesOf(client.process()).count("socket"), 1);
            QVERIFY(client.open(film.toStdString()) && client.ask("read 7"));
        }
        // A film that comes later is opened: the program asks again with the same words, which the reader cannot tell from
        // the first ones.
        const QString later = folder.filePath("фильм %03d 'а'.mp4");
        QVERIFY(!client.ask("open " + later.toStdString(), 300ms));
        QVERIFY(QFile::copy(film, later));
        QVERIFY(client.ask("open " + later.toStdString(), 3000ms));
    }

    void anAbandonedCommandIsDropped()
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

    void anEndedReaderLooksDeadAndIsReplaced()
    {
        for (const bool killed : {false, true}) {
            ScriptedClient first;
            QVERIFY(first.isReady());
            killed ? (void)kill(first.process(), SIGKILL) : first.send("exit");
            QTRY_VERIFY(first.hasEnded());
            QVERIFY(!first.isAlive());

            ScriptedClient second;
            QVERIFY(second.isReady());
            // While one lives, another gets no mutex of that name.
            const ScriptedClient third;
            QTRY_VERIFY(third.hasEnded());
            const ScriptedClient other("../OTHER");
            QVERIFY(other.isReady());
            QVERIFY(second.isReady() && second.ask("close"));
        }
    }

    void theReaderGetsNothingButItsChannel()
    {
        const int stray = open("/", O_RDONLY); // without the flag that closes it
        const ScriptedClient client;
        close(stray);
        QVERIFY(client.isReady());
        QCOMPARE(getsid(client.process()), client.process());
        QStringList files = filesOf(client.process());
        files.sort();
        QCOMPARE(files, (QStringList{"/dev/null", "/dev/null", "/dev/null", "socket"}));
    }

    void processesThatEndAreSeen()
    {
        for (const char *noProgram : {"/nowhere/reader", "/etc/passwd", "/"})
            QVERIFY2(!startHiddenProcess(noProgram, "-"), noProgram);
        const auto ending = startHiddenProcess("/bin/true", "-", 24h);
        QVERIFY2(ending, "an ended process is not waited for");
        QTRY_VERIFY(ending->ended());
        const auto silent = startHiddenProcess("/bin/sleep", "2", 50ms);
        QVERIFY2(!silent->ended(), "nor is one that does not tell that it is ready, beyond the bound");
        QTRY_VERIFY(silent->ended());
        QVERIFY2(waitpid(-1, nullptr, WNOHANG) == -1 && errno == ECHILD, "all are collected");

        QProcess byHand;
        byHand.start(TAVRIN_FRAME_READER, {"TAVRIN"});
        QVERIFY2(byHand.waitForFinished(5000) && byHand.exitCode() != 0, "without a program there is no reader");
        QCOMPARE(byHand.readAllStandardOutput() + byHand.readAllStandardError(), QByteArray());
    }

    void theReaderEndsWithItsProgram()
    {
        for (const QString end : {"ends", "is killed", "is killed while the reader is stopped"}) {
            Program program;
            QCOMPARE(program.words().first, "100");
            if (end.endsWith("stopped"))
                kill(program.reader, SIGSTOP);
            program.end(end == "ends");
            kill(program.reader, SIGCONT);
            QTRY_VERIFY2(!isRunning(program.reader), qPrintable(end));
            QTRY_VERIFY2(!QDir(program.directory).exists(), qPrintable(end));
        }
        // Nobody is left to clean up when both are killed; the next program does.
        const ScriptedClient ours;
        Program program;
        kill(program.reader, SIGSTOP);
        program.end(false);
        kill(program.reader, SIGKILL);
        QTRY_VERIFY(!isRunning(program.reader));
        QVERIFY(QDir(program.directory).exists());
        const Program next;
        QVERIFY(!QDir(program.directory).exists() && QDir(next.directory).exists() && ownDirectory().exists());
    }

    void programsDoNotDisturbEachOther()
    {
        ScriptedClient ours;
        Program one;
        Program other(QProcessEnvironment::systemEnvironment(), makeFilm(standardFilm("h264_25.mp4")));
        for (int round = 0; round < 120; ++round) {
            const auto [index, number] = round % 2 == 0 ? one.words() : other.words();
            QVERIFY(!index.isEmpty() && number == index);
        }
        one.end(false);
        QTRY_VERIFY(!isRunning(one.reader));
        QVERIFY(isRunning(other.reader));
        QVERIFY(ours.isReady() && ours.ask("close"));
    }

    void foreignDirectoriesAreNotEntered()
    {
        const QTemporaryDir folder;
        const QString runtime = folder.filePath("runtime");
        const QString trap = folder.filePath("trap");
        const QStringList places{runtime + "/tavrin", folder.filePath(QString("tavrin-%1").arg(geteuid()))};
        makeDirectory(runtime, 0700);
        makeDirectory(trap, 0700);
        auto environment = QProcessEnvironment::systemEnvironment();
        environment.insert("XDG_RUNTIME_DIR", runtime);
        environment.insert("TMPDIR", folder.path());
        const auto isTrapped = [&] {
            const Program program(environment);
            return !QDir(trap).isEmpty()
                   || !(program.directory.startsWith("/run/user/") || program.directory == "none");
        };
        for (const QString &place : places)
            QVERIFY(QFile::link(trap, place));
        QVERIFY2(!isTrapped(), "a link");
        for (const QString &place : places) {
            QVERIFY(QFile::remove(place));
            makeDirectory(place, 0755);
        }
        QVERIFY2(!isTrapped(), "directories that others can enter");
        // Passed over for the temporary one.
        chmod(qPrintable(places.first()), 0700);
        chmod(qPrintable(runtime), 0777);
        QVERIFY2(!isTrapped(), "a runtime directory that others can write to");
        chmod(qPrintable(runtime), 0700);
        const Program program(environment);
        QVERIFY(program.directory.startsWith(runtime + "/tavrin/") && program.reader > 0);
    }
};

int main(int count, char **arguments)
{
    if (count == 3 && arguments[1] == std::string("program"))
        return runProgram(arguments[2]) ? EXIT_SUCCESS : EXIT_FAILURE;
    ReaderProcessTest test;
    return QTest::qExec(&test, count, arguments);
}

#include "reader_process_test.moc"
