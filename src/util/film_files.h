#pragma once

#include <QString>

// Where what belongs to a film lies: beside it, named after it. All but `scenesFileOf` throw UserError for a film's path
// that is not absolute, since the folder that the program was started in is nobody's place for exports.

/// The file of the film's scene list.
[[nodiscard]] QString scenesFileOf(const QString &filmPath);

/// The folder with the GIFs of the film's scenes.
[[nodiscard]] QString imagesFolderOf(const QString &filmPath);

/// The GIF of the scene with these texts, in the images folder.
[[nodiscard]] QString gifFileOf(const QString &filmPath, const QString &position, const QString &length);

/// Why these texts of a scene make no plain file name, in Russian, to follow a colon; empty if they do. A plain name
/// cannot lead out of its folder.
[[nodiscard]] QString refusalOfGifName(const QString &position, const QString &length);

/// The database of the film's scenes.
[[nodiscard]] QString databaseFileOf(const QString &filmPath);
