#include <QDir>
#include <QFile>
#include <QFileInfo>
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
    void theHelpForTheWebIsTheSourceItself();

private:
    [[nodiscard]] QByteArray extracted(const QString &name) const;
    /// windows-1251, as readers take it, into text.
    static QString decoded(const QByteArray &bytes);

    QTemporaryDir m_folder;
    QDir m_source{QStringLiteral(HELP_FOLDER)};
};

namespace {

QByteArray contentOf(const QString &fileName)
{
    QFile file(fileName);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("(unreadable)");
}

QByteArray ranThrough(const QString &program, const QStringList &arguments, const QByteArray &input)
{
    QProcess process;
    process.start(program, arguments);
    process.write(input);
    process.closeWriteChannel();
    return process.waitForFinished() && process.exitCode() == 0 ? process.readAllStandardOutput() : QByteArray();
}

} // namespace

void HelpFileTest::initTestCase()
{
    QVERIFY(QFileInfo(QStringLiteral(HELP_FILE)).size() > 10000);
    QCOMPARE(QProcess::execute(QStringLiteral("extract_chmLib"), {QStringLiteral(HELP_FILE), m_folder.path()}), 0);
}

QByteArray HelpFileTest::extracted(const QString &name) const
{
    return contentOf(m_folder.filePath(name));
}

QString HelpFileTest::decoded(const QByteArray &bytes)
{
    return QString::fromUtf8(ranThrough(QStringLiteral("iconv"),
                                        {QStringLiteral("-f"), QStringLiteral("WINDOWS-1251"), QStringLiteral("-t"),
                                         QStringLiteral("UTF-8")},
                                        bytes));
}

void HelpFileTest::everyPageIsWhole()
{
    const QRegularExpression addedAnchor(QStringLiteral("<a name=\"[^\"]*\" id=\"anchor-[^\"]*\"></a>"));
    const QStringList pages = m_source.entryList({QStringLiteral("*.html")});
    QVERIFY(pages.size() > 10);
    for (const QString &name : pages) {
        QString page = decoded(extracted(name));
        QVERIFY2(page.contains(QStringLiteral("charset=windows-1251")), qPrintable(name));
        page.replace(QStringLiteral("charset=windows-1251"), QStringLiteral("charset=utf-8"));
        page.remove(addedAnchor);
        QVERIFY2(page == QString::fromUtf8(contentOf(m_source.filePath(name))), qPrintable(name));
    }
    QCOMPARE(extracted(QStringLiteral("help.css")), contentOf(m_source.filePath(QStringLiteral("help.css"))));
    const QDir pictures(m_source.filePath(QStringLiteral("pictures")));
    for (const QString &name : pictures.entryList({QStringLiteral("*.png")}))
        QCOMPARE(extracted(name), contentOf(pictures.filePath(name)));
}

void HelpFileTest::contentsAndIndexAreReadableRussian()
{
    const QString contents = decoded(extracted(QStringLiteral("help.hhc")));
    QVERIFY(contents.contains(QStringLiteral("value=\"Окно «Параметры сцены»\"><param name=\"Local\" "
                                             "value=\"scene-dialog.html\">")));
    QCOMPARE(contents.count(QStringLiteral("<UL>")), contents.count(QStringLiteral("</UL>")));
    const QString index = decoded(extracted(QStringLiteral("help.hhk")));
    QVERIFY(index.contains(QStringLiteral("value=\"долгота\"><param name=\"Local\" value=\"map.html\">")));
    QVERIFY(index.contains(QStringLiteral("знаки «&amp;» и «&lt;»")));
}

void HelpFileTest::readersAreToldTheLanguageAndTheFirstPage()
{
    const QByteArray system = extracted(QStringLiteral("#SYSTEM"));
    // An entry is a 16-bit code, a 16-bit length and that many bytes; the file starts with its version.
    QMap<int, QByteArray> entries;
    const auto number = [&](qsizetype at) {
        return static_cast<unsigned char>(system.at(at)) | static_cast<unsigned char>(system.at(at + 1)) << 8;
    };
    for (qsizetype at = 4; at + 4 <= system.size();) {
        const int length = number(at + 2);
        entries.insert(number(at), system.mid(at + 4, length));
        at += 4 + length;
    }
    QCOMPARE(entries.value(0), QByteArray("help.hhc\0", 9));
    QCOMPARE(entries.value(1), QByteArray("help.hhk\0", 9));
    QCOMPARE(entries.value(2), QByteArray("index.html\0", 11));
    QCOMPARE(decoded(entries.value(3).chopped(1)), QStringLiteral("Таврин: справка"));
    QCOMPARE(entries.value(4).left(2), QByteArray::fromHex("1904")); // Russian
}

void HelpFileTest::theHelpForTheWebIsTheSourceItself()
{
    const QDir online(QStringLiteral(ONLINE_HELP_FOLDER));
    for (const QString &name : m_source.entryList({QStringLiteral("*.html"), QStringLiteral("*.css")}))
        QVERIFY2(contentOf(online.filePath(name)) == contentOf(m_source.filePath(name)), qPrintable(name));
}

QTEST_GUILESS_MAIN(HelpFileTest)
#include "help_file_test.moc"
