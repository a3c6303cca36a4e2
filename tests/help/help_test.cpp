#include "fake_graph.h"
#include "films/film_maker.h"

#include "app/main_window.h"
#include "export/scene_table.h"
#include "export/sql_connection.h"
#include "help/help_commands.h"
#include "scenes/scene_dialog.h"
#include "scenes/scene_list_window.h"
#include "scenes/scenes_binding.h"
#include "scenes/type_list.h"
#include "util/application_folder.h"

#include <QDir>
#include <QDomDocument>
#include <QFile>
#include <QMenu>
#include <QMenuBar>
#include <QProcess>
#include <QRegularExpression>
#include <QStringDecoder>
#include <QTemporaryDir>
#include <QTest>

#include <map>

namespace {

/// The lines of a source of the help that is no page.
QStringList linesOfFile(const char *name)
{
    return QString(contentOf(QDir(HELP_FOLDER).filePath(name))).split('\n', Qt::SkipEmptyParts);
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

class HelpTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        for (const QString &name : m_folder.entryList({QStringLiteral("*.html")})) {
            QDomDocument &page = m_pages[name];
            QVERIFY2(page.setContent(contentOf(m_folder.filePath(name)).replace("<br />", "|")), qPrintable(name));
            for (const char *tag : {"title", "h1"})
                QVERIFY2(!textsOf(page, tag).value(0).isEmpty(), qPrintable(name));
        }
        QVERIFY(m_pages.size() > 10);
        QCOMPARE(QProcess::execute(QStringLiteral("extract_chmLib"), {QStringLiteral(HELP_FILE), m_compiled.path()}),
                 0);
    }

    void everyLinkPageAndTermLeadsSomewhere()
    {
        const auto leadsSomewhere = [this](const QString &from, const QString &target) {
            const QString name = target.section('#', 0, 0);
            const auto page = m_pages.find(name.isEmpty() ? from : name);
            return page != m_pages.end()
                   && (!target.contains('#')
                       || page->second.toString().contains(" id=\"" + target.section('#', 1) + '"'));
        };
        static const QRegularExpression link("<(a|img) [^>]*(?:href|src)=\"([^\"]*)\"");
        for (const auto &[name, page] : m_pages) {
            auto found = link.globalMatch(page.toString());
            QVERIFY2(found.hasNext(), qPrintable(name));
            while (found.hasNext()) {
                const QStringList texts = found.next().capturedTexts();
                QVERIFY2(texts[1] == "a" ? leadsSomewhere(name, texts[2]) : m_folder.exists("pictures/" + texts[2]),
                         qPrintable(name + ": " + texts[0]));
            }
        }

        QStringList pages = linesOfFile("contents.txt").filter(".html").replaceInStrings("\t", "");
        pages.sort();
        QCOMPARE(pages, m_folder.entryList({"*.html"}, QDir::Files, QDir::Name));
        const QString start = m_pages.at("index.html").toString();
        for (const QString &page : pages)
            QVERIFY2(page == "index.html" || start.contains("href=\"" + page), qPrintable(page));

        QStringList terms;
        for (const QString &line : linesOfFile("index.txt")) {
            QVERIFY2(line.count('\t') == 1 && leadsSomewhere({}, line.section('\t', 1)), qPrintable(line));
            terms += line.section('\t', 0, 0);
        }
        QVERIFY(terms.removeDuplicates() == 0 && terms.size() > 30);
    }

    void everyCommandIsTold()
    {
        QStringList commands;
        TForm1 window([](QWidget *) -> std::unique_ptr<GraphSystem> { return std::make_unique<FakeGraphSystem>(); });
        const TForm2 dialog(&window, QStringList());
        const TForm3 list(&window);
        const auto take = [&commands](const QAction *command) {
            if (!command->isSeparator())
                commands += command->text() + '|' + command->shortcut().toString(QKeySequence::PortableText);
        };
        for (const QAction *menu : window.menuBar()->actions()) {
            for (const QAction *command : menu->menu()->actions())
                take(command);
        }
        for (const QAction *command : {list.Undo, list.Redo, list.Find, list.SeekScene})
            take(command);
        QStringList told;
        const QDomNodeList rows = m_pages.at("commands.html").elementsByTagName("tr");
        for (int row = 0; row < rows.size(); ++row) {
            const QDomNodeList cells = rows.at(row).toElement().elementsByTagName("td");
            if (cells.size() == 3)
                told += cells.at(0).toElement().text() + '|' + cells.at(1).toElement().text();
        }
        QCOMPARE(told, commands);
    }

    void everyQueryRuns()
    {
        const QTemporaryDir folder;
        const QString database = folder.filePath("film.mp4.db");
        TSQLConnection connection;
        connection.Params = {{"Database", database}, {"FailIfMissing", "False"}};
        connection.Open();
        TSQLQuery table(connection);
        createSceneTable(table);
        connection.ExecuteDirect(
            "insert into scenes values"
            "(1, 83.4, 12.5, 'Диалог', 'Спор', '', 'На крыше', 'Анна', 'Крыша', 'лето', '', 55.7, 37.6, "
            "x'474946383961'),"
            "(2, 1490, 60, 'Погоня', '', '', 'У реки', 'Пётр', 'Берег', 'осень', 'крыша', 0, 0, x'474946383961')");
        for (const QString &query : textsOf(m_pages.at("queries.html"), "pre")) {
            QProcess sqlite;
            sqlite.setWorkingDirectory(folder.path());
            sqlite.start("sqlite3", {database, query});
            // Each of them finds something in these scenes.
            QVERIFY2(sqlite.waitForFinished() && sqlite.exitCode() == 0 && sqlite.bytesAvailable() > 1,
                     qPrintable(query + '\n' + sqlite.readAllStandardError()));
        }
        for (const char *name : {"scene-1.gif", "scene-2.gif"})
            QCOMPARE(QFile(folder.filePath(name)).size(), 6);
    }

