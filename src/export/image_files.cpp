#include "export/image_files.h"

#include <QDir>

#include <algorithm>

QString imagesFolderOf(const QString &videoPath)
{
    return videoPath + QStringLiteral(".images");
}

QString gifFileOf(const QString &videoPath, const QString &position, const QString &length)
{
    return imagesFolderOf(videoPath) + QDir::separator() + position + QLatin1Char('_') + length
           + QStringLiteral(".gif");
}

QString refusalOfGifName(const QString &position, const QString &length)
{
    if (position.isEmpty() && length.isEmpty())
        return QStringLiteral("у сцены нет ни начала, ни продолжительности, по которым он называется");
    // A colon names a drive or a stream of another file.
    constexpr QStringView forbidden = u"/\\:";
    const auto isForbidden = [&](QChar c) { return c.isNull() || forbidden.contains(c); };
    for (const QString &text : {position, length}) {
        if (std::any_of(text.begin(), text.end(), isForbidden))
            return QStringLiteral("«%1» не может быть частью имени файла").arg(text);
    }
    return {};
}

QString databaseFileOf(const QString &videoPath)
{
    return videoPath + QStringLiteral(".db");
}
