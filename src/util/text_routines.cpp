#include "util/text_routines.h"

QString str_replace(const QString &searched, const QString &replacement, const QString &subject)
{
    if (searched.isEmpty())
        return subject;
    QString result = subject;
    return result.replace(searched, replacement, Qt::CaseSensitive);
}

QString getFieldFromString(int index, const QString &source, const QString &delimiter)
{
    if (index < 0 || source.isEmpty() || delimiter.isEmpty())
        return {};
    if (index == 0) {
        if (source.startsWith(delimiter))
            return {};
        return source.left(source.indexOf(delimiter, delimiter.size()));
    }
    qsizetype found = source.indexOf(delimiter);
    for (int k = 1; k < index && found >= 0; ++k)
        found = source.indexOf(delimiter, found + 1);
    if (found < 0)
        return {};
    const qsizetype start = found + delimiter.size();
    // The next occurrence may overlap the one that opens this field, which then is empty.
    const qsizetype end = source.indexOf(delimiter, found + 1);
    return end < 0 ? source.mid(start) : source.mid(start, qMax<qsizetype>(0, end - start));
}

QString get_file_name(const QString &path)
{
    const qsizetype separator = qMax(path.lastIndexOf(QLatin1Char('\\')), path.lastIndexOf(QLatin1Char('/')));
    return path.mid(separator + 1);
}
