#include "scenes/cell_text.h"

#include <algorithm>

namespace {

/// Whether the code unit at `index` is a character, or part of one, that a cell may hold; line ends are not.
bool isKept(QStringView text, qsizetype index)
{
    const QChar c = text[index];
    if (c.isHighSurrogate())
        return index + 1 < text.size() && text[index + 1].isLowSurrogate();
    if (c.isLowSurrogate())
        return index > 0 && text[index - 1].isHighSurrogate();
    const char16_t unit = c.unicode();
    const bool control = unit < 0x20 || (unit >= 0x7F && unit < 0xA0);
    return (!control || unit == '\t') && unit < 0xFFFE;
}

QString cleaned(const QString &text, bool withLineEnds)
{
    // Most texts have nothing to clean and stay shared.
    qsizetype first = 0;
    while (first < text.size() && isKept(text, first))
        ++first;
    if (first == text.size())
        return text;

    QString clean = text.left(first);
    for (qsizetype i = first; i < text.size(); ++i) {
        const QChar c = text[i];
        if (isKept(text, i) || (withLineEnds && c == QLatin1Char('\n')))
            clean += c;
        else if (!withLineEnds || c != QLatin1Char('\r'))
            clean += QLatin1Char(' ');
        else if (i + 1 == text.size() || text[i + 1] != QLatin1Char('\n'))
            clean += QLatin1Char('\n');
    }
    return clean;
}

} // namespace

QString asCellText(const QString &text)
{
    return cleaned(text, true);
}

QString asSingleLine(const QString &text)
{
    return cleaned(text, false);
}

QString whatIsLost(QStringView text)
{
    if (text == QLatin1String("0"))
        return QStringLiteral("один знак «0», который читается как пустой текст");
    for (qsizetype i = 0; i < text.size(); ++i) {
        const QChar c = text[i];
        if (c == QLatin1Char('&') || c == QLatin1Char('<'))
            return QStringLiteral("знак «%1»").arg(c);
        if (c == QLatin1Char('>') && text.first(i).endsWith(QLatin1String("]]")))
            return QStringLiteral("знаки «]]>»");
        if (c != QLatin1Char('\n') && !isKept(text, i))
            return QStringLiteral("знак с кодом %1").arg(c.unicode(), 4, 16, QLatin1Char('0'));
    }
    return {};
}
