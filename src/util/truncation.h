#pragma once

#include <cmath>
#include <cstdint>
#include <limits>

namespace detail {

template <typename Integer>
[[nodiscard]] Integer truncatedTo(double value)
{
    // The bounds are powers of two, and so exact as doubles.
    constexpr double below = static_cast<double>(std::numeric_limits<Integer>::min());
    if (std::isnan(value))
        return 0;
    if (value <= below)
        return std::numeric_limits<Integer>::min();
    if (value >= -below)
        return std::numeric_limits<Integer>::max();
    return static_cast<Integer>(value);
}

} // namespace detail

/// `value` truncated toward zero; values outside a signed 64-bit integer give its nearest bound, NaN gives 0.
[[nodiscard]] inline std::int64_t truncatedToInt64(double value)
{
    return detail::truncatedTo<std::int64_t>(value);
}

/// `value` truncated toward zero; values outside a signed 32-bit integer give its nearest bound, NaN gives 0.
[[nodiscard]] inline std::int32_t truncatedToInt32(double value)
{
    return detail::truncatedTo<std::int32_t>(value);
}
