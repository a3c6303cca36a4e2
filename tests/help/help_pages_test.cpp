#include "fake_graph.h"

#include "app/main_window.h"
#include "export/image_files.h"
#include "export/scene_table.h"
#include "export/sql_connection.h"
#include "scenes/scene.h"
#include "scenes/scenes_binding.h"
#include "scenes/type_list.h"

#include <QDir>
#include <QDirIterator>
#include <QDomDocument>
#include <QFile>
#include <QMenu>
#include <QMenuBar>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

#include <map>

namespace {

QByteArray contentOf(const QString &fileName)
{
    QFile file(fileName);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("(unreadable)");
}

/// The texts of the elements of one kind.
QStringList textsOf(const QDomDocument &page, const char *tag)
{
    QStringList texts;
    const QDomNodeList found = page.elementsByTagName(tag);
    for (int i = 0; i < found.size(); ++i)
        texts += found.at(i).toElement().text();
    return texts;
}

} // namespace

class HelpPagesTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void noLinkLeadsNowhere();
    void everyPageIsInTheContents();
    void everyTermOfTheIndexLeadsSomewhere();
    void everyCommandIsTold();
    void everyMessageIsExplained();
    void everyQueryRuns();
    void theExamplesOfFilesCanBeRead();
    void everyPageIsInTheCompiledHelpAndOnline();
    void contentsAndIndexAreReadableRussian();
    void readersAreToldTheLanguageAndTheFirstPage();

private:
    [[nodiscard]] bool leadsSomewhere(const QString &from, const QString &link) const;
    /// The lines of a source of the help that is no page.
    [[nodiscard]] QStringList linesOfFile(const char *name) const;
    [[nodiscard]] QByteArray extracted(const QString &name) const;
    /// The file as readers of the compiled help take it, in windows-1251.
    [[nodiscard]] QString decoded(const QString &name) const;

    QDir m_folder{QStringLiteral(HELP_FOLDER)};
    /// By file name. Where a line is broken by hand there is a bar.
    std::map<QString, QDomDocument> m_pages;
    /// The compiled help, taken apart by the library that readers of such files on Linux are built on.
    QTemporaryDir m_compiled;
};

void HelpPagesTest::initTestCase()
{
    for (const QString &name : m_folder.entryList({QStringLiteral("*.html")})) {
        QDomDocument &page = m_pages[name];
        QVERIFY2(page.setContent(contentOf(m_folder.filePath(name)).replace("<br />", "|")), qPrintable(name));
        for (const char *tag : {"title", "h1"})
            QVERIFY2(!textsOf(page, tag).value(0).isEmpty(), qPrintable(name));
    }
    QVERIFY(m_pages.size() > 10);
    QCOMPARE(QProcess::execute(QStringLiteral("extract_chmLib"), {QStringLiteral(HELP_FILE), m_compiled.path()}), 0);
}

QStringList HelpPagesTest::linesOfFile(const char *name) const
{
    return QString::fromUtf8(contentOf(m_folder.filePath(name))).split('\n', Qt::SkipEmptyParts);
}

QByteArray HelpPagesTest::extracted(const QString &name) const
{
    return contentOf(m_compiled.filePath(name));
}

QString HelpPagesTest::decoded(const QString &name) const
{
    QProcess iconv;
    iconv.start(QStringLiteral("iconv"), {"-f", "WINDOWS-1251", "-t", "UTF-8", m_compiled.filePath(name)});
    iconv.waitForFinished();
    return iconv.exitCode() == 0 ? QString::fromUtf8(iconv.readAllStandardOutput()) : QString();
}

bool HelpPagesTest::leadsSomewhere(const QString &from, const QString &link) const
{
    const QString name = link.section('#', 0, 0);
    const QString place = link.section('#', 1);
    const auto page = m_pages.find(name.isEmpty() ? from : name);
    return page != m_pages.end() &&
           (place.isEmpty() || page->second.toString().contains(QStringLiteral(" id=\"%1\"").arg(place)));
}

