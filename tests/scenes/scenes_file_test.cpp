#include "scenes/scenes_file.h"

#include "random_seed.h"
#include "scene_lists.h"
#include "scenes/cell_text.h"
#include "scenes/scene_lines.h"

#include <QStringEncoder>
#include <QTest>

#include <random>

namespace {

const QString fileName = QStringLiteral("film.avi.scenes");

void load(GridCells &list, const QByteArray &xml)
{
    TXMLDocument document;
    document.LoadFromXML(xml, fileName);
    GridCells rows(sceneColumnCount);
    struct Shown {
        GridCells &list, &rows;
        ~Shown() { list.exchangeDataRows(rows); }
    };
    const Shown shown{list, rows};
    fillList(rows, *Getscenes(document), fileName, list);
}

/// A file of one scene with this content.
QByteArray oneScene(const QByteArray &content)
{
    return "<scenes><scene>" + content + "</scene></scenes>";
}

/// How many random lists a test makes: what TAVRIN_LISTS says, or enough for every day.
int randomLists()
{
    bool given = false;
    const int count = qEnvironmentVariableIntValue("TAVRIN_LISTS", &given);
    return given ? count : 4000;
}

/// Mostly what the file and its reader might stumble over.
QString randomText(std::mt19937 &random)
{
    static const QStringList pieces{
        "a",  "Я",  " ",  "0",    "&",     "<",   ">",    "]",         "]]>",         "]]",       "&amp;",
        "\t", "\n", "\"", "'",    "&#10;", "<b>", "</b>", "<b/>",      "</title>",    "<title/>", "<!-- x -->",
        "\r", "=",  "🎬",  "\x01", "\x7f",  "é",   "?>",   "<![CDATA[", "\t\t<title>", "</scene>", "-->",
    };
    static const std::vector<char16_t> odd{0,      0x1F,   0x80,   0x85,   0x9F,   0xA0,   0x2028, 0xD800, 0xDBFF,
                                           0xDC00, 0xDFFF, 0xE000, 0xFDD0, 0xFEFF, 0xFFFD, 0xFFFE, 0xFFFF};
    QString text;
    for (auto left = random() % 5; left > 0; --left) {
        const auto choice = random() % 8;
        if (choice == 0)
            text += QChar(odd[random() % odd.size()]);
        else if (choice == 1)
            text += QString::fromUcs4(U"\x1FFFE", 1);
        else
            text += pieces[static_cast<qsizetype>(random() % static_cast<std::size_t>(pieces.size()))];
    }
    return text;
}

} // namespace

class ScenesFileTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void theFileIsWrittenLetterForLetter();
    void savingAgainGivesTheSameBytes();
    void scenesAreReadHoweverTheyAreWritten();
    void unreadableFilesAreRefused();
    void elementsInAFieldStopTheFilling();
    void whatIsToldLostIsLostAndNothingElse();
    void everyListComesBackLineByLine();
};

void ScenesFileTest::theFileIsWrittenLetterForLetter()
{
    GridCells list(sceneColumnCount);
    const QByteArray blank = "\t<scene>\r\n\t\t<position/>\r\n\t\t<length/>\r\n\t\t<type/>\r\n\t\t<subtype/>\r\n"
                             "\t\t<lasttype/>\r\n\t\t<title/>\r\n\t\t<persons/>\r\n\t\t<place/>\r\n\t\t<time/>\r\n"
                             "\t\t<commemt/>\r\n\t\t<latitude/>\r\n\t\t<longitude/>\r\n\t</scene>\r\n";
    const QByteArray head = "\xEF\xBB\xBF<?xml version=\"1.0\" encoding=\"UTF-8\"?>\r\n<scenes>\r\n";
    const QByteArray foot = "</scenes>\r\n";
    QCOMPARE(scenesXml(list), head + blank + foot);

    setScene(list, 1, {"83.4", "12.5", "Диалог", "", " ", "a & b < c", "", "", "", "к", "55.7539", "0"});
    setScene(list, rowForNewScene(list), {});
    const QByteArray scene = "\t<scene>\r\n\t\t<position>83.4</position>\r\n\t\t<length>12.5</length>\r\n"
                             "\t\t<type>Диалог</type>\r\n\t\t<subtype/>\r\n\t\t<lasttype> </lasttype>\r\n"
                             "\t\t<title>a & b < c</title>\r\n\t\t<persons/>\r\n\t\t<place/>\r\n\t\t<time/>\r\n"
                             "\t\t<commemt>к</commemt>\r\n\t\t<latitude>55.7539</latitude>\r\n"
                             "\t\t<longitude>0</longitude>\r\n\t</scene>\r\n";
    QCOMPARE(scenesXml(list), head + scene + blank + foot);
}

