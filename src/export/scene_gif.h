#pragma once

#include <QString>

#include <functional>

class FRAME_READER;

/// The length, in seconds, beyond which no scene becomes a GIF: a day.
constexpr double longestScene = 24.0 * 60 * 60;

/// The pictures of the GIF of a scene from `start` on, at most `longestScene` long (seconds): one for each second that
/// the scene begins. None where the length is no more than 0, or too little to be told from 0 that far from the start.
[[nodiscard]] int picturesOfScene(double start, double length);

/// Called before each picture of a scene is made, with its number, from 1, and the number of all.
using PictureProgress = std::function<void(int picture, int pictures)>;

/// Writes the GIF of the scene from `start` on, `length` long (seconds), of the film that `reader` has open: one
/// picture for each second that the scene begins, the one at that moment, cut to the square at the top left and
/// scaled. `file` is replaced wholly or not at all. False if the reader's pictures could not be taken; the file is
/// what it was then. Throws UserError if the file cannot be written, the scene is longer than a day, or the reader
/// has ended.
[[nodiscard]] bool writeSceneGif(FRAME_READER &reader, const QString &file, double start, double length,
                                 const PictureProgress &progress);

/// Throws the UserError of a GIF that cannot be saved, with its file and the reason.
[[noreturn]] void throwSaveError(const QString &file, const QString &reason);
