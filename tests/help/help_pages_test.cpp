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
#include <QFile>
#include <QMenu>
#include <QMenuBar>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>
#include <QXmlStreamReader>

#include <array>
#include <map>

namespace {

/// What a page holds, read by an XML parser.
struct Page {
    QString title;
    QString heading;
    QStringList places;
    QStringList links;
    QStringList pictures;
    /// The cells of each table row, each of them one line of plain text.
    QList<QStringList> rows;
    /// The terms of the definition lists, each of them one line of plain text with a bar between the lines of the page.
    QStringList terms;
    /// The texts of the preformatted blocks, by class.
    QMultiMap<QString, QString> blocks;
    QString error;
};

Page readPage(const QString &fileName)
{
    Page page;
    QFile file(fileName);
    if (!file.open(QIODevice::ReadOnly)) {
        page.error = file.errorString();
        return page;
    }
    QXmlStreamReader reader(&file);
    QString *text = nullptr;
    QString ignored;
    while (!reader.atEnd()) {
        switch (reader.readNext()) {
        case QXmlStreamReader::StartElement: {
            const auto name = reader.name();
            const auto attribute = [&](const char *key) {
                return reader.attributes().value(QLatin1String(key)).toString();
            };
            if (!attribute("id").isEmpty())
                page.places += attribute("id");
            if (name == QLatin1String("a"))
                page.links += attribute("href");
            else if (name == QLatin1String("img"))
                page.pictures += attribute("src");
            else if (name == QLatin1String("title"))
                text = &page.title;
            else if (name == QLatin1String("h1"))
                text = &page.heading;
            else if (name == QLatin1String("pre"))
                text = &*page.blocks.insert(attribute("class"), QString());
            else if (name == QLatin1String("dt"))
                text = &page.terms.emplace_back();
            else if (name == QLatin1String("br") && text)
                *text += QLatin1Char('|');
            else if (name == QLatin1String("tr"))
                page.rows.emplace_back();
            else if (name == QLatin1String("td"))
                text = &page.rows.last().emplace_back();
            break;
        }
        case QXmlStreamReader::EndElement:
            for (const char *name : {"title", "h1", "pre", "td", "dt"}) {
                if (reader.name() == QLatin1String(name)) {
                    if (reader.name() == QLatin1String("td") || reader.name() == QLatin1String("dt"))
                        *text = text->simplified();
                    text = nullptr;
                }
            }
            break;
        case QXmlStreamReader::Characters:
            if (text)
                *text += reader.text();
            break;
        default:
            break;
        }
    }
    if (reader.hasError())
        page.error = QStringLiteral("line %1: %2").arg(reader.lineNumber()).arg(reader.errorString());
    return page;
}

QStringList linesOfFile(const QString &fileName)
{
    QFile file(fileName);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    return QString::fromUtf8(file.readAll()).split('\n', Qt::SkipEmptyParts);
}

/// Exports two scenes of the film, with their GIFs, as the program does.
void writeDatabase(const QString &film)
{
    const std::array scenes{
        Scene{.position = QStringLiteral("83.4"), .length = QStringLiteral("12.5"), .type = QStringLiteral("Диалог"),
              .subtype = QStringLiteral("Спор"), .lasttype = {}, .title = QStringLiteral("Разговор на крыше"),
              .persons = QStringLiteral("Анна, Пётр"), .place = QStringLiteral("Крыша"),
              .time = QStringLiteral("лето"), .comment = {}, .latitude = QStringLiteral("55.7"),
              .longitude = QStringLiteral("37.6")},
        Scene{.position = QStringLiteral("1490"), .length = QStringLiteral("60"), .type = QStringLiteral("Погоня"),
              .subtype = {}, .lasttype = {}, .title = QStringLiteral("У реки"), .persons = QStringLiteral("Пётр"),
              .place = QStringLiteral("Берег"), .time = QStringLiteral("осень"), .comment = {}, .latitude = {},
              .longitude = {}}};
    GridCells list(sceneColumnCount);
    QVERIFY(QDir().mkdir(imagesFolderOf(film)));
    for (const Scene &scene : scenes) {
        setScene(list, rowForNewScene(list), scene);
        QFile image(gifFileOf(film, scene.position, scene.length));
        QVERIFY(image.open(QIODevice::WriteOnly));
        image.write("GIF89a");
    }
    TSQLConnection connection;
    connection.Params[QStringLiteral("Database")] = databaseFileOf(film);
    connection.Params[QStringLiteral("FailIfMissing")] = QStringLiteral("False");
    connection.Open();
    TSQLQuery query(connection);
    createSceneTable(query);
    insertScenes(query, list, film);
}

std::unique_ptr<GraphSystem> makeFakeSystem(QWidget *)
{
    return std::make_unique<FakeGraphSystem>();
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
    void theExampleOfAScenesFileCanBeRead();
    void theExampleOfATypeListDoesWhatThePageSays();

private:
    [[nodiscard]] bool leadsSomewhere(const QString &from, const QString &link) const;

    QDir m_folder{QStringLiteral(HELP_FOLDER)};
    std::map<QString, Page> m_pages;
};

void HelpPagesTest::initTestCase()
{
    for (const QString &name : m_folder.entryList({QStringLiteral("*.html")})) {
        const Page page = readPage(m_folder.filePath(name));
        QVERIFY2(page.error.isEmpty(), qPrintable(name + QLatin1Char(' ') + page.error));
        QVERIFY2(!page.title.isEmpty() && !page.heading.isEmpty(), qPrintable(name));
        m_pages.emplace(name, page);
    }
    QVERIFY(m_pages.size() > 10);
}

bool HelpPagesTest::leadsSomewhere(const QString &from, const QString &link) const
{
    const QString name = link.section('#', 0, 0);
    const QString place = link.section('#', 1);
    const auto page = m_pages.find(name.isEmpty() ? from : name);
    return page != m_pages.end() && (place.isEmpty() || page->second.places.contains(place));
}

void HelpPagesTest::noLinkLeadsNowhere()
{
    for (const auto &[name, page] : m_pages) {
        for (const QString &link : page.links)
            QVERIFY2(leadsSomewhere(name, link), qPrintable(name + QStringLiteral(" links to ") + link));
        for (const QString &picture : page.pictures) {
            QVERIFY2(QFile::exists(m_folder.filePath(QStringLiteral("pictures/") + picture)),
                     qPrintable(name + QStringLiteral(" shows ") + picture));
        }
    }
}

void HelpPagesTest::everyPageIsInTheContents()
{
    QStringList missing;
    for (const auto &[name, page] : m_pages)
        missing += name;
    const QStringList &listed = m_pages.at(QStringLiteral("index.html")).links;
    for (const QString &line : linesOfFile(m_folder.filePath(QStringLiteral("contents.txt")))) {
        const QString name = line.trimmed();
        if (!name.endsWith(QLatin1String(".html")))
            continue;
        QVERIFY2(missing.removeOne(name), qPrintable(name));
        QVERIFY2(name == QLatin1String("index.html") || listed.contains(name), qPrintable(name));
    }
    QCOMPARE(missing, QStringList());
}

void HelpPagesTest::everyTermOfTheIndexLeadsSomewhere()
{
    QStringList terms;
    for (const QString &line : linesOfFile(m_folder.filePath(QStringLiteral("index.txt")))) {
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
    const QList<QStringList> &rows = m_pages.at(QStringLiteral("commands.html")).rows;
    TForm1 window(makeFakeSystem);
    int commands = 0;
    for (const QAction *menu : window.menuBar()->actions()) {
        for (const QAction *command : menu->menu()->actions()) {
            if (command->isSeparator())
                continue;
            ++commands;
            const QString keys = command->shortcut().toString(QKeySequence::PortableText);
            const bool told = std::any_of(rows.cbegin(), rows.cend(), [&](const QStringList &row) {
                return row.size() == 3 && row.at(0) == command->text() && row.at(1) == keys;
            });
            QVERIFY2(told, qPrintable(command->text() + QLatin1Char(' ') + keys));
        }
    }
    QVERIFY(commands > 15);
}

void HelpPagesTest::everyMessageIsExplained()
{
    QStringList explained;
    for (const QString &term : m_pages.at(QStringLiteral("messages.html")).terms)
        explained += term.split('|');
    for (QString &term : explained)
        term = term.simplified();

    // What the sources throw or show, up to the first thing that is filled in.
    static const QRegularExpression message(QStringLiteral(
        R"re((?:UserError|PartlyReadError|[sS]howMessage|showError|obtain)\([^";]*"([^"]*)")re"));
    static const QRegularExpression rest(QStringLiteral(R"re(:?\s*(?:«?%\d|\\n).*$|\s+$)re"));
    // Two that become a part of another message, and two that only a fault of the program itself could show.
    const QStringList partsOfMessages{QStringLiteral("элемент"), QStringLiteral("Не удалось открыть базу данных"),
                                      QStringLiteral("База данных не открыта"),
                                      QStringLiteral("У запроса нет параметра")};
    int messages = 0;
    QDirIterator sources(QStringLiteral(SOURCE_FOLDER), {QStringLiteral("*.cpp")}, QDir::Files,
                         QDirIterator::Subdirectories);
    while (sources.hasNext()) {
        QFile source(sources.next());
        QVERIFY(source.open(QIODevice::ReadOnly));
        auto found = message.globalMatch(QString::fromUtf8(source.readAll()));
        while (found.hasNext()) {
            const QString text = found.next().captured(1);
            const QString start = QString(text).remove(rest);
            if (partsOfMessages.contains(start))
                continue;
            ++messages;
            const bool told = std::any_of(explained.cbegin(), explained.cend(), [&](const QString &term) {
                return term.startsWith(start);
            });
            QVERIFY2(told, qPrintable(source.fileName() + QStringLiteral(": ") + text));
        }
    }
    QVERIFY2(messages > 30, qPrintable(QString::number(messages)));
}