void ScenesFileTest::savingAgainGivesTheSameBytes()
{
    GridCells list(sceneColumnCount);
    setScene(list, 1, {"0.0", "00", "Диалог ", "\tc", "x", " ", "a\nb", "🎬", "]]", "'\"", "55", "-1e5"});
    for (int i = 0; i < 2000; ++i)
        setScene(list, rowForNewScene(list), sceneAt(list, 1));
    setScene(list, rowForNewScene(list), {});
    const QByteArray xml = scenesXml(list);
    GridCells read(sceneColumnCount);
    load(read, xml);
    QCOMPARE(rowsOf(read), rowsOf(list));
    QCOMPARE(scenesXml(read), xml);
}

void ScenesFileTest::scenesAreReadHoweverTheyAreWritten()
{
    QStringEncoder utf16(QStringEncoder::Utf16LE, QStringConverter::Flag::WriteBom);
    const std::pair<QByteArray, QStringList> cases[] = {
        {"<scenes>\n <other/></scenes>", {"||||||||||||"}},
        {oneScene(""), {"1||||||||||||"}},
        {oneScene("<title></title><place/>"), {"1||||||||||||"}},
        {oneScene("<title>t</title><position>1</position>"), {"1|1|||||t||||||"}},
        // The first of a name counts, though it be empty; others are none of the scene's.
        {oneScene("<title/><title>b</title><place>a</place><place>b</place>"), {"1||||||||a||||"}},
        {oneScene("<x><title>no</title></x>no<title>a</title><comment>no</comment>"), {"1||||||a||||||"}},
        {oneScene("<position>0</position><length>0.0</length><type>00</type><title> 0</title>"),
         {"1||0.0|00||| 0||||||"}},
        {oneScene("<title> \t </title><place>\r\na</place>"), {"1|||||| \t ||\na||||"}},
        {oneScene("<title>a<!-- x -->b<![CDATA[<&]]>&amp;&#1071;<?p?></title>"), {"1||||||ab<&&Я||||||"}},
        {"<?xml version='1.0'?><!DOCTYPE scenes><scenes><info><scene/></info>text<scene><length>1</length></scene>"
         "<Scene/><scene/></scenes><!-- end -->",
         {"1||1||||||||||", "2||||||||||||"}},
        {utf16(QString("<?xml version='1.0' encoding='UTF-16'?>" + oneScene("<title>Я</title>"))), {"1||||||Я||||||"}},
    };
    for (const auto &[xml, rows] : cases) {
        GridCells list = listOf({"old", "old", "old"});
        load(list, xml);
        QCOMPARE(rowsOf(list), rows);
    }
}

void ScenesFileTest::unreadableFilesAreRefused()
{
    QByteArray bomb = "<!DOCTYPE scenes [<!ENTITY a0 'xxxxxxxxxx'>";
    for (int i = 1; i <= 9; ++i) {
        const QByteArray tenOfTheLast = ("&a" + QByteArray::number(i - 1) + ";").repeated(10);
        bomb += "<!ENTITY a" + QByteArray::number(i) + " '" + tenOfTheLast + "'>";
    }
    const std::pair<QByteArray, const char *> cases[] = {
        {bomb + "]>" + oneScene("<title>&a9;</title>"), "сущности"},
        {"<!DOCTYPE scenes [<!ENTITY % p '&#37;p;&#37;p;'> %p;]>" + oneScene(""), "строка 1"},
        {"<!DOCTYPE scenes [<!ENTITY f SYSTEM 'file:///etc/passwd'>]>" + oneScene("&f;"), "сущности"},
        {oneScene("\n<title>Том & Джерри</title>"), "строка 2"},
        {oneScene(QByteArray("<title>a\0b</title>", 18)), "повреждён"},
        {oneScene("<title>\xCE\xE4\xE8\xED</title>"), "кодировке"},
        {oneScene("<title>\xDF</title>"), "строка 1"},
        {"<?xml version='1.0' encoding='koi-17'?>" + oneScene(""), "строка 1"},
        {"<movies><scene/></movies>", "корневой элемент называется «movies»"},
        {oneScene("<title>a</title>").chopped(12), "строка 1"},
        {oneScene("") + "<scenes/>", "строка 1"},
        {"", "строка 1"},
    };
    for (const auto &[xml, reason] : cases) {
        TXMLDocument document;
        document.LoadFromXML(oneScene(""), fileName);
        QVERIFY(document.Active());
        const QString refusal = refusalOf([&] { document.LoadFromXML(xml, fileName); });
        QVERIFY2(refusal.contains(fileName) && refusal.contains(reason), qPrintable(refusal));
        QVERIFY(!document.Active());
    }
}

