#pragma once

#include "util/truncation.h"

#include <cmath>
#include <cstdint>

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

/// The pictures of a film before that moment of it; their whole part is the index that a read there asks for. What a
/// double loses in the product does not name the picture before: 1.16 seconds at 25 pictures a second are 29.
[[nodiscard]] inline double framesBefore(double seconds, double framesPerSecond)
{
    constexpr double noise = 1e-6;
    const double frames = framesPerSecond * seconds;
    const double whole = std::round(frames);
    return std::abs(frames - whole) < noise ? whole : frames;
}

/// The moment of the picture that starts `seconds` after the first one: rounded up, and moved up by at most a
/// millisecond where the rounding of containers, down to a millisecond, would let its frame number name the picture
/// before. Times below zero give 0.
[[nodiscard]] inline MediaTime pictureMediaTime(double seconds, double framesPerSecond)
{
    if (!(seconds > 0.0))
        return 0;
    constexpr double unit = static_cast<double>(unitsPerSecond);
    // A double's own noise, far below a unit, must not round a whole number of units up.
    constexpr double noise = 1e-3;
    const auto time = static_cast<MediaTime>(std::ceil(seconds * unit - noise));
    if (!(framesPerSecond > 0.0) || !std::isfinite(framesPerSecond))
        return time;

    const double frame = std::round(seconds * framesPerSecond);
    const auto namesFrame = [&](MediaTime candidate) {
        return std::trunc(static_cast<double>(candidate) * framesPerSecond / unit) >= frame;
    };
    if (namesFrame(time))
        return time;
    constexpr double containerRounding = 1e-3;
    const double frameSeconds = frame / framesPerSecond;
    if (frameSeconds - seconds > containerRounding)
        return time;
    auto named = static_cast<MediaTime>(std::ceil(frameSeconds * unit - noise));
    if (!namesFrame(named))
        ++named;
    return named;
}

/// `time` moved by `offset` (both 100 ns): not before 0, and forward no further than just before `duration`.
[[nodiscard]] inline MediaTime steppedPosition(MediaTime time, double offset, MediaTime duration)
{
    const MediaTime target = truncatedToInt64(static_cast<double>(time) + offset);
    if (target < 0)
        return 0;
    return offset > 0.0 && target >= duration ? duration - 1 : target;
}
