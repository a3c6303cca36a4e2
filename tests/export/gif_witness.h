#pragma once

#include <QFile>
#include <QImage>
#include <QImageReader>

#include <vector>

/// The pictures of a GIF as a viewer shows them. Fails the test if the file is damaged or not complete.
[[nodiscard]] inline std::vector<QImage> gifPictures(const QString &name)
{
    QFile file(name);
    if (!file.open(QIODevice::ReadOnly) || !file.readAll().endsWith(';'))
        qFatal("%s is no complete GIF", qPrintable(name));
    QImageReader reader(name, "gif");
    std::vector<QImage> pictures;
    for (int count = reader.imageCount(); count > 0; --count) {
        pictures.push_back(reader.read());
        if (pictures.back().isNull())
            qFatal("%s: %s", qPrintable(name), qPrintable(reader.errorString()));
    }
    return pictures;
}