void ScenesFileTest::elementsInAFieldStopTheFilling()
{
    GridCells list = listOf({"a", "b", "c"});
    const QString refusal = refusalOf([&] {
        load(list, "<scenes><scene><title>a</title></scene><scene><position>5</position><title>b<i>c</i></title>"
                   "<place>d</place></scene><scene><title>e</title></scene><scene/></scenes>");
    });
    QVERIFY2(refusal.contains(fileName) && refusal.contains("в сцене 2") && refusal.contains("«title»"),
             qPrintable(refusal));
    QCOMPARE(rowsOf(list), QStringList({"1||||||a||||||", "2|5|||||2||||||", "3|c|||||3||||||", "||||||||||||"}));
}

void ScenesFileTest::whatIsToldLostIsLostAndNothingElse()
{
    std::mt19937 random(randomSeed());
    for (int i = 0; i < randomLists(); ++i) {
        const QString text = randomText(random);
        GridCells list(sceneColumnCount);
        setScene(list, 1, sceneWith({{&Scene::title, text}}));
        GridCells read(sceneColumnCount);
        const QString refusal = refusalOf([&] { load(read, scenesXml(list)); });
        const bool cameBack = refusal.isEmpty() && read.cell(TitleColumn, 1) == text;
        QVERIFY2(whatIsLost(text).isEmpty() == cameBack, qPrintable(text + "|" + whatIsLost(text)));
        QCOMPARE(firstLostText(list).isEmpty(), cameBack);
        // What a cell holds has none of what no way of writing it down could help.
        QVERIFY(!whatIsLost(asCellText(text)).contains("код"));
        QCOMPARE(asCellText(asSingleLine(text)), asSingleLine(text));
    }
    QVERIFY(firstLostText(listOf({"1", "2", "a&b"})).contains("сцены 3"));
}

void ScenesFileTest::everyListComesBackLineByLine()
{
    std::mt19937 random(randomSeed());
    for (int i = 0; i < randomLists(); ++i) {
        GridCells list(sceneColumnCount);
        for (auto left = random() % 4; left > 0; --left) {
            Scene scene;
            for (const auto field : sceneFields)
                scene.*field = asCellText(randomText(random));
            setScene(list, rowForNewScene(list), scene);
        }
        const QByteArray xml = scenesXml(list);
        const auto read = readLineByLine(xml);
        if (listIsEmpty(list))
            list.setCell(NumberColumn, 1, "1");
        QVERIFY2(read && rowsOf(*read) == rowsOf(list), xml.constData());
        // A file cut anywhere is none that was written.
        const auto cut = static_cast<qsizetype>(random() % static_cast<std::size_t>(xml.size()));
        QVERIFY(!readLineByLine(xml.first(cut)));
    }
    const QByteArray xml = scenesXml(listOf({"1", "2"}));
    for (const QByteArray &other : {QByteArray(xml).replace("\r\n", "\n"), QByteArray(xml).replace("title", "name"),
                                    QByteArray(xml).replace("<place/>", "<place></place"), xml + "\r\n", xml.sliced(3),
                                    QByteArray(xml).replace("<title>1", "<title>\xFF"), oneScene("<title>&</title>")})
        QVERIFY2(!readLineByLine(other), other.constData());
    const auto cleaned = readLineByLine(QByteArray(xml).replace("<title>1", QByteArray("<title>&\0\x01\r", 11)));
    QVERIFY(cleaned);
    QCOMPARE(cleaned->cell(TitleColumn, 1), QString("&  \n"));
}

QTEST_GUILESS_MAIN(ScenesFileTest)
#include "scenes_file_test.moc"
