#include "player/mpv/picture_time.h"

#include <cmath>

MediaTime pictureMediaTime(double seconds, double framesPerSecond)
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

double secondsOf(MediaTime time)
{
    return static_cast<double>(time) / static_cast<double>(unitsPerSecond);
}
