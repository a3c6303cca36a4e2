#include "reader/read_pattern.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr double wholeEnough = 1e-6;

bool isWhole(double number)
{
    return std::abs(number - std::round(number)) < wholeEnough;
}

} // namespace

// An index is a time in seconds times the rate, truncated. Where times of two decimals fall on pictures, the last
// bit of the product decides which of two neighbours that is.
ReadPattern::ReadPattern(double framesPerSecond)
    : m_second(framesPerSecond)
    , m_rounds(isWhole(framesPerSecond) && isWhole(100.0 / framesPerSecond))
{
}

bool ReadPattern::isSecond(std::int64_t distance) const
{
    return distance > 0 && std::abs(static_cast<double>(distance) - m_second) < 1.0 + wholeEnough;
}

bool ReadPattern::isStride(std::int64_t distance) const
{
    return m_stride == 0 ? isSecond(distance) : distance == m_stride;
}

void ReadPattern::note(std::int64_t index)
{
    const std::int64_t distance = index - m_last;
    if (m_reads == 0) {
        m_reads = 1;
    } else if (isStride(distance)) {
        ++m_reads;
        if (m_stride == 0 && isWhole(m_second) && static_cast<double>(distance) != std::round(m_second))
            m_rounds = true;
    } else if (isSecond(distance) || (distance > 0 && distance == m_lastDistance)) {
        m_stride = isSecond(distance) ? 0 : distance;
        m_reads = 2;
    } else {
        m_readsBefore = m_reads;
        m_reads = 1;
    }
    m_last = index;
    m_lastDistance = distance;
}

std::vector<std::int64_t> ReadPattern::next(int reads) const
{
    std::vector<std::int64_t> indices;
    for (int read = 1; read <= reads; ++read) {
        if (m_stride > 0) {
            indices.push_back(m_last + read * m_stride);
            continue;
        }
        const double distance = read * m_second;
        const bool whole = isWhole(distance);
        const auto least = static_cast<std::int64_t>(whole ? std::round(distance) : std::floor(distance));
        const std::int64_t below = whole && m_rounds ? 1 : 0;
        const std::int64_t above = !whole || m_rounds ? 1 : 0;
        for (std::int64_t index = m_last + least - below; index <= m_last + least + above; ++index) {
            if (index > m_last && (indices.empty() || index > indices.back()))
                indices.push_back(index);
        }
    }
    return indices;
}

int ReadPattern::readsLeft() const
{
    constexpr int untilKnown = 3;
    return m_readsBefore == 0 ? untilKnown : std::max(1, m_readsBefore - m_reads);
}

bool ReadPattern::strides() const
{
    constexpr double least = 4.0;
    return (m_stride == 0 ? m_second : static_cast<double>(m_stride)) >= least;
}
