#pragma once

#include <QString>

// Where the exports of a video lie: beside it, named after it. All throw UserError for a video path that is not absolute,
// since the folder that the program was started in is nobody's place for exports.

/// The folder with the GIFs of the video's scenes.
[[nodiscard]] QString imagesFolderOf(const QString &videoPath);

/// The GIF of the scene with these texts, in the images folder.
[[nodiscard]] QString gifFileOf(const QString &videoPath, const QString &position, const QString &length);

/// Why these texts of a scene make no plain file name, in Russian, to follow a colon; empty if they do. A plain name
/// cannot lead out of its folder.
[[nodiscard]] QString refusalOfGifName(const QString &position, const QString &length);

/// The database of the video's scenes.
[[nodiscard]] QString databaseFileOf(const QString &videoPath);
