#include "util/numbers.h"

#include <QTest>

#include <limits>

class NumbersTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void leadingNumberEndsAtTheFirstMisfit_data();
    void leadingNumberEndsAtTheFirstMisfit();
    void truncationNeverOverflows();
    void generalFormatKeepsFifteenDigits();
};

void NumbersTest::leadingNumberEndsAtTheFirstMisfit_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<double>("number");
    constexpr double infinity = std::numeric_limits<double>::infinity();
    QTest::newRow("plain") << "12.34" << 12.34;
    QTest::newRow("comma ends it") << "12,5" << 12.0;
    QTest::newRow("leading blanks") << " \t\n7" << 7.0;
    QTest::newRow("sign") << "-0.5" << -0.5;
    QTest::newRow("plus") << "+3" << 3.0;
    QTest::newRow("two signs") << "+-3" << 0.0;
    QTest::newRow("exponent") << "1e3x" << 1000.0;
    QTest::newRow("signed exponent") << "25E-1" << 2.5;
    QTest::newRow("exponent without digits") << "2e+" << 2.0;
    QTest::newRow("point first") << ".5" << 0.5;
    QTest::newRow("point last") << "5." << 5.0;
    QTest::newRow("only a point") << "." << 0.0;
    QTest::newRow("letters") << "abc" << 0.0;
    QTest::newRow("empty") << "" << 0.0;
    QTest::newRow("nan is a word") << "nan" << 0.0;
    QTest::newRow("inf is a word") << "inf" << 0.0;
    QTest::newRow("no hexadecimal") << "0x10" << 0.0;
    QTest::newRow("beyond a double") << "1e999" << infinity;
    QTest::newRow("beyond a double, negative") << "-1e999" << -infinity;
    QTest::newRow("below a double") << "1e-999" << 0.0;
    QTest::newRow("many zeros") << "0e999" << 0.0;
    QTest::newRow("foreign digits") << QString(QChar(0x0665)) << 0.0;
}

void NumbersTest::leadingNumberEndsAtTheFirstMisfit()
{
    QFETCH(QString, text);
    QTEST(leadingNumber(text), "number");
}

void NumbersTest::truncationNeverOverflows()
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

void NumbersTest::generalFormatKeepsFifteenDigits()
{
    // The tests run under a locale with a point.
    QCOMPARE(generalFormat(25.0), QString("25"));
    QCOMPARE(generalFormat(0.09999999999999998), QString("0.1"));
    QCOMPARE(generalFormat(30000.0 / 1001.0), QString("29.97002997003"));
    QCOMPARE(generalFormat(123.45), QString("123.45"));
    QCOMPARE(generalFormat(0.0), QString("0"));
}

QTEST_APPLESS_MAIN(NumbersTest)
#include "numbers_test.moc"