    void theExamplesOfFilesCanBeRead()
    {
        const QString example = textsOf(m_pages.at("files.html"), "pre").value(0);
        TXMLDocument document;
        document.LoadFromXML(example.toUtf8(), QStringLiteral("files.html"));
        const auto scenes = Getscenes(document);
        QVERIFY(scenes->Get_Count() == 1 && scenes->Get_scene(0).Get_title() == "Разговор на крыше");
        for (const char *element : sceneElements)
            QVERIFY2(example.contains(QLatin1Char('<') + QLatin1String(element)), element);

        const QStringList lines = linesOf(textsOf(m_pages.at("type-list.html"), "pre").value(0).replace("-->", "\t"));
        QCOMPARE(typesIn(lines), QStringList({"Диалог", "Погоня"}));
        QCOMPARE(subtypesOf("Диалог", lines), QStringList({"Спор", "Признание"}));
        QCOMPARE(lasttypesOf("Спор", lines), QStringList({"Шуточный", "Серьёзный"}));
    }

    void theCompiledHelpHoldsItAllInRussian()
    {
        const auto decoded = [this](const QString &name) -> QString {
            return QStringDecoder("windows-1251")(contentOf(m_compiled.filePath(name)));
        };
        const QDir online(ONLINE_HELP_FOLDER);
        static const QRegularExpression addedAnchor("<a name=\"[^\"]*\" id=\"anchor-[^\"]*\"></a>");
        for (const QString &name : m_folder.entryList({"*.html", "*.css"})) {
            const QByteArray source = contentOf(m_folder.filePath(name));
            QVERIFY2(contentOf(online.filePath(name)) == source, qPrintable(name));
            const QString compiled = QString(source).replace("charset=utf-8", "charset=windows-1251");
            QVERIFY2(decoded(name).remove(addedAnchor) == compiled, qPrintable(name));
        }
        const QDir pictures(m_folder.filePath("pictures"));
        for (const QString &name : pictures.entryList({"*.png"}))
            QCOMPARE(contentOf(m_compiled.filePath(name)), contentOf(pictures.filePath(name)));

        const QString contents = decoded("help.hhc");
        const QString target = "\"><param name=\"Local\" value=\"";
        QVERIFY(contents.contains("value=\"Окно «Параметры сцены»" + target + "scene-dialog.html\">"));
        QCOMPARE(contents.count("<UL>"), contents.count("</UL>"));
        const QString index = decoded("help.hhk");
        QVERIFY(index.contains("value=\"долгота" + target + "map.html\">") && index.contains("знаки «&amp;» и «&lt;»"));

        // An entry is a 16-bit code, a 16-bit length and that many bytes; the last of these is Russian.
        const QByteArray system = contentOf(m_compiled.filePath("#SYSTEM"));
        QVERIFY(system.contains(QByteArray("\0\0\11\0help.hhc\0", 13)));
        QVERIFY(system.contains(QByteArray("\1\0\11\0help.hhk\0", 13)));
        QVERIFY(system.contains(QByteArray("\2\0\13\0index.html\0", 15)));
        QVERIFY(system.contains(QByteArray("\4\0\44\0\x19\4\0\0", 8)));
        QVERIFY(decoded("#SYSTEM").contains("Таврин: справка"));
    }

    void theDesktopGetsTheExactPathAndNobodyWaitsForIt()
    {
        CurPath = "/opt/$(id) \"Ларец\" %20";
        const QByteArray path = qgetenv("PATH");
        // A handler that cannot start, one that finds no viewer for the file, one that stays open as its viewer does.
        for (const char *script : {"#!/nowhere/at/all\n", "#!/bin/sh\nexit 3\n",
                                   "#!/bin/sh\nprintf '%s|' \"$@\" > \"$0.asked\"\n"
                                   "until [ -e \"$0.seen\" ]; do /bin/sleep 0.05; done\n"}) {
            const QTemporaryDir folder;
            const QString handler = folder.filePath("xdg-open");
            writeFile(handler, script);
            QVERIFY(QFile::setPermissions(handler, QFile::ReadOwner | QFile::ExeOwner));
            qputenv("PATH", folder.path().toUtf8());
            openHelpFile();
            qputenv("PATH", path);
            if (QByteArray(script).contains("asked")) {
                QTRY_VERIFY(QFileInfo(handler + ".asked").size() > 0);
                QCOMPARE(QString(contentOf(handler + ".asked")), CurPath + "/Tavrin.chm|");
            }
            writeFile(handler + ".seen", {});
        }
    }

private:
    QDir m_folder{HELP_FOLDER};
    /// By file name. Where a line is broken by hand there is a bar.
    std::map<QString, QDomDocument> m_pages;
    /// The compiled help, taken apart by the library that readers of such files on Linux are built on.
    QTemporaryDir m_compiled;
};

QTEST_MAIN(HelpTest)
#include "help_test.moc"
