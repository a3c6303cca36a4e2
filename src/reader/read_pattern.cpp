#include "reader/read_pattern.h"

#include "util/media_time.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr double wholeEnough = 1e-6;

bool isWhole(double number)
{
    return std::abs(number - std::round(number)) < wholeEnough;
}

} // namespace

ReadPattern::ReadPattern(double framesPerSecond) : m_second(framesPerSecond) {}

// An export reads at a scene's start, a time of two decimals, and on by adding seconds; an index is such a time times
// the rate, truncated.

std::int64_t ReadPattern::indexAt(double seconds) const
{
    return static_cast<std::int64_t>(framesBefore(seconds, m_second));
}

void ReadPattern::startTimes(std::int64_t index)
{
    m_times.clear();
    constexpr double hundredths = 100.0;
    constexpr double leastRate = 2.0;
    constexpr double latest = 1e9;
    const double first = std::floor(static_cast<double>(index) / m_second * hundredths) - 1.0;
    const double last = first + hundredths / m_second + 3.0;
    if (m_second < leastRate || !(last < latest))
        return;
    for (double hundredth = std::max(first, 0.0); hundredth <= last; ++hundredth) {
        if (indexAt(hundredth / hundredths) == index)
            m_times.push_back(hundredth / hundredths);
    }
}

void ReadPattern::followTimes(std::int64_t index)
{
    for (double &time : m_times)
        time += 1.0;
    std::erase_if(m_times, [&](double time) { return indexAt(time) != index; });
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
    if (m_reads > 0 && m_stride == 0 && isSecond(distance))
        followTimes(index);
    else
        startTimes(index);
    if (m_reads == 0) {
        m_reads = 1;
    } else if (isStride(distance)) {
        ++m_reads;
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
    std::vector<double> times = m_times;
    for (int read = 1; read <= reads; ++read) {
        if (m_stride > 0) {
            indices.push_back(m_last + read * m_stride);
            continue;
        }
        if (times.empty()) {
            const double distance = read * m_second;
            const bool whole = isWhole(distance);
            const auto least = static_cast<std::int64_t>(whole ? std::round(distance) : std::floor(distance));
            indices.push_back(m_last + least);
            if (!whole)
                indices.push_back(m_last + least + 1);
        }
        for (double &time : times) {
            time += 1.0;
            indices.push_back(indexAt(time));
        }
    }
    std::sort(indices.begin(), indices.end());
    indices.erase(std::unique(indices.begin(), indices.end()), indices.end());
    std::erase_if(indices, [this](std::int64_t index) { return index <= m_last; });
    return indices;
}

int ReadPattern::readsLeft() const
{
    constexpr int untilKnown = 3;
    return m_readsBefore >= m_reads ? m_readsBefore - m_reads : untilKnown;
}

bool ReadPattern::strides() const
{
    constexpr double least = 4.0;
    return (m_stride == 0 ? m_second : static_cast<double>(m_stride)) >= least;
}
