#include "util/text_routines.h"

#include <QTest>

class TextRoutinesTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void replaceScansLeftToRightOnce();
    void fieldsAreCutAtEveryOccurrence_data();
    void fieldsAreCutAtEveryOccurrence();
    void fileNameIsWhatFollowsTheLastSeparator();
};

void TextRoutinesTest::replaceScansLeftToRightOnce()
{
    QCOMPARE(str_replace("/", ",", "a/b//c"), QString("a,b,,c"));
    // Occurrences do not overlap, and what was put in is not scanned again.
    QCOMPARE(str_replace("\t\t", "", "\t\t\tx"), QString("\tx"));
    QCOMPARE(str_replace("a", "aa", "aba"), QString("aabaa"));
    QCOMPARE(str_replace("A", "x", "aA"), QString("ax"));
    QCOMPARE(str_replace("", "x", "abc"), QString("abc"));
}

void TextRoutinesTest::fieldsAreCutAtEveryOccurrence_data()
{
    QTest::addColumn<int>("index");
    QTest::addColumn<QString>("source");
    QTest::addColumn<QString>("delimiter");
    QTest::addColumn<QString>("field");
    QTest::newRow("first") << 0 << "a,b,c" << "," << "a";
    QTest::newRow("middle") << 1 << "a,b,c" << "," << "b";
    QTest::newRow("last") << 2 << "a,b,c" << "," << "c";
    QTest::newRow("beyond the last") << 3 << "a,b,c" << "," << "";
    QTest::newRow("no delimiter") << 0 << "abc" << "," << "abc";
    QTest::newRow("empty source") << 0 << "" << "," << "";
    QTest::newRow("source begins with it") << 0 << ",a" << "," << "";
    QTest::newRow("second after a leading one") << 1 << ",a,b" << "," << "a";
    QTest::newRow("long delimiter") << 1 << "x/maps/dir/y" << "/maps/dir/" << "y";
    QTest::newRow("field 0 overlooks an early long delimiter") << 0 << "xabyab" << "ab" << "xaby";
    QTest::newRow("overlapping occurrences count") << 2 << "baaac" << "aa" << "c";
    QTest::newRow("overlap leaves an empty field") << 1 << "baaac" << "aa" << "";
    QTest::newRow("negative index") << -1 << "a,b" << "," << "";
    QTest::newRow("empty delimiter") << 0 << "ab" << "" << "";
}

void TextRoutinesTest::fieldsAreCutAtEveryOccurrence()
{
    QFETCH(int, index);
    QFETCH(QString, source);
    QFETCH(QString, delimiter);
    QTEST(getFieldFromString(index, source, delimiter), "field");
}

void TextRoutinesTest::fileNameIsWhatFollowsTheLastSeparator()
{
    QCOMPARE(get_file_name("D:\\v\\film.avi"), QString("film.avi"));
    QCOMPARE(get_file_name("/v\\w/фильм.avi"), QString("фильм.avi"));
    QCOMPARE(get_file_name("film.avi"), QString("film.avi"));
    QCOMPARE(get_file_name("/v/"), QString());
}

QTEST_APPLESS_MAIN(TextRoutinesTest)
#include "text_routines_test.moc"
