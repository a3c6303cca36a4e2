#pragma once

#include <QString>

/// The path of a film of the export's benchmarks, five minutes of a camera that pans over textures of every size
/// while two things move before it, with a camera's grain, 25 pictures a second: "1080p" and "720p" are H.264 in
/// groups of 250 pictures with B pictures, "avi" is MPEG-4 of 720 x 576 in AVI. "4k" is the first half minute at
/// 3840 x 2160. Made once a build, which takes a minute or two.
[[nodiscard]] QString exportFilm(const QString &name);
