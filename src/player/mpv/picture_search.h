#pragma once

#include "player/graph.h"

#include <optional>

/// What is known of the film's pictures. Times are the core's, in seconds.
struct FilmTimes {
    double first = 0.0;              ///< of the first picture
    double end = 0.0;                ///< of the end of the film
    double frame = 0.0;              ///< average distance of two pictures; 0 for a film without pictures
    std::optional<double> last = {}; ///< of the last picture, once somebody got there
};

/// A picture whose time is known before it is looked for. Times are the core's, in seconds.
struct KnownPicture {
    double seconds = 0.0;
    double groupSeconds = 0.0; ///< how much before it a demuxer must start for it to come out right
    bool isIndexed = true;     ///< a demuxer that is sent to it starts there by itself
};

/// What the player core is to do next.
struct SearchCommand {
    enum Kind { Done, Seek, StepForward, StepBack };
    Kind kind = Done;
    double seconds = 0.0;       ///< of a seek: its target
    double demuxerOffset = 0.0; ///< of a seek: how much earlier the demuxer starts
    bool isOfSound = false;     ///< no picture is drawn for it
};

/// The way from the picture on the screen to the one that is asked for, proven by picture times.
///
/// A picture whose time is known is there when the core tells that time. A seek to it starts at its group, and earlier
/// and earlier until it lands there. What the core never shows, such as a damaged picture, has the next one stand for
/// it. Where nothing is known:
///
///  1. The next picture is one step, the previous one a step back; while paused, a time a few pictures ahead is
///     stepped to as well, since that decodes those pictures only.
///  2. Everything else is an exact seek, which shows the first picture that starts at most `seekTolerance` before
///     the time asked for.
///  3. A seek that lands late, as in transport and program streams, is repeated with the demuxer starting
///     earlier, until it lands right, or until it lands on the same picture again though the demuxer started
///     earlier by more than the landing was late: that picture follows a gap.
///  4. A seek that runs into the end of the film, where the core tells no picture's time, is repeated further
///     back; from there the pictures are stepped through to the one asked for or to the last.
///  5. A step back that lands nowhere before, or suspiciously far, is proven: from a seek before it the pictures
///     are stepped through up to the one that was shown, and the last one before that is sought.
///  6. While paused, a picture that starts after the time asked for gives way to the one before it.
///
/// Sound alone, of a film without pictures or after the last one, is sought to its time. A film's last picture has to
/// come with it: a core that is left without one looks for it at the film's end, and plays on from there. So such a
/// seek is repeated, too, with the demuxer starting earlier.
class PictureSearch {
public:
    /// How much before the time asked for a picture may start and still be the one that is meant (seconds): more
    /// than containers round times by, less than the distance of two pictures.
    static constexpr double seekTolerance = 0.0025;

    /// The core's seconds for a known picture are that picture's, give or take this much.
    static constexpr double knownTolerance = 0.0004;

    /// From the picture at `shown` to `goal`; `target` is the time asked for. `paused` allows stepping. `known` is the
    /// picture that is meant, where that is known.
    PictureSearch(const FilmTimes &film, double shown, double target, SeekTo goal, bool paused,
                  std::optional<KnownPicture> known = {});

    /// The first command.
    [[nodiscard]] SearchCommand start();

    /// The next command after the one before has landed on the picture at `here`, or at the end of the film,
    /// where `here` means nothing. `hasPicture` is false if it is known that no picture has come with it.
    [[nodiscard]] SearchCommand landed(double here, bool atEnd, bool hasPicture = true);

    /// Time of the picture that is on the screen when the search is done.
    [[nodiscard]] double shown() const { return m_shown; }

    /// Time of the film's last picture, if the search got there.
    [[nodiscard]] std::optional<double> last() const { return m_film.last; }

private:
    enum class Phase {
        Seeking,
        Stepping,
        SteppingBack,
        SeekingBefore,
        SteppingUp,
        SeekingKnown,
        SteppingKnown,
        SeekingSound
    };

    [[nodiscard]] SearchCommand seek(double seconds);
    [[nodiscard]] SearchCommand seekTarget();
    [[nodiscard]] SearchCommand step();
    [[nodiscard]] SearchCommand seekLanded(double here, bool atEnd);
    [[nodiscard]] SearchCommand stepLanded(double here, bool atEnd);
    [[nodiscard]] SearchCommand seekBefore();
    [[nodiscard]] SearchCommand settle();
    [[nodiscard]] SearchCommand startKnown();
    [[nodiscard]] SearchCommand seekKnown();
    [[nodiscard]] SearchCommand stepKnown();
    [[nodiscard]] double groupOffset() const;
    [[nodiscard]] SearchCommand knownLanded(double here, bool atEnd, bool hasPicture);
    [[nodiscard]] SearchCommand seekSound();
    [[nodiscard]] SearchCommand soundLanded(bool hasPicture);

    FilmTimes m_film;
    double m_shown;
    double m_target;
    SeekTo m_goal;
    bool m_paused;
    std::optional<KnownPicture> m_known;

    Phase m_phase = Phase::Seeking;
    double m_demuxerOffset = 0.0;
    std::optional<double> m_lateLanding;
    double m_back = 0.0;      ///< how far before its target the last seek went
    double m_origin;          ///< the picture whose predecessor is looked for
    double m_reached;         ///< where the last command landed
    double m_candidate = 0.0; ///< the latest picture seen before it
    double m_moment;          ///< which the picture must not start after
    int m_seeks = 0;          ///< to the known picture, so far
    int m_steps = 0;          ///< to the known picture, so far
};
