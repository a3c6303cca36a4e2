#pragma once

#include "film/film_pictures.h"

#include <QElapsedTimer>
#include <QString>

#include <cstdint>
#include <memory>
#include <optional>

/// Which pictures a film has around a moment, as its packets tell, in the core's seconds. A question reads a little of
/// the film's file; after one that takes too long, as on a disk that hangs, nothing is known any more.
class KnownPictures {
public:
    /// Null if the film's packets tell no times. The core's zero is the container's time `coreZero`.
    [[nodiscard]] static std::unique_ptr<KnownPictures> open(const QString &path, double coreZero);

    [[nodiscard]] double first() const { return secondsOf(m_pictures->first()); }
    [[nodiscard]] double frameRate() const { return m_pictures->frameRate(); }
    [[nodiscard]] bool hasIndex() const { return m_pictures->hasIndex(); }

    /// The picture that is on the screen at this moment.
    [[nodiscard]] std::optional<double> at(double seconds);

    /// A neighbour of a picture: where it is, or that there is none.
    struct Neighbour {
        bool isKnown = false;
        std::optional<double> picture;
    };
    [[nodiscard]] Neighbour before(double picture);
    [[nodiscard]] Neighbour after(double picture);

    /// How much before a picture a demuxer must start, for the picture to come out right.
    [[nodiscard]] std::optional<double> groupSeconds(double picture);

private:
    explicit KnownPictures(double coreZero) : m_coreZero(coreZero) {}
    [[nodiscard]] bool mayAsk();
    [[nodiscard]] double secondsOf(std::int64_t time) const { return m_pictures->secondsOf(time) - m_coreZero; }
    [[nodiscard]] std::int64_t timeOf(double seconds) const;
    [[nodiscard]] Neighbour toSeconds(FilmPictures::Neighbour neighbour) const;

    double m_coreZero;
    QElapsedTimer m_asked; ///< since the last question
    bool m_isSlow = false; ///< a question took too long
    std::unique_ptr<FilmPictures> m_pictures;
};
