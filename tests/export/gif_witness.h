#pragma once

#include <QBuffer>
#include <QImage>
#include <QImageReader>

#include <vector>

/// The pictures of a GIF as a viewer shows them. Fails the test if it is damaged or not complete.
[[nodiscard]] inline std::vector<QImage> gifPictures(QByteArray gif)
{
    if (!gif.endsWith(';'))
        qFatal("no complete GIF");
    QBuffer file(&gif);
    QImageReader reader(&file, "gif");
    std::vector<QImage> pictures;
    for (int count = reader.imageCount(); count > 0; --count) {
        pictures.push_back(reader.read());
        if (pictures.back().isNull())
            qFatal("%s", qPrintable(reader.errorString()));
    }
    return pictures;
}
