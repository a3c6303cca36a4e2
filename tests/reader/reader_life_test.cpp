#include "reader_films.h"
#include "scripted_client.h"

#include "platform/posix/object_directory.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>

using namespace std::chrono_literals;

// How hidden processes, the built FrameReader among them, begin and end, and what they leave.

class ReaderLifeTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void cleanup();
    void anEndedReaderLooksDeadAndIsReplaced();
    void theReaderGetsNothingButItsChannel();
    void whatCannotBeStartedIsTold();
    void endedProcessesAreSeenAndCollected();
    void theReaderEndsWithItsProgram();
    void programsDoNotDisturbEachOther();
    void whatKilledProgramsLeaveIsRemoved();
    void foreignDirectoriesAreNotEntered();
    void aReaderWithoutAProgramEnds();
};

namespace {

QDir ownDirectory()
{
    return QString::fromStdString(ObjectDirectory::ofThisProgram()->path());
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

const auto usualEnvironment = QProcessEnvironment::systemEnvironment();

/// A copy of the program: another process with a reader of its own.
class Program {
public:
    explicit Program(const QProcessEnvironment &environment = usualEnvironment, const QString &film = "reader_h264.mp4")
    {
        m_process.setProcessEnvironment(environment);
        m_process.start(TAVRIN_READER_PROGRAM, {readerFilm(film), "100", "3", "60", "77"});
        const auto [number, path] = words();
        reader = number.toInt();
        directory = path;
    }
    ~Program() { kill(); }

    void kill()
    {
        m_process.kill();
        m_process.waitForFinished();
    }
    void end()
    {
        m_process.closeWriteChannel();
        m_process.waitForFinished();
    }
    /// The two words of the next line that it prints, empty if it has ended.
    std::pair<QString, QString> words()
    {
        while (!m_process.canReadLine() && m_process.waitForReadyRead(10'000)) {
        }
        const QString line = QString::fromUtf8(m_process.readLine()).trimmed();
        return {line.section(' ', 0, 0), line.section(' ', 1)};
    }

    pid_t reader = -1;
    QString directory;

private:
    QProcess m_process;
};

} // namespace

// Whatever happened, no reader is left, and no name of one.
void ReaderLifeTest::cleanup()
{
    QTRY_VERIFY(ownDirectory().entryList(QDir::Files | QDir::Hidden).isEmpty());
}

void ReaderLifeTest::anEndedReaderLooksDeadAndIsReplaced()
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

void ReaderLifeTest::theReaderGetsNothingButItsChannel()
{
    const int stray = open("/", O_RDONLY); // without the flag that closes it
    const ScriptedClient client;
    close(stray);
    QVERIFY(client.isReady());
    QCOMPARE(getsid(client.process()), client.process());
    QStringList found;
    for (const auto &entry :
         std::filesystem::directory_iterator("/proc/" + std::to_string(client.process()) + "/fd")) {
        const QString target = QString::fromStdString(read_symlink(entry).string());
        if (!target.startsWith(ownDirectory().path()))
            found << target.section(':', 0, 0);
    }
    found.sort();
    QCOMPARE(found, (QStringList{"/dev/null", "/dev/null", "/dev/null", "socket"}));
}

void ReaderLifeTest::whatCannotBeStartedIsTold()
{
    QTemporaryDir folder;
    const QString path = folder.filePath("reader");
    QVERIFY2(!startHiddenProcess(path.toStdString(), "-"), "missing");
    writeFile(path, "#!/bin/sh\n");
    QVERIFY2(!startHiddenProcess(path.toStdString(), "-"), "not executable");
    writeFile(path, "\x7f" "ELF and nothing more");
    QCOMPARE(chmod(qPrintable(path), 0700), 0);
    QVERIFY2(!startHiddenProcess(path.toStdString(), "-"), "no program");
}

void ReaderLifeTest::endedProcessesAreSeenAndCollected()
{
    QElapsedTimer timer;
    timer.start();
    const auto ending = startHiddenProcess("/bin/true", "-", 1min);
    QVERIFY(ending);
    QVERIFY2(timer.elapsed() < 10'000, "an ended process is not waited for");
    QTRY_VERIFY(ending->ended());

    // Nor is one that never tells that it is ready, beyond the bound.
    timer.restart();
    const auto silent = startHiddenProcess("/bin/sleep", "1", 50ms);
    QVERIFY(timer.elapsed() < 900);
    QVERIFY(!silent->ended());
    QTRY_VERIFY(silent->ended());
    QCOMPARE(waitpid(-1, nullptr, WNOHANG), -1);
    QCOMPARE(errno, ECHILD);
}

void ReaderLifeTest::theReaderEndsWithItsProgram()
{
    for (const QString end : {"ends", "is killed", "is killed while the reader is stopped"}) {
        Program program;
        QVERIFY(program.reader > 0);
        QCOMPARE(program.words().first, "100");
        if (end.endsWith("stopped"))
            kill(program.reader, SIGSTOP);
        end == "ends" ? program.end() : program.kill();
        kill(program.reader, SIGCONT);
        QTRY_VERIFY2(!isRunning(program.reader), qPrintable(end));
        QTRY_VERIFY2(!QDir(program.directory).exists(), qPrintable(end));
    }
}

void ReaderLifeTest::programsDoNotDisturbEachOther()
{
    ScriptedClient ours;
    Program one;
    Program other(usualEnvironment, "reader_hevc.mp4");
    QMap<QString, QString> sums[2];
    for (int round = 0; round < 120; ++round) {
        const auto [index, sum] = round % 2 == 0 ? one.words() : other.words();
        QString &before = sums[round % 2][index];
        QVERIFY(!sum.isEmpty() && (before.isEmpty() || before == sum));
        before = sum;
    }
    QCOMPARE(sums[0].size(), 4);
    QVERIFY(sums[0] != sums[1]);
    one.kill();
    QTRY_VERIFY(!isRunning(one.reader));
    QVERIFY(isRunning(other.reader));
    QVERIFY(ours.isReady() && ours.ask("close"));
}

void ReaderLifeTest::whatKilledProgramsLeaveIsRemoved()
{
    const ScriptedClient ours;
    Program program;
    QVERIFY(program.reader > 0);
    // Stopped, the reader cannot clean up when its program is killed.
    kill(program.reader, SIGSTOP);
    program.kill();
    kill(program.reader, SIGKILL);
    QTRY_VERIFY(!isRunning(program.reader));
    QVERIFY(QDir(program.directory).exists());
    const Program next;
    QVERIFY(!QDir(program.directory).exists());
    QVERIFY(QDir(next.directory).exists());
    QVERIFY(ownDirectory().exists());
}

void ReaderLifeTest::foreignDirectoriesAreNotEntered()
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
        return !QDir(trap).isEmpty() || !(program.directory.startsWith("/run/user/") || program.directory == "none");
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

void ReaderLifeTest::aReaderWithoutAProgramEnds()
{
    QProcess reader;
    reader.start(TAVRIN_FRAME_READER, {"TAVRIN"});
    QVERIFY(reader.waitForFinished(5000));
    QVERIFY(reader.exitCode() != 0);
    QCOMPARE(reader.readAllStandardOutput() + reader.readAllStandardError(), QByteArray());
}

QTEST_APPLESS_MAIN(ReaderLifeTest)
#include "reader_life_test.moc"
