#include "platform/posix/object_directory.h"
#include "platform/process.h"
#include "platform/shared_objects.h"

#include "failing_system.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>

#include <csignal>
#include <cstring>

class HiddenProcessTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void aKilledHolderLooksDeadAndIsReplaced();
    void theProcessGetsNothingButItsChannel();
    void whatCannotBeStartedIsTold_data();
    void whatCannotBeStartedIsTold();
    void endedProcessesAreSeenAndCollected();
    void aProcessEndsWithItsStarter_data();
    void aProcessEndsWithItsStarter();
    void copiesOfTheProgramDoNotMeet();
    void whatKilledProgramsLeaveIsRemoved();
    void foreignDirectoriesAreNotEntered();
};

namespace {

const std::string peer = TAVRIN_PLATFORM_PEER;
constexpr std::size_t blockSize = 100;

pid_t holder()
{
    const auto block = SharedMemory::open("block", blockSize);
    return block ? std::atoi(reinterpret_cast<const char *>(block->data())) : -1;
}

// An orphan that has ended may wait long for the system to collect it.
bool isRunning(pid_t process)
{
    QFile status(QString("/proc/%1/stat").arg(process));
    return status.open(QIODevice::ReadOnly) && !status.readAll().contains(") Z ");
}

/// A copy of the program: another process that starts a hidden process of its own.
class Program {
public:
    explicit Program(const QString &file = "-", const QProcessEnvironment &environment
                                                = QProcessEnvironment::systemEnvironment())
    {
        m_process.setProcessEnvironment(environment);
        m_process.start(QString::fromStdString(peer), {"program", QString::fromStdString(peer), file});
        directory = line();
        objects = line();
        const QStringList blocks = QDir(directory).entryList({"block*"}, QDir::Files);
        QFile block(directory + '/' + blocks.value(0));
        hiddenProcess = block.open(QIODevice::ReadOnly) ? std::atoi(block.readAll().constData()) : -1;
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

    QString directory;
    QString objects;
    pid_t hiddenProcess = -1;

private:
    QString line()
    {
        while (!m_process.canReadLine() && m_process.waitForReadyRead(5000)) {
        }
        return QString::fromUtf8(m_process.readLine()).trimmed();
    }
    QProcess m_process;
};

} // namespace

void HiddenProcessTest::aKilledHolderLooksDeadAndIsReplaced()
{
    QVERIFY(!LivenessMutex::exists("life"));
    const auto first = startHiddenProcess(peer, "-");
    QVERIFY(first);
    QVERIFY(LivenessMutex::exists("life"));
    const pid_t firstHolder = holder();
    QVERIFY(firstHolder > 0);
    QVERIFY(!first->ended());

    kill(firstHolder, SIGKILL);
    QTRY_VERIFY(first->ended());
    QVERIFY(!LivenessMutex::exists("life"));

    const auto second = startHiddenProcess(peer, "-");
    QVERIFY(LivenessMutex::exists("life"));
    QVERIFY(holder() != firstHolder);
    // While one lives, another gets no mutex of that name.
    const auto third = startHiddenProcess(peer, "-");
    QVERIFY(third);
    QTRY_VERIFY(third->ended());
    QVERIFY(!second->ended());
}

void HiddenProcessTest::theProcessGetsNothingButItsChannel()
{
    const int stray = open("/dev/null", O_RDONLY); // without the flag that closes it
    QTemporaryDir folder;
    const QString file = folder.filePath(QString::fromUtf8("что нашлось"));
    const auto started = startHiddenProcess(peer, file.toStdString());
    close(stray);
    QFile found(file);
    QVERIFY(found.open(QIODevice::ReadOnly));
    QCOMPARE(QString::fromUtf8(found.readAll()), QString("descriptors 0 1 2 3 \nleader 1\n"));
}

void HiddenProcessTest::whatCannotBeStartedIsTold_data()
{
    QTest::addColumn<int>("mode");
    QTest::addColumn<QByteArray>("content");
    QTest::newRow("missing") << -1 << QByteArray();
    QTest::newRow("not executable") << 0600 << QByteArray("#!/bin/sh\n");
    QTest::newRow("no program") << 0700 << QByteArray("\x7f" "ELF and nothing more");
}

void HiddenProcessTest::whatCannotBeStartedIsTold()
{
    QFETCH(int, mode);
    QFETCH(QByteArray, content);
    QTemporaryDir folder;
    const QString path = folder.filePath("reader");
    if (mode >= 0) {
        QFile file(path);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(content);
        file.close();
        QVERIFY(chmod(qPrintable(path), static_cast<mode_t>(mode)) == 0);
    }
    QVERIFY(!startHiddenProcess(path.toStdString(), "-"));
}

void HiddenProcessTest::endedProcessesAreSeenAndCollected()
{
    QElapsedTimer timer;
    timer.start();
    const auto ending = startHiddenProcess("/bin/true", "-", std::chrono::minutes(1));
    QVERIFY(ending);
    QVERIFY2(timer.elapsed() < 10'000, "an ended process is not waited for");
    QTRY_VERIFY(ending->ended());

    // Nor is one that never tells that it is ready, beyond the bound.
    timer.restart();
    const auto silent = startHiddenProcess("/bin/sleep", "1", std::chrono::milliseconds(50));
    QVERIFY(timer.elapsed() < 900);
    QVERIFY(!silent->ended());
    QTRY_VERIFY(silent->ended());
    QCOMPARE(waitpid(-1, nullptr, WNOHANG), -1);
    QCOMPARE(errno, ECHILD);
}

void HiddenProcessTest::aProcessEndsWithItsStarter_data()
{
    QTest::addColumn<bool>("killed");
    QTest::newRow("that ends") << false;
    QTest::newRow("that is killed") << true;
}

void HiddenProcessTest::aProcessEndsWithItsStarter()
{
    QFETCH(bool, killed);
    Program program;
    QCOMPARE(program.objects, QString("present"));
    QVERIFY(program.hiddenProcess > 0);
    killed ? program.kill() : program.end();
    QTRY_VERIFY(!isRunning(program.hiddenProcess));
    QTRY_VERIFY(!QDir(program.directory).exists());
}

void HiddenProcessTest::copiesOfTheProgramDoNotMeet()
{
    const auto ours = startHiddenProcess(peer, "-");
    Program other;
    QCOMPARE(other.objects, QString("present"));
    QVERIFY(holder() > 0);
    QVERIFY(other.hiddenProcess > 0);
    QVERIFY(other.hiddenProcess != holder());
    other.kill();
    QTRY_VERIFY(!isRunning(other.hiddenProcess));
    QVERIFY(LivenessMutex::exists("life"));
    QVERIFY(!ours->ended());
}

void HiddenProcessTest::whatKilledProgramsLeaveIsRemoved()
{
    QString left;
    {
        Program program;
        // Stopped, the hidden process cannot clean up when its program is killed.
        kill(program.hiddenProcess, SIGSTOP);
        program.kill();
        kill(program.hiddenProcess, SIGKILL);
        QTRY_VERIFY(!isRunning(program.hiddenProcess));
        left = program.directory;
    }
    QVERIFY(QDir(left).exists());
    const Program next;
    QVERIFY(!QDir(left).exists());
    QVERIFY(QDir(next.directory).exists());
    QVERIFY(QDir(QString::fromStdString(ObjectDirectory::ofThisProgram()->path())).exists());
}

void HiddenProcessTest::foreignDirectoriesAreNotEntered()
{
    QTemporaryDir folder;
    const QString runtime = folder.filePath("runtime");
    const QString trap = folder.filePath("trap");
    QVERIFY(QDir().mkdir(runtime) && QDir().mkdir(trap));
    chmod(qPrintable(runtime), 0700);
    QVERIFY(QFile::link(trap, runtime + "/tavrin"));
    QVERIFY(QFile::link(trap, folder.filePath(QString("tavrin-%1").arg(geteuid()))));
    auto environment = QProcessEnvironment::systemEnvironment();
    environment.insert("XDG_RUNTIME_DIR", runtime);
    environment.insert("TMPDIR", folder.path());
    const auto nothingFound = [&] {
        const Program program("-", environment);
        const bool elsewhere = program.directory.startsWith("/run/user/");
        return QDir(trap).isEmpty() && (elsewhere || program.directory == "none");
    };
    QVERIFY2(nothingFound(), "a link");

    // Directories that others can enter.
    QVERIFY(QFile::remove(runtime + "/tavrin"));
    QVERIFY(QFile::remove(folder.filePath(QString("tavrin-%1").arg(geteuid()))));
    for (const QString &path : {runtime + "/tavrin", folder.filePath(QString("tavrin-%1").arg(geteuid()))}) {
        QVERIFY(QDir().mkdir(path));
        chmod(qPrintable(path), 0755);
    }
    QVERIFY2(nothingFound(), "a public directory");

    // A runtime directory that others can write to is passed over for the temporary one.
    chmod(qPrintable(runtime + "/tavrin"), 0700);
    chmod(qPrintable(runtime), 0777);
    QVERIFY2(nothingFound(), "a public runtime directory");
    chmod(qPrintable(runtime), 0700);
    const Program program("-", environment);
    QVERIFY(program.directory.startsWith(runtime + "/tavrin/"));
    QCOMPARE(program.objects, QString("present"));
}

QTEST_APPLESS_MAIN(HiddenProcessTest)
#include "hidden_process_test.moc"
