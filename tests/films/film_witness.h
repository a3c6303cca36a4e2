#pragma once

#include <QImage>

#include <optional>
#include <vector>

/// The frame number (from 0) that a picture of a film painted by paint_film carries, or nothing when the picture
/// is no such picture, or a mixture of two. The picture may be of any size from some 100 pixels wide, upright,
/// and may lie between black borders; a picture turned or mirrored is not read.
[[nodiscard]] std::optional<int> paintedFrameNumber(const QImage &picture);

/// A picture of a film as the ffmpeg programs give it when they decode the film from its beginning to its end.
struct DecodedPicture {
    double seconds = 0.0; ///< after the first one
    int number = -1;      ///< that is painted into it; -1 if none can be read
};
/// All of a film's pictures; of one that begins in a group, those from its first key picture on: what is before, decoders
/// make up. Throws std::runtime_error.
[[nodiscard]] std::vector<DecodedPicture> decodedPictures(const QString &path, bool beginsInGroup = false);
