#include "scenes/type_list.h"

#include "util/text_routines.h"

namespace {

const QLatin1Char tab('\t');

bool hasTabAt(const QString &line, qsizetype index)
{
    return line.size() > index && line[index] == tab;
}

} // namespace

QStringList linesOf(const QString &text)
{
    QStringList lines;
    qsizetype start = 0;
    for (qsizetype i = 0; i < text.size(); ++i) {
        const QChar c = text[i];
        if (c != QLatin1Char('\n') && c != QLatin1Char('\r'))
            continue;
        lines += text.mid(start, i - start);
        if (c == QLatin1Char('\r') && i + 1 < text.size() && text[i + 1] == QLatin1Char('\n'))
            ++i;
        start = i + 1;
    }
    if (start < text.size())
        lines += text.mid(start);
    return lines;
}

QString typeListText(const QByteArray &file)
{
    constexpr QByteArrayView byteOrderMark("\xEF\xBB\xBF");
    return QString::fromUtf8(QByteArrayView(file).sliced(file.startsWith(byteOrderMark) ? byteOrderMark.size() : 0));
}

QStringList typesIn(const QStringList &lines)
{
    QStringList types;
    for (const QString &line : lines) {
        if (!line.isEmpty() && !hasTabAt(line, 0))
            types += line;
    }
    return types;
}

QStringList subtypesOf(const QString &type, const QStringList &lines)
{
    QStringList subtypes;
    const qsizetype found = lines.indexOf(type);
    for (qsizetype i = found + 1; found >= 0 && i < lines.size() && hasTabAt(lines[i], 0); ++i) {
        if (hasTabAt(lines[i], 1))
            continue;
        const QString subtype = str_replace(QStringLiteral("\t"), QString(), lines[i]);
        if (!subtype.isEmpty())
            subtypes += subtype;
    }
    return subtypes;
}

QStringList lasttypesOf(const QString &subtype, const QStringList &lines)
{
    QStringList lasttypes;
    const qsizetype found = lines.indexOf(tab + subtype);
    for (qsizetype i = found + 1; found >= 0 && i < lines.size(); ++i) {
        if (!hasTabAt(lines[i], 0) || !hasTabAt(lines[i], 1))
            break;
        const QString lasttype = str_replace(QStringLiteral("\t\t"), QString(), lines[i]);
        if (!lasttype.isEmpty())
            lasttypes += lasttype;
    }
    return lasttypes;
}
