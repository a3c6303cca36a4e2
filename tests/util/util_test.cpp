#include "util/numbers.h"
#include "util/text_routines.h"
#include "util/truncation.h"

#include <QTest>

#include <limits>

class UtilTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void leadingNumberEndsAtTheFirstMisfit()
    {
        constexpr double infinity = std::numeric_limits<double>::infinity();
        const QString zeros(400, '0');
        const std::pair<QString, double> cases[] = {{"12.34", 12.34}, {"12,5", 12},    {" \t\n7", 7}, {"-0.5", -0.5},
                                                    {"+3", 3},        {"1e+3x", 1000}, {"5.e1", 50},  {"25E-1", 2.5},
                                                    {"2e+", 2},       {".5", 0.5},     {"5.", 5}};
        for (const auto &[text, number] : cases)
            QVERIFY2(leadingNumber(text) == number, qPrintable(text));
        // No words, no other notations, no digits of other scripts.
        for (const QString text : {"+-3", ".", "", "abc", "nan", "inf", "0x10", "\u0665", "1e-999", "0e999"})
            QVERIFY2(leadingNumber(text) == 0, qPrintable(text));
        // Beyond a double, or on the way to the number.
        QCOMPARE(leadingNumber(u"1e999"), infinity);
        QCOMPARE(leadingNumber(u"-1e999"), -infinity);
        QCOMPARE(leadingNumber("1" + zeros + zeros + "e-300"), infinity);
        QCOMPARE(leadingNumber("0." + zeros + "1"), 0.0);
        QCOMPARE(leadingNumber("1" + zeros + "e-300"), 1e100);
        QCOMPARE(leadingNumber("0." + zeros + "1e500"), 1e99);
    }

    void truncationNeverOverflows()
    {
        constexpr auto max64 = std::numeric_limits<std::int64_t>::max();
        constexpr auto min64 = std::numeric_limits<std::int64_t>::min();
        constexpr auto max32 = std::numeric_limits<std::int32_t>::max();
        constexpr auto min32 = std::numeric_limits<std::int32_t>::min();
        QCOMPARE(truncatedToInt64(-1.9), std::int64_t(-1));
        QCOMPARE(truncatedToInt64(1e300), max64);
        QCOMPARE(truncatedToInt64(9223372036854775808.0), max64);
        QCOMPARE(truncatedToInt64(-1e300), min64);
        QCOMPARE(truncatedToInt64(std::numeric_limits<double>::quiet_NaN()), std::int64_t(0));
        QCOMPARE(truncatedToInt32(2147483647.9), max32);
        QCOMPARE(truncatedToInt32(2147483648.0), max32);
        QCOMPARE(truncatedToInt32(-2147483648.0), min32);
        QCOMPARE(truncatedToInt32(-1e12), min32);
    }

    void generalFormatKeepsFifteenDigits()
    {
        // The tests run under a locale with a point.
        QCOMPARE(generalFormat(25.0), QString("25"));
        QCOMPARE(generalFormat(0.09999999999999998), QString("0.1"));
        QCOMPARE(generalFormat(30000.0 / 1001.0), QString("29.97002997003"));
        QCOMPARE(generalFormat(123.45), QString("123.45"));
    }

    void replaceScansLeftToRightOnce()
    {
        QCOMPARE(str_replace("/", ",", "a/b//c"), QString("a,b,,c"));
        // Occurrences do not overlap, and what was put in is not scanned again.
        QCOMPARE(str_replace("\t\t", "", "\t\t\tx"), QString("\tx"));
        QCOMPARE(str_replace("a", "aa", "aba"), QString("aabaa"));
        QCOMPARE(str_replace("A", "x", "aA"), QString("ax"));
        QCOMPARE(str_replace("", "x", "abc"), QString("abc"));
    }

    void fieldsAreCutAtEveryOccurrence()
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
            {"xabyab", "ab", {"xaby", "y", ""}},  // field 0 overlooks an early long delimiter
            {"baaac", "aa", {"ba", "", "c", ""}}, // occurrences may overlap
            {"ab", "", {""}},
        };
        for (const auto &[source, delimiter, fields] : cases) {
            QCOMPARE(getFieldFromString(-1, source, delimiter), QString());
            for (int index = 0; index < fields.size(); ++index)
                QCOMPARE(getFieldFromString(index, source, delimiter), fields.at(index));
        }
    }

    void fileNameIsWhatFollowsTheLastSeparator()
    {
        QCOMPARE(get_file_name("D:\\v\\film.avi"), QString("film.avi"));
        QCOMPARE(get_file_name("/v\\w/фильм.avi"), QString("фильм.avi"));
        QCOMPARE(get_file_name("/v/"), QString());
    }
};

QTEST_APPLESS_MAIN(UtilTest)
#include "util_test.moc"
