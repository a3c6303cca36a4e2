#pragma once

#include <QByteArray>
#include <QImage>
#include <QSize>
#include <QString>

#include <vector>

/// One picture of a GIF as the file's blocks tell it.
struct GifFrame {
    QRect place;
    /// Hundredths of a second; -1 without a graphic control extension.
    int delay = -1;
    int disposal = 0;
    /// Colours of the frame's own palette; 0 if it has none.
    int colors = 0;
    bool transparency = false;
    /// The loop count of a looping extension before the frame; -1 if there is none.
    int loops = -1;
};

struct GifStructure {
    QByteArray version;
    QSize screen;
    std::vector<GifFrame> frames;
    /// The file is complete and has nothing behind its end.
    bool whole = false;
};

/// What the blocks of a GIF file say, read block by block.
[[nodiscard]] GifStructure gifStructure(const QByteArray &file);

/// The pictures of a GIF as a viewer shows them, decoded by the ffmpeg program. Fails the test if it reports an error.
[[nodiscard]] std::vector<QImage> gifPictures(const QString &file);
