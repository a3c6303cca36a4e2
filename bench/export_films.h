#pragma once

#include <QString>

/// The path of a film of the export's benchmarks, five minutes of a camera that pans over textures of every size
/// while two things move before it, with a camera's grain, 25 pictures a second: "1080p" and "720p" are H.264 in
/// groups of 250 pictures with B pictures, "avi" is 1080p as MPEG-4 in AVI with the encoder's own groups of 12
/// pictures, "avi_576" such a film of 720 x 576 in groups of 250. "4k" is the first half minute at 3840 x 2160 in
/// H.264. Made once a build, which takes a minute or two.
[[nodiscard]] QString exportFilm(const QString &name);
