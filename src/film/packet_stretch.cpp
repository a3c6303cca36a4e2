#include "film/packet_stretch.h"

#include <algorithm>
#include <vector>

namespace {

/// How many packets are remembered, at most, and how many when that are too many.
constexpr std::size_t mostKept = 20'000;
constexpr std::size_t keptThen = 10'000;

} // namespace

PacketStretch::PacketStretch(FilmFile &film, Interrupted interrupted)
    : m_film(film), m_interrupted(std::move(interrupted)), m_kinds(film.parameters()), m_times(film)
{
    const AVCodecParameters &stream = film.parameters();
    if (stream.codec_id != AV_CODEC_ID_H264 || stream.field_order <= AV_FIELD_PROGRESSIVE)
        return;
    m_parser.reset(av_parser_init(stream.codec_id));
    m_parsed.reset(avcodec_alloc_context3(nullptr));
    if (m_parser && m_parsed && avcodec_parameters_to_context(m_parsed.get(), &stream) >= 0)
        m_parser->flags |= PARSER_FLAG_COMPLETE_FRAMES;
}

void PacketStretch::clear()
{
    m_places.clear();
    m_times.clear();
    m_beginsFilm = false;
    m_ended = false;
    m_standsHere = false;
}

bool PacketStretch::beginAtFilm()
{
    clear();
    m_standsHere = m_film.rewind();
    m_beginsFilm = m_standsHere;
    return m_standsHere && readOn();
}

bool PacketStretch::beginBefore(std::int64_t time)
{
    clear();
    m_standsHere = m_film.seek(time);
    return m_standsHere && readOn();
}

// Reading

bool PacketStretch::isField(const AVPacket &packet)
{
    if (!m_parser || !m_parsed)
        return false;
    std::uint8_t *bytes = nullptr;
    int size = 0;
    av_parser_parse2(m_parser.get(), m_parsed.get(), &bytes, &size, packet.data, packet.size, packet.pts, packet.dts,
                     packet.pos);
    return m_parser->picture_structure == AV_PICTURE_STRUCTURE_TOP_FIELD
           || m_parser->picture_structure == AV_PICTURE_STRUCTURE_BOTTOM_FIELD;
}

std::optional<PacketPlace> PacketStretch::readPlace()
{
    if (!mayRead())
        return std::nullopt;
    --m_allowed;
    const Packet packet = m_film.read();
    if (!packet)
        return std::nullopt;
    PacketPlace place;
    place.position = packet->pos;
    place.told = packet->pts;
    place.tellsDecoding = packet->dts != AV_NOPTS_VALUE;
    place.decoded = place.tellsDecoding ? packet->dts : packet->pts;
    // Where nothing is marked rightly, times are told from anywhere on.
    place.isKey = packet->pts != AV_NOPTS_VALUE && (!m_film.marksKeys() || m_kinds.isKey(*packet));
    place.recovery = place.isKey ? m_kinds.recovery(*packet) : 0;
    if ((packet->flags & AV_PKT_FLAG_DISCARD) != 0 || !m_kinds.isShown(*packet))
        return place;
    place.isUntold = packet->pts == AV_NOPTS_VALUE || isField(*packet);
    if (!place.isUntold)
        place.shown = packet->pts;
    return place;
}

bool PacketStretch::readOn()
{
    const bool tries = mayRead();
    const auto place = tries ? readPlace() : std::nullopt;
    if (!place) {
        m_ended = tries && m_film.isAtEnd();
        m_standsHere = false;
        if (m_ended)
            m_times.end();
        return m_ended;
    }
    m_times.note(place->shown, place->tellsDecoding ? place->decoded : AV_NOPTS_VALUE);
    m_places.push_back(*place);
    forgetFront();
    return true;
}

