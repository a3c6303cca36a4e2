#include "help/help_commands.h"

#include "platform/shell_open.h"
#include "util/application_folder.h"

#include <QElapsedTimer>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>
#include <QUrl>

class HelpCommandsTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void cleanup() { setShellOpenAnswer({}); }
    void theHelpFileLiesBesideTheProgram();
    void webPagesBelongToNobody();
    void theDesktopGetsTheExactPath();
    void nobodyWaitsForTheDesktop_data();
    void nobodyWaitsForTheDesktop();
};

namespace {

/// A folder with a command `xdg-open` in it, or without, that is the only place where commands are looked for.
class Desktop {
public:
    explicit Desktop(const QByteArray &script)
    {
        if (!script.isEmpty()) {
            QFile handler(folder.filePath(QStringLiteral("xdg-open")));
            if (handler.open(QIODevice::WriteOnly)) {
                handler.write(script);
                handler.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
            }
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

void HelpCommandsTest::theHelpFileLiesBesideTheProgram()
{
    QStringList opened;
    setShellOpenAnswer([&](const QString &address) { opened += address; });
    CurPath = QStringLiteral("/opt/Таврин 1");
    openHelpFile();
    QCOMPARE(opened, QStringList{QStringLiteral("/opt/Таврин 1/Tavrin.chm")});
}

void HelpCommandsTest::webPagesBelongToNobody()
{
    QStringList opened;
    setShellOpenAnswer([&](const QString &address) { opened += address; });
    openOnlineHelp();
    openProductPage();
    QCOMPARE(opened.size(), 2);
    QCOMPARE(opened.at(1), productPageAddress());
    QVERIFY(opened.at(0) != opened.at(1));
    for (const QString &address : opened) {
        const QUrl url(address, QUrl::StrictMode);
        QVERIFY2(url.isValid() && url.scheme() == QLatin1String("https"), qPrintable(address));
    }
}

void HelpCommandsTest::theDesktopGetsTheExactPath()
{
    const Desktop desktop("#!/bin/sh\nprintf '%s|' \"$@\" > \"${0%/*}/part\"\n/bin/mv \"${0%/*}/part\" \"${0%/*}/asked\"\n");
    CurPath = QStringLiteral("/opt/$(id) \"Ларец\" %20");
    openHelpFile();
    QFile asked(desktop.folder.filePath(QStringLiteral("asked")));
    QTRY_VERIFY(asked.exists());
    QVERIFY(asked.open(QIODevice::ReadOnly));
    QCOMPARE(QString::fromUtf8(asked.readAll()), CurPath + QStringLiteral("/Tavrin.chm|"));
}

void HelpCommandsTest::nobodyWaitsForTheDesktop_data()
{
    QTest::addColumn<QByteArray>("script");
    QTest::newRow("no desktop at all") << QByteArray();
    QTest::newRow("no viewer for the file") << QByteArray("#!/bin/sh\nexit 3\n");
    QTest::newRow("a viewer that stays open") << QByteArray("#!/bin/sh\nexec /bin/sleep 3\n");
    QTest::newRow("a handler that cannot start") << QByteArray("#!/nowhere/at/all\n");
}

void HelpCommandsTest::nobodyWaitsForTheDesktop()
{
    QFETCH(QByteArray, script);
    const Desktop desktop(script);
    CurPath = desktop.folder.path();
    QElapsedTimer timer;
    timer.start();
    openHelpFile();
    openOnlineHelp();
    QVERIFY2(timer.elapsed() < 1000, qPrintable(QString::number(timer.elapsed())));
}

QTEST_MAIN(HelpCommandsTest)
#include "help_commands_test.moc"
