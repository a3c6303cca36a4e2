#include "player/transport.h"

#include <cmath>

namespace {

/// The result of 32-bit signed arithmetic, which wraps around.
std::int32_t wrapped(std::int64_t value)
{
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(value));
}

} // namespace

std::int32_t progressBarSecond(int x, int width, int maximum)
{
    if (width <= 1)
        return 0;
    return wrapped(static_cast<std::int64_t>(maximum) * x) / (width - 1);
}

double trackBarRate(int position)
{
    return position < 0 ? 1.0 + 0.1 * position : 1.0 + 0.5 * position;
}

std::uint16_t trackBarLevel(int position)
{
    // A little above 1/100, so that the product does not fall short of the full level.
    constexpr double perStep = 0.0100001;
    constexpr double full = 65535.0;
    return static_cast<std::uint16_t>(position * perStep * full);
}

int levelPercent(std::uint16_t level)
{
    return static_cast<int>(std::lround(level * 100.0 / 65535.0));
}

int fittingHeightChange(int panelWidth, int panelHeight, std::int32_t videoWidth, std::int32_t videoHeight)
{
    if (videoWidth <= 0 || videoHeight <= 0)
        return 0;
    return wrapped(static_cast<std::int64_t>(videoHeight) * panelWidth) / videoWidth - panelHeight;
}