void HelpPagesTest::noLinkLeadsNowhere()
{
    static const QRegularExpression link(QStringLiteral(R"re(<(a|img) [^>]*(?:href|src)="([^"]*)")re"));
    for (const auto &[name, page] : m_pages) {
        auto found = link.globalMatch(page.toString());
        QVERIFY2(found.hasNext(), qPrintable(name));
        while (found.hasNext()) {
            const QStringList texts = found.next().capturedTexts();
            QVERIFY2(texts[1] == "a" ? leadsSomewhere(name, texts[2]) : m_folder.exists("pictures/" + texts[2]),
                     qPrintable(name + QStringLiteral(": ") + texts[0]));
        }
    }
}

void HelpPagesTest::everyPageIsInTheContents()
{
    QStringList pages;
    for (const QString &line : linesOfFile("contents.txt")) {
        if (line.endsWith(QLatin1String(".html")))
            pages += line.trimmed();
    }
    pages.sort();
    QCOMPARE(pages, m_folder.entryList({"*.html"}, QDir::Files, QDir::Name));
    const QString start = m_pages.at(QStringLiteral("index.html")).toString();
    for (const QString &page : pages)
        QVERIFY2(page == "index.html" || start.contains(QStringLiteral("href=\"%1\"").arg(page)), qPrintable(page));
}

void HelpPagesTest::everyTermOfTheIndexLeadsSomewhere()
{
    QStringList terms;
    for (const QString &line : linesOfFile("index.txt")) {
        const QStringList parts = line.split('\t');
        QCOMPARE(parts.size(), 2);
        QVERIFY2(leadsSomewhere({}, parts.at(1)), qPrintable(line));
        terms += parts.at(0);
    }
    QCOMPARE(terms.removeDuplicates(), 0);
    QVERIFY(terms.size() > 30);
}

void HelpPagesTest::everyCommandIsTold()
{
    QStringList commands;
    TForm1 window([](QWidget *) -> std::unique_ptr<GraphSystem> { return std::make_unique<FakeGraphSystem>(); });
    for (const QAction *menu : window.menuBar()->actions()) {
        for (const QAction *command : menu->menu()->actions()) {
            if (!command->isSeparator())
                commands += command->text() + '|' + command->shortcut().toString(QKeySequence::PortableText);
        }
    }
    QStringList told;
    const QDomNodeList rows = m_pages.at("commands.html").elementsByTagName("tr");
    for (int row = 0; row < rows.size(); ++row) {
        const QDomNodeList cells = rows.at(row).toElement().elementsByTagName("td");
        if (cells.size() == 3)
            told += cells.at(0).toElement().text() + '|' + cells.at(1).toElement().text();
    }
    QCOMPARE(told, commands);
}

void HelpPagesTest::everyMessageIsExplained()
{
    QStringList explained;
    for (const QString &term : textsOf(m_pages.at("messages.html"), "dt"))
        explained += term.simplified().split('|');

    // What the sources throw or show, up to the first thing that is filled in.
    static const QRegularExpression message(QStringLiteral(
        R"re((?:UserError|PartlyReadError|[sS]howMessage|showError|obtain)\([^";]*"([^"]*)")re"));
    static const QRegularExpression rest(QStringLiteral(R"re(:?\s*(?:«?%\d|\\n).*$|\s+$)re"));
    // Two that become a part of another message, and two that only a fault of the program itself could show.
    const QStringList partsOfMessages{"элемент", "Не удалось открыть базу данных", "База данных не открыта",
                                      "У запроса нет параметра"};
    int messages = 0;
    QDirIterator sources(SOURCE_FOLDER, {"*.cpp"}, QDir::Files, QDirIterator::Subdirectories);
    while (sources.hasNext()) {
        const QString source = sources.next();
        auto found = message.globalMatch(QString::fromUtf8(contentOf(source)));
        while (found.hasNext()) {
            const QString text = found.next().captured(1);
            const QString start = QString(text).remove(rest);
            if (partsOfMessages.contains(start))
                continue;
            ++messages;
            const bool told = std::any_of(explained.cbegin(), explained.cend(), [&](const QString &term) {
                return term.startsWith(start);
            });
            QVERIFY2(told, qPrintable(source + QStringLiteral(": ") + text));
        }
    }
    QVERIFY2(messages > 30, qPrintable(QString::number(messages)));
}

void HelpPagesTest::everyQueryRuns()
{
    const QStringList queries = textsOf(m_pages.at("queries.html"), "pre");
    QVERIFY(queries.size() > 5);
    // Two scenes of a film are exported, with their GIFs, as the program does it.
    const QTemporaryDir folder;
    const QString film = folder.filePath(QStringLiteral("film.mp4"));
    QVERIFY(QDir().mkdir(imagesFolderOf(film)));
    GridCells list(sceneColumnCount);
    for (const Scene &scene : {Scene{"83.4", "12.5", "Диалог", "Спор", "", "Разговор на крыше", "Анна, Пётр", "Крыша",
                                     "лето", "", "55.7", "37.6"},
                               Scene{"1490", "60", "Погоня", "", "", "У реки", "Пётр", "Берег", "осень", "", "", ""}}) {
        setScene(list, rowForNewScene(list), scene);
        QFile image(gifFileOf(film, scene.position, scene.length));
        QVERIFY(image.open(QIODevice::WriteOnly));
        image.write("GIF89a");
    }
    TSQLConnection connection;
    connection.Params[QStringLiteral("Database")] = databaseFileOf(film);
    connection.Params[QStringLiteral("FailIfMissing")] = QStringLiteral("False");
    connection.Open();
    TSQLQuery table(connection);
    createSceneTable(table);
    insertScenes(table, list, film);
    for (const QString &query : queries) {
        QProcess sqlite;
        sqlite.setWorkingDirectory(folder.path());
        sqlite.start(QStringLiteral("sqlite3"), {databaseFileOf(film), query});
        QVERIFY2(sqlite.waitForFinished(), qPrintable(sqlite.errorString()));
        // Each of them finds something in these scenes.
        QVERIFY2(sqlite.exitCode() == 0 && !sqlite.readAllStandardOutput().trimmed().isEmpty(),
                 qPrintable(query + QLatin1Char('\n') + QString::fromUtf8(sqlite.readAllStandardError())));
    }
    for (const char *name : {"scene-1.gif", "scene-2.gif"})
        QCOMPARE(QFile(folder.filePath(QLatin1String(name))).size(), 6);
}

