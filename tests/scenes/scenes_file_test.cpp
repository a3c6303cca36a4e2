#include "scenes/scenes_file.h"

#include "scene_lists.h"

#include <QStringEncoder>
#include <QTest>

namespace {

const QString fileName = QStringLiteral("film.avi.scenes");

/// A list whose data rows have these titles.
GridCells listOf(const QStringList &titles)
{
    GridCells list(sceneColumnCount);
    for (const QString &title : titles) {
        Scene scene;
        scene.title = title;
        setScene(list, rowForNewScene(list), scene);
    }
    return list;
}

void load(GridCells &list, const QByteArray &xml)
{
    TXMLDocument document;
    document.LoadFromXML(xml, fileName);
    fillList(list, *Getscenes(document), fileName);
}

/// A file of one scene with this content.
QByteArray oneScene(const QByteArray &content)
{
    return "<scenes><scene>" + content + "</scene></scenes>";
}

} // namespace

class ScenesFileTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void theFileIsWrittenLetterForLetter();
    void savingAgainGivesTheSameBytes();
    void scenesAreReadHoweverTheyAreWritten_data();
    void scenesAreReadHoweverTheyAreWritten();
    void encodingsAreReadOrRefused();
    void unreadableFilesAreRefused_data();
    void unreadableFilesAreRefused();
    void elementsInAFieldStopTheFilling();
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

void ScenesFileTest::scenesAreReadHoweverTheyAreWritten_data()
{
    QTest::addColumn<QByteArray>("xml");
    QTest::addColumn<QStringList>("rows");
    QTest::newRow("no scenes") << QByteArray("<scenes>\n <other/></scenes>") << QStringList{"||||||||||||"};
    QTest::newRow("empty fields") << oneScene("<title></title><place/>") << QStringList{"1||||||||||||"};
    QTest::newRow("nothing in it") << oneScene("") << QStringList{"1||||||||||||"};
    QTest::newRow("other order") << oneScene("<title>t</title><position>1</position>")
                                 << QStringList{"1|1|||||t||||||"};
    QTest::newRow("the first of a name") << oneScene("<title>a</title><title>b</title>")
                                         << QStringList{"1||||||a||||||"};
    QTest::newRow("the first of a name, empty") << oneScene("<title/><title>b</title>")
                                                << QStringList{"1||||||||||||"};
    QTest::newRow("unknown children") << oneScene("<x><title>no</title></x>no<title>a</title><comment>no</comment>")
                                      << QStringList{"1||||||a||||||"};
    QTest::newRow("0 is blanked") << oneScene("<position>0</position><length>0.0</length><type>00</type>"
                                              "<title> 0</title><latitude>0</latitude>")
                                  << QStringList{"1||0.0|00||| 0||||||"};
    QTest::newRow("white space stays") << oneScene("<title> \t </title><place>\r\na</place>")
                                       << QStringList{"1|||||| \t ||\na||||"};
    QTest::newRow("text in pieces") << oneScene("<title>a<!-- x -->b<![CDATA[<&]]>&amp;&#1071;<?p?></title>")
                                    << QStringList{"1||||||ab<&&Я||||||"};
    QTest::newRow("other children of the root")
        << QByteArray("<?xml version='1.0'?><!DOCTYPE scenes><scenes><info><scene/></info>text<scene>"
                      "<length>1</length></scene><Scene/><scene/></scenes><!-- end -->")
        << QStringList{"1||1||||||||||", "2||||||||||||"};
}

void ScenesFileTest::scenesAreReadHoweverTheyAreWritten()
{
    QFETCH(QByteArray, xml);
    GridCells list = listOf({"old", "old", "old"});
    load(list, xml);
    QTEST(rowsOf(list), "rows");
}

