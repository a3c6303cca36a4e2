#include <QDir>
#include <QFile>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

/// The compiled help, taken apart by the library that readers of such files on Linux are built on.
class HelpFileTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void everyPageIsWhole();
    void contentsAndIndexAreReadableRussian();
    void readersAreToldTheLanguageAndTheFirstPage();

private:
    [[nodiscard]] QByteArray extracted(const QString &name) const;
    /// The file as readers take it, in windows-1251.
    [[nodiscard]] QString decoded(const QString &name) const;

    QTemporaryDir m_folder;
    QDir m_source{QStringLiteral(HELP_FOLDER)};
};

namespace {

QByteArray contentOf(const QString &fileName)
{
    QFile file(fileName);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("(unreadable)");
}

} // namespace

void HelpFileTest::initTestCase()
{
    QCOMPARE(QProcess::execute(QStringLiteral("extract_chmLib"), {QStringLiteral(HELP_FILE), m_folder.path()}), 0);
}

QByteArray HelpFileTest::extracted(const QString &name) const
{
    return contentOf(m_folder.filePath(name));
}

QString HelpFileTest::decoded(const QString &name) const
{
    QProcess iconv;
    iconv.start(QStringLiteral("iconv"), {"-f", "WINDOWS-1251", "-t", "UTF-8", m_folder.filePath(name)});
    return iconv.waitForFinished() && iconv.exitCode() == 0 ? QString::fromUtf8(iconv.readAllStandardOutput()) : QString();
}

void HelpFileTest::everyPageIsWhole()
{
    const QDir online(QStringLiteral(ONLINE_HELP_FOLDER));
    const QRegularExpression addedAnchor(QStringLiteral("<a name=\"[^\"]*\" id=\"anchor-[^\"]*\"></a>"));
    const QStringList pages = m_source.entryList({QStringLiteral("*.html")});
    QVERIFY(pages.size() > 10);
    for (const QString &name : pages) {
        const QByteArray source = contentOf(m_source.filePath(name));
        QString page = decoded(name).remove(addedAnchor);
        QVERIFY2(page.contains(QStringLiteral("charset=windows-1251")), qPrintable(name));
        page.replace(QStringLiteral("charset=windows-1251"), QStringLiteral("charset=utf-8"));
        QVERIFY2(page == QString::fromUtf8(source), qPrintable(name));
        QVERIFY2(contentOf(online.filePath(name)) == source, qPrintable(name));
    }
    const QByteArray sheet = contentOf(m_source.filePath(QStringLiteral("help.css")));
    QCOMPARE(extracted(QStringLiteral("help.css")), sheet);
    QCOMPARE(contentOf(online.filePath(QStringLiteral("help.css"))), sheet);
    const QDir pictures(m_source.filePath(QStringLiteral("pictures")));
    for (const QString &name : pictures.entryList({QStringLiteral("*.png")}))
        QCOMPARE(extracted(name), contentOf(pictures.filePath(name)));
}

void HelpFileTest::contentsAndIndexAreReadableRussian()
{
    const QString contents = decoded(QStringLiteral("help.hhc"));
    QVERIFY(contents.contains(QStringLiteral("value=\"Окно «Параметры сцены»\"><param name=\"Local\" "
                                             "value=\"scene-dialog.html\">")));
    QCOMPARE(contents.count(QStringLiteral("<UL>")), contents.count(QStringLiteral("</UL>")));
    const QString index = decoded(QStringLiteral("help.hhk"));
    QVERIFY(index.contains(QStringLiteral("value=\"долгота\"><param name=\"Local\" value=\"map.html\">")));
    QVERIFY(index.contains(QStringLiteral("знаки «&amp;» и «&lt;»")));
}

void HelpFileTest::readersAreToldTheLanguageAndTheFirstPage()
{
    // An entry is a 16-bit code, a 16-bit length and that many bytes.
    const QByteArray system = extracted(QStringLiteral("#SYSTEM"));
    QVERIFY(system.contains(QByteArray("\0\0\11\0help.hhc\0", 13)));
    QVERIFY(system.contains(QByteArray("\1\0\11\0help.hhk\0", 13)));
    QVERIFY(system.contains(QByteArray("\2\0\13\0index.html\0", 15)));
    QVERIFY(system.contains(QByteArray("\4\0\44\0\x19\4\0\0", 8))); // Russian
    QVERIFY(decoded(QStringLiteral("#SYSTEM")).contains(QStringLiteral("Таврин: справка")));
}

QTEST_GUILESS_MAIN(HelpFileTest)
#include "help_file_test.moc"
