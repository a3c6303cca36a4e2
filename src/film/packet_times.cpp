#include "film/packet_times.h"

#include <algorithm>
#include <iterator>

namespace {

std::size_t reorderingOf(const AVCodecParameters &stream)
{
    constexpr std::size_t mostByFormat = 16;
    if (stream.codec_id == AV_CODEC_ID_H264 || stream.codec_id == AV_CODEC_ID_HEVC)
        return mostByFormat;
    return static_cast<std::size_t>(std::max(stream.video_delay, 0)) + 1;
}

} // namespace

PacketTimes::PacketTimes(const FilmFile &file)
    : m_reordering(reorderingOf(file.parameters())), m_trustsDecodingTimes(file.tellsTimes())
{
}

void PacketTimes::note(std::int64_t shown, std::int64_t decoded)
{
    if (shown != AV_NOPTS_VALUE) {
        if (shown <= m_complete || (decoded != AV_NOPTS_VALUE && shown < decoded))
            m_trustsDecodingTimes = false;
        m_times.insert(shown);
    }
    constexpr std::size_t mostTimes = 1024;
    if (m_times.size() > mostTimes)
        m_times.erase(m_times.begin(), std::next(m_times.begin(), mostTimes / 2));

    // A packet is decoded before it is shown, and packets come in decoding order.
    if (m_trustsDecodingTimes && decoded != AV_NOPTS_VALUE) {
        m_complete = std::max(m_complete, decoded);
    } else if (m_times.size() > m_reordering) {
        // At most so many pictures are decoded before one that is shown before them.
        const auto certain = std::next(m_times.rbegin(), static_cast<std::ptrdiff_t>(m_reordering));
        m_complete = std::max(m_complete, *certain);
    }
}

void PacketTimes::clear()
{
    m_times.clear();
    m_complete = earliestTime;
}

std::optional<std::int64_t> PacketTimes::first() const
{
    return m_times.empty() ? std::nullopt : std::optional(*m_times.begin());
}

std::optional<std::int64_t> PacketTimes::lastUpTo(std::int64_t time) const
{
    const auto after = m_times.upper_bound(time);
    return after == m_times.begin() ? std::nullopt : std::optional(*std::prev(after));
}

std::optional<std::int64_t> PacketTimes::firstAfter(std::int64_t time) const
{
    const auto after = m_times.upper_bound(time);
    return after == m_times.end() ? std::nullopt : std::optional(*after);
}
