#pragma once

#include <QSize>
#include <QString>
#include <QStringList>

#include <vector>

/// A test film: pictures painted by paint_film, or by a filter graph of its own, a tone of 440 Hz, encoded by the
/// ffmpeg program.
struct FilmSpec {
    QString file;               ///< file name; the suffix chooses the container
    QSize size{320, 180};       ///< of the picture as it is shown, in pixels
    int frames = 420;           ///< numbered 0 .. frames - 1
    QString rate = "25/1";      ///< frames per second, a fraction
    QStringList video;          ///< ffmpeg's output arguments for the picture: codec, group, filters
    QStringList audio = {};     ///< ffmpeg's output arguments for the tone; empty for a film without sound
    QStringList container = {}; ///< further output arguments
    int rotation = 0;           ///< 0 or 90: clockwise degrees by which the display matrix turns the coded picture
    bool constantRate = true;   ///< false if the filters give the pictures their own times
    QString graph = {};         ///< ffmpeg's filter graph that paints instead of paint_film, ending in [picture]
    double copiedFrom = 0.0;    ///< if not 0, what was made is copied from these seconds on, without decoding
    qint64 cutBytes = 0;        ///< bytes then cut off the file's beginning
    /// Duration and begin of each edit, in the units of the container's own list, which they replace.
    QList<QPair<int, int>> edits = {};
};

/// The films that frame exactness is proved on: every container and codec that people bring, each with 420
/// pictures. One table row a film; the file names are unique.
[[nodiscard]] const std::vector<FilmSpec> &standardFilms();

/// What describes a standard film by its file name; it must be one of them.
[[nodiscard]] const FilmSpec &standardFilm(const QString &file);

/// The path of the film, which is made now unless the build's film folder already holds it, made by the same
/// recipe. Tests that run at the same time share the folder safely. Throws std::runtime_error.
[[nodiscard]] QString makeFilm(const FilmSpec &spec);

/// A film of which only what begins at these seconds was copied, and one that has lost its first bytes.
[[nodiscard]] FilmSpec copied(FilmSpec film, double seconds);
[[nodiscard]] FilmSpec cut(FilmSpec film, qint64 bytes);

/// A file's bytes. Throw std::runtime_error.
[[nodiscard]] QByteArray contentOf(const QString &path);
void writeFile(const QString &path, const QByteArray &content);

/// What a program that ends well writes to its standard output. Throws std::runtime_error with the program's own words.
[[nodiscard]] QByteArray outputOf(const QString &program, const QStringList &arguments);
