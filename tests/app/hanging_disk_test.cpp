#include "films/film_maker.h"
#include "tested_graph.h"

#include "app/main_window.h"
#include "scenes/scene_dialog.h"
#include "scenes/scene_list_window.h"
#include "util/media_time.h"
#include "widgets/open_dialog.h"

#include <QLineEdit>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>

#include <dlfcn.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <string_view>
#include <thread>

// A disk that gives no answer until it is told to. The system's calls below stand before its library's own, for this
// program and every library that it is linked with.

namespace {

enum class Hanging { Nothing, Reads, All };
std::atomic<Hanging> hanging = Hanging::Nothing;
constexpr std::string_view folderName = "hanging_disk";

void hang(std::string_view path, Hanging least)
{
    using namespace std::chrono_literals;
    while (hanging.load() >= least && path.find(folderName) != std::string_view::npos)
        std::this_thread::sleep_for(1ms);
}

template <typename Function>
Function *inLibrary(const char *name)
{
    return reinterpret_cast<Function *>(dlsym(RTLD_NEXT, name));
}

} // namespace

extern "C" ssize_t read(int file, void *bytes, size_t count)
{
    if (hanging.load() != Hanging::Nothing) {
        std::array<char, 4096> path{};
        (void)readlink(("/proc/self/fd/" + std::to_string(file)).c_str(), path.data(), path.size() - 1);
        hang(path.data(), Hanging::Reads);
    }
    static const auto real = inLibrary<decltype(::read)>("read");
    return real(file, bytes, count);
}

extern "C" int statx(int folder, const char *path, int flags, unsigned mask, struct statx *found) noexcept
{
    hang(path, Hanging::All);
    static const auto real = inLibrary<decltype(::statx)>("statx");
    return real(folder, path, flags, mask, found);
}

/// The main window on films of such a disk.
class HangingDiskTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        const QString folder = m_folder.filePath(folderName.data());
        QVERIFY(QDir().mkpath(folder));
        m_film = folder + "/film.avi";
        QVERIFY(QFile::copy(makeFilm(standardFilm("mpeg4.avi")), m_film));
        setOpenDialogAnswer([this] { return std::optional(m_film); });
    }

    void init()
    {
        m_window = std::make_unique<TForm1>(makeTestedGraphSystem);
        Form2 = new TForm2(m_window.get(), {});
        Form3 = new TForm3(m_window.get());
        m_window->show();
        QVERIFY(QTest::qWaitForWindowActive(m_window.get()));
    }

    void cleanup() { m_window.reset(); }

    void theWindowOnlyPaintsItselfUntilTheDiskAnswers_data()
    {
        QTest::addColumn<bool>("isOpen");
        QTest::addColumn<Hanging>("kind");
        QTest::newRow("opening, the names hang") << false << Hanging::All;
        QTest::newRow("opening, the film hangs") << false << Hanging::Reads;
        QTest::newRow("a film that is open") << true << Hanging::Reads;
    }

    void theWindowOnlyPaintsItselfUntilTheDiskAnswers()
    {
        bool tookInput = false;
        bool ticked = false;
        command([&] {
            QTest::keyClick(m_window.get(), Qt::Key_F, Qt::ControlModifier);
            tookInput = Form3->isVisible() && qobject_cast<QLineEdit *>(QApplication::focusWidget());
            const bool closed = Form3->isVisible() && Form3->close();
            tookInput = tookInput || closed;
            connect(m_window->Timer1, &QTimer::timeout, this, [&] { ticked = ticked || hanging != Hanging::Nothing; });
            m_window->update();
        });
        QVERIFY2(m_painted, "the window was not painted");
        QVERIFY(!tookInput && !ticked);
        QVERIFY(OPENED);
        QTRY_VERIFY(IsSettled());
        QFETCH(bool, isOpen);
        const int last = 419;
        QVERIFY(!isOpen || frameNumber(GetPosition(), fps) == last);
    }

    void theProgramEndsWhileTheDiskHangs_data() { theWindowOnlyPaintsItselfUntilTheDiskAnswers_data(); }

    void theProgramEndsWhileTheDiskHangs()
    {
        const char *child = "TAVRIN_CHILD";
        if (qEnvironmentVariableIsSet(child)) {
            command([this] { m_window->close(); });
            return;
        }
        QProcess program;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(child, "");
        environment.insert("TMPDIR", m_folder.path()); // it leaves its own there
        program.setProcessEnvironment(environment);
        program.start(QCoreApplication::applicationFilePath(),
                      {QString(QTest::currentTestFunction()) + ':' + QTest::currentDataTag()});
        QVERIFY(program.waitForFinished());
        // The process ends in the midst of the test.
        QCOMPARE(program.exitCode(), 0);
        QVERIFY(!program.readAllStandardOutput().contains("Totals"));
    }

private:
    /// Gives the row's command, which asks the disk; `meanwhile` happens within it. The disk answers as soon as the
    /// window has been painted after that, or after a long time.
    void command(const std::function<void()> &meanwhile)
    {
        QFETCH(bool, isOpen);
        QFETCH(Hanging, kind);
        if (isOpen) {
            m_window->N3Click();
            Pause();
            QTRY_VERIFY(IsSettled());
        }
        m_tried = m_painted = false;
        qApp->installEventFilter(this);
        hanging = kind;
        const std::jthread outside([&] {
            using namespace std::chrono_literals;
            QMetaObject::invokeMethod(
                m_window.get(),
                [&] {
                    m_tried = true;
                    meanwhile();
                },
                Qt::QueuedConnection);
            constexpr auto patience = 10s;
            for (auto waited = 0ms; !m_painted && waited < patience; waited += 10ms)
                std::this_thread::sleep_for(10ms);
            hanging = Hanging::Nothing;
        });
        if (isOpen)
            m_window->BitBtn8Click();
        else
            m_window->N3Click();
    }

    bool eventFilter(QObject *watched, QEvent *event) override
    {
        m_painted = m_painted || (m_tried && event->type() == QEvent::Paint && watched == m_window.get());
        return false;
    }

    QTemporaryDir m_folder;
    QString m_film;
    std::unique_ptr<TForm1> m_window;
    bool m_tried = false;
    std::atomic_bool m_painted = false; ///< since then
};

QTEST_MAIN(HangingDiskTest)
#include "hanging_disk_test.moc"
