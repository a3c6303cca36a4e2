#include "util/text_routines.h"

#include <QTest>

class TextRoutinesTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void replaceScansLeftToRightOnce();
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

void TextRoutinesTest::fieldsAreCutAtEveryOccurrence()
{
    const struct {
        const char *source;
        const char *delimiter;
        QStringList fields;
    } cases[] = {
        {"a,b,c", ",", {"a", "b", "c", ""}},
        {"abc", ",", {"abc", ""}},
        {"", ",", {""}},
        {",a,b", ",", {"", "a", "b"}},
        {"xabyab", "ab", {"xaby", "y", ""}}, // field 0 overlooks an early long delimiter
        {"baaac", "aa", {"ba", "", "c", ""}}, // occurrences may overlap
        {"ab", "", {""}},
    };
    for (const auto &[source, delimiter, fields] : cases) {
        QCOMPARE(getFieldFromString(-1, source, delimiter), QString());
        for (int index = 0; index < fields.size(); ++index)
            QCOMPARE(getFieldFromString(index, source, delimiter), fields.at(index));
    }
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
