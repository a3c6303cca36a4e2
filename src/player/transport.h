#pragma once

#include <cstdint>

// What the positions of the transport controls mean.

/// The whole second that pixel `x` of a progress bar `width` pixels wide and ending at second `maximum` stands
/// for; 0 for a bar that has no extent.
[[nodiscard]] std::int32_t progressBarSecond(int x, int width, int maximum);

/// The playback rate of a position of the speed track bar, -9 to 10.
[[nodiscard]] double trackBarRate(int position);

/// The wave-output level, 0 to 65535, of a position of the volume track bar, 0 to 100.
[[nodiscard]] std::uint16_t trackBarLevel(int position);

/// A wave-output level in whole percent.
[[nodiscard]] int levelPercent(std::uint16_t level);

/// By how many pixels a panel `panelWidth` x `panelHeight` must grow in height to take the film's proportions;
/// 0 without a picture.
[[nodiscard]] int fittingHeightChange(int panelWidth, int panelHeight, std::int32_t videoWidth,
                                      std::int32_t videoHeight);
