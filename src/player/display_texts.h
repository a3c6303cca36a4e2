#pragma once

#include <QString>

#include <cstdint>

/// The decimal text of `n` with a blank before every group of three characters from the right, the leftmost group
/// included when the length is a multiple of three; a minus sign counts as a character.
[[nodiscard]] QString NiceNumberView(std::int64_t n);

/// `seconds` as a clock text with the grouped number of seconds, "h:mm:ss (s sec)". A minute shows its sixtieth
/// second as 60, and an hour its sixtieth minute.
[[nodiscard]] QString GetTimeForMovie(std::int32_t seconds);

/// The size and frame rate of a film for the status bar: width "x" height "@" and the first seven characters of
/// the rate; a film without a picture says so.
[[nodiscard]] QString videoInformation(std::int32_t width, std::int32_t height, double framesPerSecond);