void HelpPagesTest::theExamplesOfFilesCanBeRead()
{
    const QString example = textsOf(m_pages.at("files.html"), "pre").value(0);
    TXMLDocument document;
    document.LoadFromXML(example.toUtf8(), QStringLiteral("files.html"));
    const auto scenes = Getscenes(document);
    QCOMPARE(scenes->Get_Count(), 1);
    QCOMPARE(scenes->Get_scene(0).Get_title(), QStringLiteral("Разговор на крыше"));
    for (const char *element : sceneElements)
        QVERIFY2(example.contains(QLatin1Char('<') + QLatin1String(element)), element);

    const QStringList lines = linesOf(textsOf(m_pages.at("type-list.html"), "pre").value(0).replace("-->", "\t"));
    QCOMPARE(typesIn(lines), QStringList({"Диалог", "Погоня"}));
    QCOMPARE(subtypesOf("Диалог", lines), QStringList({"Спор", "Признание"}));
    QCOMPARE(lasttypesOf("Спор", lines), QStringList({"Шуточный", "Серьёзный"}));
}

void HelpPagesTest::everyPageIsInTheCompiledHelpAndOnline()
{
    const QDir online(QStringLiteral(ONLINE_HELP_FOLDER));
    const QRegularExpression addedAnchor(QStringLiteral("<a name=\"[^\"]*\" id=\"anchor-[^\"]*\"></a>"));
    for (const auto &[name, parsed] : m_pages) {
        const QByteArray source = contentOf(m_folder.filePath(name));
        QString page = decoded(name).remove(addedAnchor);
        QVERIFY2(page.contains(QStringLiteral("charset=windows-1251")), qPrintable(name));
        page.replace(QStringLiteral("charset=windows-1251"), QStringLiteral("charset=utf-8"));
        QVERIFY2(page == QString::fromUtf8(source), qPrintable(name));
        QVERIFY2(contentOf(online.filePath(name)) == source, qPrintable(name));
    }
    const QByteArray sheet = contentOf(m_folder.filePath(QStringLiteral("help.css")));
    QCOMPARE(extracted(QStringLiteral("help.css")), sheet);
    QCOMPARE(contentOf(online.filePath(QStringLiteral("help.css"))), sheet);
    const QDir pictures(m_folder.filePath(QStringLiteral("pictures")));
    for (const QString &name : pictures.entryList({QStringLiteral("*.png")}))
        QCOMPARE(extracted(name), contentOf(pictures.filePath(name)));
}

void HelpPagesTest::contentsAndIndexAreReadableRussian()
{
    const QString contents = decoded(QStringLiteral("help.hhc"));
    QVERIFY(contents.contains(QStringLiteral("value=\"Окно «Параметры сцены»\"><param name=\"Local\" "
                                             "value=\"scene-dialog.html\">")));
    QCOMPARE(contents.count(QStringLiteral("<UL>")), contents.count(QStringLiteral("</UL>")));
    const QString index = decoded(QStringLiteral("help.hhk"));
    QVERIFY(index.contains(QStringLiteral("value=\"долгота\"><param name=\"Local\" value=\"map.html\">")));
    QVERIFY(index.contains(QStringLiteral("знаки «&amp;» и «&lt;»")));
}

void HelpPagesTest::readersAreToldTheLanguageAndTheFirstPage()
{
    // An entry is a 16-bit code, a 16-bit length and that many bytes.
    const QByteArray system = extracted(QStringLiteral("#SYSTEM"));
    QVERIFY(system.contains(QByteArray("\0\0\11\0help.hhc\0", 13)));
    QVERIFY(system.contains(QByteArray("\1\0\11\0help.hhk\0", 13)));
    QVERIFY(system.contains(QByteArray("\2\0\13\0index.html\0", 15)));
    QVERIFY(system.contains(QByteArray("\4\0\44\0\x19\4\0\0", 8))); // Russian
    QVERIFY(decoded(QStringLiteral("#SYSTEM")).contains(QStringLiteral("Таврин: справка")));
}

QTEST_MAIN(HelpPagesTest)
#include "help_pages_test.moc"
