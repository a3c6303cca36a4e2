#pragma once

#include "film/film_pictures.h"

#include <QElapsedTimer>
#include <QString>

#include <cstdint>
#include <memory>
#include <optional>
#include <type_traits>

/// Which pictures a film has around a moment, as its packets tell, in the seconds of a player's clock. A question reads
/// a little of the film's file and waits for its disk as DiskWait does; after one that reads for too long nothing is
/// known any more.
class KnownPictures {
public:
    ~KnownPictures();
    KnownPictures(const KnownPictures &) = delete;
    KnownPictures &operator=(const KnownPictures &) = delete;

    /// Null if the film's packets tell no times. The player's zero is the container's time `playerZero`.
    [[nodiscard]] static std::unique_ptr<KnownPictures> open(const QString &path, double playerZero);

    [[nodiscard]] double first() const { return secondsOf(m_pictures->first()); }
    [[nodiscard]] double frameRate() const { return m_pictures->frameRate(); }
    [[nodiscard]] bool hasIndex() const { return m_pictures->hasIndex(); }
    [[nodiscard]] bool areShownAsCoded() const { return m_pictures->areShownAsCoded(); }

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
    explicit KnownPictures(double playerZero) : m_playerZero(playerZero) {}
    /// What the film's packets answer; an empty answer once they are not asked any more.
    template <typename Question>
    [[nodiscard]] std::invoke_result_t<Question> ask(Question question);
    [[nodiscard]] bool readsTooLong();
    [[nodiscard]] double secondsOf(std::int64_t time) const { return m_pictures->secondsOf(time) - m_playerZero; }
    [[nodiscard]] std::int64_t timeOf(double seconds) const;
    [[nodiscard]] Neighbour toSeconds(FilmPictures::Neighbour neighbour) const;

    double m_playerZero;
    QElapsedTimer m_sinceRead;     ///< since the question was asked or has read something
    qint64 m_readMilliseconds = 0; ///< for the question
    bool m_isSlow = false;         ///< a question has read for too long
    std::unique_ptr<FilmPictures> m_pictures;
};
