#include "util/numbers.h"

#include <QLocale>

#include <cmath>
#include <limits>

namespace {

bool isDigit(QChar c)
{
    return c >= QLatin1Char('0') && c <= QLatin1Char('9');
}

bool isBlank(QChar c)
{
    return c == QLatin1Char(' ') || (c >= QLatin1Char('\t') && c <= QLatin1Char('\r'));
}

} // namespace

double leadingNumber(QStringView text)
{
    const qsizetype size = text.size();
    qsizetype i = 0;
    while (i < size && isBlank(text[i]))
        ++i;
    const bool negative = i < size && text[i] == QLatin1Char('-');
    if (i < size && (negative || text[i] == QLatin1Char('+')))
        ++i;
    const qsizetype start = i;
    const auto takeDigits = [&] {
        const qsizetype first = i;
        while (i < size && isDigit(text[i]))
            ++i;
        return i - first;
    };
    qsizetype digits = takeDigits();
    if (i < size && text[i] == QLatin1Char('.')) {
        ++i;
        digits += takeDigits();
    }
    if (digits == 0)
        return 0.0;

    if (i < size && (text[i] == QLatin1Char('e') || text[i] == QLatin1Char('E'))) {
        qsizetype exponent = i + 1;
        if (exponent < size && (text[exponent] == QLatin1Char('-') || text[exponent] == QLatin1Char('+')))
            ++exponent;
        if (exponent < size && isDigit(text[exponent])) {
            i = exponent;
            takeDigits();
        }
    }
    // Beyond a double this gives an infinity or 0.
    const double value = QLocale::c().toDouble(text.sliced(start, i - start));
    return negative ? -value : value;
}

QString generalFormat(double value)
{
    constexpr int significantDigits = 15;
    QString text = QString::number(value, 'g', significantDigits);
    const QString separator = QLocale::system().decimalPoint();
    return text.replace(QLatin1Char('.'), separator);
}
