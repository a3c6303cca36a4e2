#pragma once

#include "util/truncation.h"

#include <cmath>
#include <cstdint>
#include <initializer_list>
#include <limits>

// Moments of a film, and the pictures that they name. Free of Qt: the player, the scenes, the exports and the frame
// reader count by the same arithmetic.

/// Media time: a count of 100-nanosecond units from the film's first picture on.
using MediaTime = std::int64_t;

constexpr MediaTime unitsPerSecond = 10'000'000;

/// The moment that many seconds after the first one, truncated toward zero; beyond 64 bits the outermost one.
[[nodiscard]] inline MediaTime mediaTimeAt(double seconds)
{
    return truncatedToInt64(seconds * static_cast<double>(unitsPerSecond));
}

[[nodiscard]] inline double secondsOf(MediaTime time)
{
    return static_cast<double>(time) / static_cast<double>(unitsPerSecond);
}

/// Whole seconds of `time`, which wrap around beyond 32 bits.
[[nodiscard]] inline std::int32_t wholeSeconds(MediaTime time)
{
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(time / unitsPerSecond));
}

/// Whole hundredths of a second of `time`, which is how scenes are marked; they wrap around beyond 32 bits.
[[nodiscard]] inline std::int32_t wholeHundredths(MediaTime time)
{
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(time / (unitsPerSecond / 100)));
}

/// The number, from 0, of the picture that `time` names at this rate: their product, truncated.
[[nodiscard]] inline std::int64_t frameNumber(MediaTime time, double framesPerSecond)
{
    return truncatedToInt64(static_cast<double>(time) * framesPerSecond / static_cast<double>(unitsPerSecond));
}

/// The index of the picture that a scene of these seconds asks a film of this rate for: their product, truncated.
[[nodiscard]] inline std::int64_t frameIndex(double seconds, double framesPerSecond)
{
    return truncatedToInt64(framesPerSecond * seconds);
}

/// By how much the rounding of times in a container, down to whole milliseconds, can move a picture (seconds), and a
/// little more than a double's own noise.
constexpr double containerRounding = 1.0001e-3;

/// How much later than a moment a picture may start and still be the one that the moment means (seconds): a container
/// that rounds to the nearest millisecond moves a picture's start by half of one behind the moment that its number
/// and the rate give.
constexpr double momentTolerance = 0.6e-3;

namespace detail {

/// `seconds` as media time, rounded up; a double's own noise, far below a unit, rounds no whole number of units up.
[[nodiscard]] inline MediaTime roundedUp(double seconds)
{
    constexpr double noise = 1e-3;
    return static_cast<MediaTime>(std::ceil(seconds * static_cast<double>(unitsPerSecond) - noise));
}

/// The first moment whose frame number names the picture that starts at `seconds`: that start, rounded up, or up to
/// `containerRounding` later where rounding lets it name the picture before.
[[nodiscard]] inline MediaTime firstNamingMoment(double seconds, double framesPerSecond)
{
    const MediaTime start = roundedUp(seconds);
    const double frame = std::round(seconds * framesPerSecond);
    const auto names = [&](MediaTime time) { return static_cast<double>(frameNumber(time, framesPerSecond)) >= frame; };
    if (names(start) || frame / framesPerSecond - seconds > containerRounding)
        return start;
    const MediaTime named = roundedUp(frame / framesPerSecond);
    return names(named) ? named : named + 1;
}

} // namespace detail

/// The moment that stands for the picture that is shown from `seconds` to `until` (from the film's first picture): the
/// first one in that time whose frame number names the picture, and whose whole hundredths still do when they are
/// written down as a scene's start and read back as a number. That is the picture's own time where it holds, else a
/// whole hundredth of a second; there is one up to 90 pictures a second that are equally long. Among uneven ones the
/// first whole hundredth at which the picture is shown is given, or its own time where there is none.
/// A seek to what was written, give or take `momentTolerance`, finds the picture too.
/// Times below zero give 0.
[[nodiscard]] inline MediaTime pictureMediaTime(double seconds, double framesPerSecond,
                                                double until = std::numeric_limits<double>::infinity())
{
    if (!(seconds > 0.0))
        return 0;
    if (!(framesPerSecond > 0.0) || !std::isfinite(framesPerSecond))
        return detail::roundedUp(seconds);
    const MediaTime own = detail::firstNamingMoment(seconds, framesPerSecond);
    const std::int64_t number = frameNumber(own, framesPerSecond);
    constexpr MediaTime hundredth = unitsPerSecond / 100;
    const auto isShownAt = [&](std::int64_t hundredths) {
        const double written = static_cast<double>(hundredths) / 100.0;
        return written >= seconds - momentTolerance && written < until - momentTolerance;
    };
    const auto isNamedBy = [&](std::int64_t hundredths) {
        return isShownAt(hundredths) && frameIndex(static_cast<double>(hundredths) / 100.0, framesPerSecond) == number
               && frameNumber(hundredths * hundredth, framesPerSecond) == number;
    };
    const std::int64_t cut = own / hundredth;
    if (isNamedBy(cut))
        return own;
    // The product of a whole hundredth and the rate may fall short of the picture's number by a double's noise.
    for (const std::int64_t later : {cut + 1, cut + 2}) {
        if (isNamedBy(later))
            return later * hundredth;
    }
    const bool onlyLaterIsShown = std::isfinite(until) && !isShownAt(cut) && isShownAt(cut + 1);
    return onlyLaterIsShown ? (cut + 1) * hundredth : own;
}

/// `time` moved by `offset` (both 100 ns): not before 0, and forward no further than just before `duration`.
[[nodiscard]] inline MediaTime steppedPosition(MediaTime time, double offset, MediaTime duration)
{
    const MediaTime target = truncatedToInt64(static_cast<double>(time) + offset);
    if (target < 0)
        return 0;
    return offset > 0.0 && target >= duration ? duration - 1 : target;
}
