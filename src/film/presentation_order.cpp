#include "film/presentation_order.h"

#include <algorithm>
#include <numeric>
#include <vector>

namespace {

/// Without reordering, a picture is shown in its own packet's slot.
class DecodingOrder final : public PresentationOrder {
public:
    explicit DecodingOrder(const AVCodecParameters &stream) : PresentationOrder(stream) {}
    void end() override {}

private:
    void arrived(Entry &entry) override { place(entry, entry.slot); }
};

/// MPEG-1, -2 and -4: a bidirectional picture is shown in its own slot, every other one when the next of its kind
/// arrives.
class DelayedReferences final : public PresentationOrder {
public:
    explicit DelayedReferences(const AVCodecParameters &stream) : PresentationOrder(stream) {}

    void end() override
    {
        const auto pending = std::find_if(m_entries.begin(), m_entries.end(), isPending);
        if (pending != m_entries.end())
            place(*pending, av_sat_add64(m_entries.back().slot, slotLength()));
    }

private:
    static bool isPending(const Entry &entry) { return !entry.placed; }

    void arrived(Entry &entry) override
    {
        // A packet this small only says that the picture before stays.
        constexpr int largestRepeat = 7;
        parse(*entry.packet);
        if (m_parser->pict_type == AV_PICTURE_TYPE_B || entry.packet->size <= largestRepeat) {
            place(entry, entry.slot);
            return;
        }
        const auto pending = std::find_if(m_entries.begin(), std::prev(m_entries.end()), isPending);
        if (pending != std::prev(m_entries.end()))
            place(*pending, entry.slot);
    }
};

/// H.264 and HEVC: the headers number the pictures of a group in the order they are shown. All pictures before a key
/// picture in decoding order are shown before it and before those that lead up to it.
class NumberedPictures final : public PresentationOrder {
public:
    explicit NumberedPictures(const AVCodecParameters &stream)
        : PresentationOrder(stream), m_delay(static_cast<std::size_t>(stream.video_delay))
    {
    }

    void end() override { placeGroups(true); }

private:
    void arrived(Entry &entry) override
    {
        parse(*entry.packet);
        entry.order = m_parser->output_picture_number;
        placeGroups(false);
    }

    void placeGroups(bool ended)
    {
        std::size_t first = 0;
        while (first < m_entries.size() && m_entries[first].placed)
            ++first;
        while (first < m_entries.size()) {
            const std::size_t next = nextGroup(first);
            const bool complete = next < m_entries.size() && next + m_delay <= m_entries.size();
            if (!complete && !ended)
                return;
            placeGroup(first, next);
            first = next;
        }
    }

    [[nodiscard]] std::size_t nextGroup(std::size_t first) const
    {
        constexpr std::size_t largestGroup = 1000;
        const std::size_t last = std::min(m_entries.size(), first + largestGroup);
        for (std::size_t index = first + 1; index < last; ++index) {
            if ((m_entries[index].packet->flags & AV_PKT_FLAG_KEY) != 0)
                return index;
        }
        return last;
    }

    // The slots of a group's last pictures are those of the packets after it.
    void placeGroup(std::size_t first, std::size_t next)
    {
        std::vector<std::size_t> shown(next - first);
        std::iota(shown.begin(), shown.end(), first);
        std::stable_sort(shown.begin(), shown.end(), [this](std::size_t left, std::size_t right) {
            return m_entries[left].order < m_entries[right].order;
        });
        for (std::size_t rank = 0; rank < shown.size(); ++rank)
            place(m_entries[shown[rank]], slotAt(first + rank + m_delay));
    }

    [[nodiscard]] std::int64_t slotAt(std::size_t index) const
    {
        if (index < m_entries.size())
            return m_entries[index].slot;
        std::int64_t slot = m_entries.back().slot;
        for (std::size_t past = m_entries.size(); past <= index; ++past)
            slot = av_sat_add64(slot, slotLength());
        return slot;
    }

    std::size_t m_delay;
};

} // namespace

PresentationOrder::PresentationOrder(const AVCodecParameters &stream)
    : m_parser(av_parser_init(stream.codec_id)), m_parsed(avcodec_alloc_context3(nullptr))
{
    if (!m_parser || !m_parsed || avcodec_parameters_to_context(m_parsed.get(), &stream) < 0) {
        m_parser.reset();
        return;
    }
    m_parser->flags |= PARSER_FLAG_COMPLETE_FRAMES;
}

std::unique_ptr<PresentationOrder> PresentationOrder::filling(const AVCodecParameters &stream)
{
    std::unique_ptr<PresentationOrder> order;
    const bool delayed = stream.codec_id == AV_CODEC_ID_MPEG1VIDEO || stream.codec_id == AV_CODEC_ID_MPEG2VIDEO;
    if (delayed && stream.video_delay > 0)
        order = of(stream);
    if (order)
        order->m_fills = true;
    return order;
}

std::unique_ptr<PresentationOrder> PresentationOrder::of(const AVCodecParameters &stream)
{
    std::unique_ptr<PresentationOrder> order;
    if (stream.video_delay > 0) {
        switch (stream.codec_id) {
        case AV_CODEC_ID_MPEG1VIDEO:
        case AV_CODEC_ID_MPEG2VIDEO:
        case AV_CODEC_ID_MPEG4:
            order = std::make_unique<DelayedReferences>(stream);
            break;
        case AV_CODEC_ID_H264:
        case AV_CODEC_ID_HEVC:
            order = std::make_unique<NumberedPictures>(stream);
            break;
        default:
            break;
        }
    }
    if (!order || !order->m_parser)
        order = std::make_unique<DecodingOrder>(stream);
    return order;
}

void PresentationOrder::push(Packet packet)
{
    const std::int64_t slot = packet->dts;
    if (!m_entries.empty() && slot > m_entries.back().slot)
        m_slotLength = av_sat_sub64(slot, m_entries.back().slot);
    Entry &entry = m_entries.emplace_back();
    entry.slot = slot;
    entry.packet = std::move(packet);
    arrived(entry);
}

Packet PresentationOrder::pop()
{
    if (m_entries.empty() || !m_entries.front().placed)
        return nullptr;
    Packet packet = std::move(m_entries.front().packet);
    m_entries.pop_front();
    return packet;
}

void PresentationOrder::clear()
{
    m_entries.clear();
}

void PresentationOrder::parse(const AVPacket &packet)
{
    if (packet.size <= 0)
        return;
    std::uint8_t *bytes = nullptr;
    int size = 0;
    av_parser_parse2(m_parser.get(), m_parsed.get(), &bytes, &size, packet.data, packet.size, packet.pts, packet.dts,
                     packet.pos);
}

void PresentationOrder::place(Entry &entry, std::int64_t time) const
{
    if (!m_fills || entry.packet->pts == AV_NOPTS_VALUE)
        entry.packet->pts = time;
    entry.placed = true;
}
