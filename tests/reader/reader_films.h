#pragma once

#include "films/film_maker.h"
#include "reader/film.h"

#include <QImage>

/// A film that the frame reader is tried on.
struct ReaderFilm {
    FilmSpec made;           ///< as it comes from the encoder
    bool gaps = false;       ///< pictures are missing: an index means a moment, not a number
    int madeUp = 0;          ///< pictures that a decoder makes up before the film's first key picture
    bool anamorphic = false; ///< pixels are not square: pictures are stretched
};

/// Small films of every codec, container and kind of pixels that the reader is exact on.
[[nodiscard]] const std::vector<ReaderFilm> &readerFilms();

/// The path of the one whose file is called so, made now if the build has it not yet. Throws std::runtime_error.
[[nodiscard]] QString readerFilm(const QString &file);

/// A picture as the ffmpeg program gives it when it decodes a film from its beginning to its end.
struct WitnessedPicture {
    QByteArray hash;      ///< of its pixels in the reader's format
    double seconds = 0.0; ///< after the first picture
};
/// All of a film's pictures, in a size if one is given, and converted in the slow way then.
[[nodiscard]] std::vector<WitnessedPicture> witnessedPictures(const QString &path, QSize slowlyTo = {});

/// A picture in the reader's format.
[[nodiscard]] QImage pictureOf(std::span<const std::byte> pixels, int width, int height);
/// The hash used above, of such a picture.
[[nodiscard]] QByteArray pictureHash(const QImage &picture);

/// What the reader gives; a null picture if it does not answer.
[[nodiscard]] QImage readPicture(Film &film, std::int64_t index);

/// For what is not to be interrupted.
inline bool never()
{
    return false;
}
