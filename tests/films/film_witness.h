#pragma once

#include <QImage>

#include <optional>

/// The frame number (from 0) that a picture of a film painted by paint_film carries, or nothing when the picture
/// is no such picture, or a mixture of two. The picture may be of any size from some 100 pixels wide, upright,
/// and may lie between black borders; a picture turned or mirrored is not read.
[[nodiscard]] std::optional<int> paintedFrameNumber(const QImage &picture);
