#pragma once

#include "film/interruption.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

/// Which picture of a film stands where, told by the packets around a moment, without decoding one.
///
/// All times are presentation times on the film's own clock: `seconds` as the container counts them, or units of the
/// video stream's time base, which `secondsOf` turns into seconds. The clock of a player that moves the film's start
/// to zero differs from it by that start.
///
/// A film's pictures are those that a player following the container's edit list shows, from the first key picture
/// on. Nothing is guessed: what the packets do not tell is not known, and no answer is given. That is so for AVI films
/// with bidirectional pictures and for bare streams, which have no presentation times, for pictures coded as two
/// fields each, and where no key picture is found near a moment.
///
/// The packets last read are remembered: steps from picture to picture read on from them.
class FilmPictures {
public:
    /// Opens a film (a UTF-8 path); null if it is no film with pictures, or its packets tell no times. `interrupted`
    /// is asked during this and every other call: true ends the reading, and the call has no answer.
    [[nodiscard]] static std::unique_ptr<FilmPictures> open(const std::string &path, Interrupted interrupted);
    FilmPictures(const FilmPictures &) = delete;
    FilmPictures &operator=(const FilmPictures &) = delete;
    ~FilmPictures();

    /// Length of a unit of the stream's time base is `numerator / denominator` seconds.
    struct TimeBase {
        int numerator = 1;
        int denominator = 1;
    };
    [[nodiscard]] TimeBase timeBase() const;
    [[nodiscard]] double secondsOf(std::int64_t time) const;
    /// Pictures a second: the stream's average rate, else the rate its times suggest, else 25.
    [[nodiscard]] double frameRate() const;

    /// False for transport and program streams, and where what is marked as a key picture is none: a demuxer that is
    /// sent to a moment begins anywhere before it.
    [[nodiscard]] bool hasIndex() const;

    /// False if a player has to turn, mirror or stretch the pictures: their pixels are not square, or do not lie upright.
    [[nodiscard]] bool areShownAsCoded() const;

    /// The time of the film's first picture: the film's zero.
    [[nodiscard]] std::int64_t first() const;
    /// The time of its last picture. It stands to the end of the film's longest stream.
    [[nodiscard]] std::optional<std::int64_t> last();

    /// By how much the container may have rounded a picture's time (seconds). Containers round to a millisecond at the
    /// coarsest; a coarser time base is exact.
    [[nodiscard]] double rounding() const;

    /// The picture that is on the screen at this moment: the last whose time is at most `rounding` after it; the first
    /// one before them, the last one after them.
    [[nodiscard]] std::optional<std::int64_t> at(double seconds);

    /// A neighbour of a picture.
    struct Neighbour {
        enum class Kind {
            Picture, ///< at `time`
            None,    ///< the film's first picture has none before, its last none after
            Unknown
        };
        Kind kind = Kind::Unknown;
        std::int64_t time = 0;
    };
    /// The picture before, or after, the one at `time`, which need not be one's time itself.
    [[nodiscard]] Neighbour before(std::int64_t time);
    [[nodiscard]] Neighbour after(std::int64_t time);

    /// The key picture that decoding must begin with, at the latest, for a picture to come out right.
    struct GroupBegin {
        std::int64_t shown = 0;   ///< its presentation time, not after the picture's
        std::int64_t decoded = 0; ///< its decoding time, by which demuxers without an index seek; not after `shown`
        /// Seconds before the picture that a demuxer must be sent to, so that this key picture is read whole: its
        /// decoding time and a little more.
        double secondsBefore = 0.0;
    };
    /// For the picture on the screen at `time`.
    [[nodiscard]] std::optional<GroupBegin> groupBegin(std::int64_t time);

private:
    class Body;
    explicit FilmPictures(std::unique_ptr<Body> body);
    [[nodiscard]] std::optional<std::int64_t> pictureAt(std::int64_t time);

    std::unique_ptr<Body> m_body;
};
