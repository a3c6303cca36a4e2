#include "util/film_files.h"

#include "platform/file_name.h"
#include "util/user_error.h"

#include <QDir>

#include <algorithm>

namespace {

QString besideFilm(const QString &filmPath, QLatin1String suffix)
{
    if (!QDir::isAbsolutePath(filmPath))
        throw UserError(QStringLiteral("Неизвестно, в какой папке лежит видео «%1»").arg(filmPath));
    return filmPath + suffix;
}

} // namespace

QString scenesFileOf(const QString &filmPath)
{
    return filmPath + QStringLiteral(".scenes");
}

QString imagesFolderOf(const QString &filmPath)
{
    return besideFilm(filmPath, QLatin1String(".images"));
}

QString gifFileOf(const QString &filmPath, const QString &position, const QString &length)
{
    return imagesFolderOf(filmPath) + QDir::separator() + position + QLatin1Char('_') + length + QStringLiteral(".gif");
}

QString refusalOfGifName(const QString &position, const QString &length)
{
    constexpr QStringView separators = u"/\\";
    const QStringView forbidden = forbiddenInFileNames();
    const auto isForbidden = [&](QChar c) { return c.isNull() || separators.contains(c) || forbidden.contains(c); };
    for (const QString &text : {position, length}) {
        // Half a surrogate pair has no form in a file name.
        if (!text.isValidUtf16() || std::any_of(text.begin(), text.end(), isForbidden))
            return QStringLiteral("«%1» не может быть частью имени файла").arg(text);
    }
    return {};
}

QString databaseFileOf(const QString &filmPath)
{
    return besideFilm(filmPath, QLatin1String(".db"));
}
