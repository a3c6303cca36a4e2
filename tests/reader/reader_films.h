#pragma once

#include "films/film_maker.h"

#include <QByteArray>
#include <QString>

#include <vector>

/// A film that the frame reader is tried on.
struct ReaderFilm {
    FilmSpec made;            ///< as it comes from the encoder
    QStringList copied = {};  ///< ffmpeg's arguments for a copy of it from later on, which is the film then
    qint64 cutBytes = 0;      ///< bytes cut off the film's beginning
    bool gaps = false;        ///< pictures are missing: an index means a moment, not a number
    int knownWrong = 0;       ///< indices that are known to give another picture
    bool anamorphic = false;  ///< pixels are not square: pictures are stretched
};

/// Small films of every codec, container and kind of pixels that the reader is exact on.
[[nodiscard]] const std::vector<ReaderFilm> &readerFilms();

/// The film's path; made now if the build has it not yet. Throws std::runtime_error.
[[nodiscard]] QString makeReaderFilm(const ReaderFilm &film);

/// A picture as the ffmpeg program gives it when it decodes a film from its beginning to its end.
struct WitnessedPicture {
    QByteArray hash;      ///< of its pixels in the reader's format
    double seconds = 0.0; ///< after the first picture
};
/// All of a film's pictures, in a size if one is given, and converted in the slow way then.
[[nodiscard]] std::vector<WitnessedPicture> witnessedPictures(const QString &path, QSize slowlyTo = {});

/// The hash used above.
[[nodiscard]] QByteArray pictureHash(const char *pixels, qsizetype bytes);