void HelpPagesTest::everyQueryRuns()
{
    const QStringList queries = m_pages.at(QStringLiteral("queries.html")).blocks.values(QStringLiteral("sql"));
    QVERIFY(queries.size() > 5);
    QTemporaryDir folder;
    const QString film = folder.filePath(QStringLiteral("film.mp4"));
    writeDatabase(film);
    for (const QString &query : queries) {
        QProcess sqlite;
        sqlite.setWorkingDirectory(folder.path());
        sqlite.start(QStringLiteral("sqlite3"), {QStringLiteral("-bail"), databaseFileOf(film)});
        sqlite.write(query.toUtf8());
        sqlite.closeWriteChannel();
        QVERIFY2(sqlite.waitForFinished(), qPrintable(sqlite.errorString()));
        // Each of them finds something in these scenes.
        QVERIFY2(sqlite.exitCode() == 0 && !sqlite.readAllStandardOutput().trimmed().isEmpty(),
                 qPrintable(query + QLatin1Char('\n') + QString::fromUtf8(sqlite.readAllStandardError())));
    }
    for (const char *name : {"scene-1.gif", "scene-2.gif"})
        QCOMPARE(QFile(folder.filePath(QLatin1String(name))).size(), 6);
}

void HelpPagesTest::theExampleOfAScenesFileCanBeRead()
{
    const QString example = m_pages.at(QStringLiteral("files.html")).blocks.value(QString());
    TXMLDocument document;
    document.LoadFromXML(example.toUtf8(), QStringLiteral("files.html"));
    const auto scenes = Getscenes(document);
    QCOMPARE(scenes->Get_Count(), 1);
    QCOMPARE(scenes->Get_scene(0).Get_title(), QStringLiteral("Разговор на крыше"));
    for (const char *element : sceneElements)
        QVERIFY2(example.contains(QLatin1Char('<') + QLatin1String(element)), element);
}

void HelpPagesTest::theExampleOfATypeListDoesWhatThePageSays()
{
    QString example = m_pages.at(QStringLiteral("type-list.html")).blocks.value(QString());
    const QStringList lines = linesOf(example.replace(QStringLiteral("-->"), QStringLiteral("\t")));
    QCOMPARE(typesIn(lines), QStringList({QStringLiteral("Диалог"), QStringLiteral("Погоня")}));
    QCOMPARE(subtypesOf(QStringLiteral("Диалог"), lines), QStringList({QStringLiteral("Спор"), QStringLiteral("Признание")}));
    QCOMPARE(lasttypesOf(QStringLiteral("Спор"), lines), QStringList({QStringLiteral("Шуточный"), QStringLiteral("Серьёзный")}));
}

QTEST_MAIN(HelpPagesTest)
#include "help_pages_test.moc"