void ScenesFileTest::encodingsAreReadOrRefused()
{
    const auto titleRead = [](const QByteArray &xml) {
        GridCells list = listOf({"old"});
        const bool refused = !refusalOf([&] { load(list, xml); }).isEmpty();
        return refused && list.cell(TitleColumn, 1) == "old" ? "refused" : list.cell(TitleColumn, 1);
    };
    const auto declared = [](const char *encoding, const char *title) {
        return QString("<?xml version=\"1.0\" encoding=\"%1\"?>").arg(encoding).toUtf8()
            + oneScene("<title>" + QByteArray(title) + "</title>");
    };
    QCOMPARE(titleRead(declared("utf-8", "Я")), QString("Я"));
    QCOMPARE(titleRead("\xEF\xBB\xBF" + declared("UTF-8", "Я")), QString("Я"));
    QStringEncoder utf16(QStringEncoder::Utf16LE, QStringConverter::Flag::WriteBom);
    QCOMPARE(titleRead(utf16(QString::fromUtf8(declared("UTF-16", "Я")))), QString("Я"));
    QCOMPARE(titleRead(declared("koi-17", "Я")), QString("refused"));
    QCOMPARE(titleRead(declared("UTF-8", "\xDF")), QString("refused"));
    // Known where the system's library of encodings is.
    QVERIFY(QStringList({"Я", "refused"}).contains(titleRead(declared("windows-1251", "\xDF"))));
}

void ScenesFileTest::unreadableFilesAreRefused_data()
{
    QTest::addColumn<QByteArray>("xml");
    QTest::addColumn<QString>("reason");
    QByteArray bomb = "<!DOCTYPE scenes [<!ENTITY a0 \"xxxxxxxxxx\">";
    for (int i = 1; i <= 9; ++i) {
        const QByteArray tenOfTheLast = ("&a" + QByteArray::number(i - 1) + ";").repeated(10);
        bomb += "<!ENTITY a" + QByteArray::number(i) + " \"" + tenOfTheLast + "\">";
    }
    QTest::newRow("entity bomb") << bomb + "]>" + oneScene("<title>&a9;</title>") << "сущности";
    QTest::newRow("parameter entities") << QByteArray("<!DOCTYPE scenes [<!ENTITY % p '&#37;p;&#37;p;'> %p;]>")
                                               + oneScene("")
                                        << "строка 1";
    QTest::newRow("file of the system") << "<!DOCTYPE scenes [<!ENTITY f SYSTEM \"file:///etc/passwd\">]>"
                                               + oneScene("<title>&f;</title>")
                                        << "сущности";
    QTest::newRow("ampersand") << oneScene("\n<title>Том & Джерри</title>") << "строка 2";
    QTest::newRow("less than") << oneScene("<title>a < b</title>") << "«&» и «<»";
    QTest::newRow("NUL") << oneScene(QByteArray("<title>a\0b</title>", 18)) << "«&» и «<»";
    QTest::newRow("control character") << oneScene("<title>\x01</title>") << "строка 1";
    QTest::newRow("other root") << QByteArray("<movies><scene/></movies>") << "корневой элемент называется «movies»";
    QTest::newRow("root in other letters") << QByteArray("<Scenes/>") << "«Scenes»";
    QTest::newRow("cut off") << oneScene("<title>a</title>").chopped(12) << "строка 1";
    QTest::newRow("more after the end") << oneScene("") + "<scenes/>" << "строка 1";
    QTest::newRow("empty file") << QByteArray() << "строка 1";
    QTest::newRow("no XML") << QByteArray("position,length\r\n1,2\r\n") << "строка 1";
}

void ScenesFileTest::unreadableFilesAreRefused()
{
    QFETCH(QByteArray, xml);
    QFETCH(QString, reason);
    TXMLDocument document;
    document.LoadFromXML(oneScene(""), fileName);
    QVERIFY(document.Active());
    const QString refusal = refusalOf([&] { document.LoadFromXML(xml, fileName); });
    QVERIFY2(refusal.contains(fileName) && refusal.contains(reason), qPrintable(refusal));
    QVERIFY(!document.Active());
}

void ScenesFileTest::elementsInAFieldStopTheFilling()
{
    GridCells list = listOf({"old 1", "old 2", "old 3"});
    const QString refusal = refusalOf([&] {
        load(list, "<scenes><scene><title>a</title></scene><scene><position>5</position><title>b<i>c</i></title>"
                   "<place>d</place></scene><scene><title>e</title></scene><scene/></scenes>");
    });
    QVERIFY2(refusal.contains(fileName) && refusal.contains("в сцене 2") && refusal.contains("«title»"),
             qPrintable(refusal));
    QCOMPARE(rowsOf(list),
             QStringList({"1||||||a||||||", "2|5|||||old 2||||||", "3||||||old 3||||||", "||||||||||||"}));
}

QTEST_GUILESS_MAIN(ScenesFileTest)
#include "scenes_file_test.moc"
