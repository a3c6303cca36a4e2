#include "export/image_files.h"

#include "util/user_error.h"

#include <QDir>

#include <algorithm>

namespace {

QString besideVideo(const QString &videoPath, QLatin1String suffix)
{
    if (!QDir::isAbsolutePath(videoPath))
        throw UserError(QStringLiteral("Неизвестно, в какой папке лежит видео «%1»").arg(videoPath));
    return videoPath + suffix;
}

} // namespace

QString imagesFolderOf(const QString &videoPath)
{
    return besideVideo(videoPath, QLatin1String(".images"));
}

QString gifFileOf(const QString &videoPath, const QString &position, const QString &length)
{
    return imagesFolderOf(videoPath) + QDir::separator() + position + QLatin1Char('_') + length
           + QStringLiteral(".gif");
}

QString refusalOfGifName(const QString &position, const QString &length)
{
    // A colon names a drive or a stream of another file.
    constexpr QStringView forbidden = u"/\\:";
    const auto isForbidden = [&](QChar c) { return c.isNull() || forbidden.contains(c); };
    for (const QString &text : {position, length}) {
        // Half a surrogate pair has no form in a file name.
        if (!text.isValidUtf16() || std::any_of(text.begin(), text.end(), isForbidden))
            return QStringLiteral("«%1» не может быть частью имени файла").arg(text);
    }
    return {};
}

QString databaseFileOf(const QString &videoPath)
{
    return besideVideo(videoPath, QLatin1String(".db"));
}
