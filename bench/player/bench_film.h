#pragma once

#include <QString>

/// Pictures of the benchmark film, and their rate.
constexpr int benchFilmPictures = 1500;
constexpr double benchFilmRate = 25.0;

/// The size that the main window shows a 16:9 film in when it opens on a large screen (pixels).
constexpr int benchPictureWidth = 1214;
constexpr int benchPictureHeight = 682;

/// The path of the film that everything is measured on: a minute of 1920 x 1080 H.264 in groups of 250 pictures
/// with B pictures, grainy like a camera's, with a tone; each picture carries its number. Made once a build.
[[nodiscard]] QString benchFilm();
