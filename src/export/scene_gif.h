#pragma once

#include <QString>

class FRAME_READER;

/// Writes the GIF of the scene from `start` on, `length` long (seconds), of the film that `reader` has open: one
/// picture for each second that the scene begins, the frame at that moment, cut to the square at the top left and
/// scaled. `file` is replaced wholly or not at all. False if the reader's frames could not be taken; the file is
/// what it was then. Throws UserError if the file cannot be written, the scene is longer than a day, or the reader
/// has ended.
[[nodiscard]] bool writeSceneGif(FRAME_READER &reader, const QString &file, double start, double length);

/// Throws the UserError of a GIF that cannot be saved, with its file and the reason.
[[noreturn]] void throwSaveError(const QString &file, const QString &reason);