std::optional<std::int64_t> PacketStretch::findFirstPicture()
{
    if (!m_film.knowsTimes() || !beginAtFilm() || !reachKey())
        return std::nullopt;
    std::int64_t before = av_sat_sub64(firstKey()->told, 1);
    for (;;) {
        const auto candidate = knowsAfter(before) ? firstAfter(before) : std::nullopt;
        // Where pictures are refreshed little by little, those before the first whole one are not shown.
        if (!candidate || keyFor(*candidate) != nullptr)
            return candidate;
        before = *candidate;
    }
}

bool PacketStretch::reachKey()
{
    while (firstKey() == nullptr) {
        if (m_ended || !readOn())
            return false;
    }
    return true;
}

bool PacketStretch::knowsAfter(std::int64_t time)
{
    for (;;) {
        if (m_ended)
            return true;
        // The times are searched only where they can hold the answer.
        const auto next = complete() > time ? firstAfter(time) : std::nullopt;
        if (next && complete() >= *next - 1)
            return true;
        if ((!m_standsHere && !returnToEnd()) || !readOn())
            return false;
    }
}

// Goes back to behind the last packet.
bool PacketStretch::returnToEnd()
{
    if (m_places.empty())
        return false;
    const PacketPlace last = m_places.back();
    if (!m_film.seek(last.decoded))
        return false;
    while (const auto place = readPlace()) {
        if (*place == last) {
            m_standsHere = true;
            return true;
        }
        if (place->decoded != AV_NOPTS_VALUE && place->decoded > last.decoded)
            break;
    }
    return false;
}

bool PacketStretch::growBackTo(std::int64_t time)
{
    m_standsHere = false;
    return m_film.seek(time) && prepend();
}

bool PacketStretch::growBackToFilm()
{
    m_standsHere = false;
    m_beginsFilm = m_film.rewind() && prepend();
    return m_beginsFilm;
}

bool PacketStretch::prepend()
{
    std::vector<PacketPlace> before;
    while (const auto place = readPlace()) {
        if (place->decoded != AV_NOPTS_VALUE && place->decoded > front().decoded)
            break;
        if (*place == front()) {
            m_places.insert(m_places.begin(), before.begin(), before.end());
            return !before.empty();
        }
        before.push_back(*place);
    }
    return false;
}

void PacketStretch::forgetFront()
{
    if (m_places.size() <= mostKept)
        return;
    m_places.erase(m_places.begin(), m_places.end() - keptThen);
    m_beginsFilm = false;
}

// Looking

const PacketPlace *PacketStretch::firstKey() const
{
    const auto key =
        std::find_if(m_places.begin(), m_places.end(), [](const PacketPlace &place) { return place.isKey; });
    return key == m_places.end() ? nullptr : &*key;
}

const PacketPlace *PacketStretch::keyFor(std::int64_t time) const
{
    const auto picture = lastUpTo(time);
    if (!picture)
        return nullptr;
    auto place = std::find_if(m_places.rbegin(), m_places.rend(),
                              [&](const PacketPlace &candidate) { return candidate.shown == *picture; });
    const auto isUntold = [](const PacketPlace &candidate) { return candidate.isUntold; };
    if (std::any_of(m_places.rbegin(), place, isUntold))
        return nullptr;
    for (std::ptrdiff_t after = 0; place != m_places.rend() && !place->isUntold; ++place, ++after) {
        if (place->isKey && place->told <= *picture && place->recovery <= after)
            return &*place;
    }
    return nullptr;
}

std::optional<std::int64_t> PacketStretch::lastUpTo(std::int64_t time) const
{
    std::optional<std::int64_t> last;
    for (const PacketPlace &place : m_places) {
        if (place.shown != AV_NOPTS_VALUE && place.shown <= time && (!last || place.shown > *last))
            last = place.shown;
    }
    return last;
}

std::optional<std::int64_t> PacketStretch::firstAfter(std::int64_t time) const
{
    std::optional<std::int64_t> first;
    for (const PacketPlace &place : m_places) {
        if (place.shown != AV_NOPTS_VALUE && place.shown > time && (!first || place.shown < *first))
            first = place.shown;
    }
    return first;
}
