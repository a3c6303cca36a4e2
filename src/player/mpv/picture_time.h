#pragma once

#include "player/player_state.h"

// Between the player's seconds and media time. Containers store picture times rounded to units of their own,
// down to a millisecond; these functions make sure that a picture's media time still names that picture.

/// Media time (100 ns) of the picture that starts `seconds` after the video's first moment: rounded up, and moved
/// up by at most a millisecond where the container's rounding would let the truncated frame number
/// `time x framesPerSecond / 10,000,000` name the picture before. Times below zero give 0.
[[nodiscard]] MediaTime pictureMediaTime(double seconds, double framesPerSecond);

/// Seconds of a media time (100 ns).
[[nodiscard]] double secondsOf(MediaTime time);
