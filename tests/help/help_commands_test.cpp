#include "help/help_commands.h"

#include "util/application_folder.h"

#include <QElapsedTimer>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

class HelpCommandsTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void theDesktopGetsTheExactPath();
    void nobodyWaitsForTheDesktop();
};

namespace {

/// A folder with a command `xdg-open` in it, or without, that is the only place where commands are looked for.
class Desktop {
public:
    explicit Desktop(const QByteArray &script)
    {
        QFile handler(folder.filePath(QStringLiteral("xdg-open")));
        if (!script.isEmpty() && handler.open(QIODevice::WriteOnly)) {
            handler.write(script);
            handler.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        }
        qputenv("PATH", folder.path().toUtf8());
    }
    ~Desktop() { qputenv("PATH", path); }
    Q_DISABLE_COPY_MOVE(Desktop)

    QTemporaryDir folder;

private:
    QByteArray path = qgetenv("PATH");
};

} // namespace

void HelpCommandsTest::theDesktopGetsTheExactPath()
{
    const Desktop desktop("#!/bin/sh\nprintf '%s|' \"$@\" > \"$0.part\"\n/bin/mv \"$0.part\" \"$0.asked\"\n");
    CurPath = QStringLiteral("/opt/$(id) \"Ларец\" %20");
    openHelpFile();
    QFile asked(desktop.folder.filePath(QStringLiteral("xdg-open.asked")));
    QTRY_VERIFY(asked.exists());
    QVERIFY(asked.open(QIODevice::ReadOnly));
    QCOMPARE(QString::fromUtf8(asked.readAll()), CurPath + QStringLiteral("/Tavrin.chm|"));
}

void HelpCommandsTest::nobodyWaitsForTheDesktop()
{
    // No desktop at all, no viewer for the file, a viewer that stays open, a handler that cannot start.
    for (const char *script : {"", "#!/bin/sh\nexit 3\n", "#!/bin/sh\nexec /bin/sleep 3\n", "#!/nowhere/at/all\n"}) {
        const Desktop desktop(script);
        CurPath = desktop.folder.path();
        QElapsedTimer timer;
        timer.start();
        openHelpFile();
        openOnlineHelp();
        QVERIFY2(timer.elapsed() < 1000, script);
    }
}

QTEST_MAIN(HelpCommandsTest)
#include "help_commands_test.moc"
