#include "film/packet_kinds.h"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <optional>
#include <span>

namespace {

using Bytes = std::span<const std::uint8_t>;

/// Walks over the units of a packet or of a stream's headers: what stands between start codes, or behind lengths.
class Units {
public:
    Units(Bytes bytes, int lengthSize) : m_rest(bytes), m_lengthSize(static_cast<std::size_t>(lengthSize))
    {
        if (m_lengthSize == 0)
            skipStartCode();
    }

    /// The next unit without the start code or length before it; nothing at the end. `isBroken` tells a false length.
    std::optional<Bytes> next()
    {
        if (m_lengthSize > 0)
            return nextByLength();
        if (m_rest.empty())
            return std::nullopt;
        const Bytes unit = m_rest;
        skipStartCode();
        return unit.first(unit.size() - m_rest.size());
    }
    [[nodiscard]] bool isBroken() const { return m_broken; }

private:
    std::optional<Bytes> nextByLength()
    {
        if (m_rest.size() <= m_lengthSize) {
            m_broken = m_broken || !m_rest.empty();
            return std::nullopt;
        }
        std::size_t length = 0;
        for (const std::uint8_t byte : m_rest.first(m_lengthSize))
            length = length << 8U | byte;
        m_rest = m_rest.subspan(m_lengthSize);
        if (length > m_rest.size()) {
            m_broken = true;
            return std::nullopt;
        }
        const Bytes unit = m_rest.first(length);
        m_rest = m_rest.subspan(length);
        return unit;
    }

    // Leaves in m_rest what follows the next start code, or nothing.
    void skipStartCode()
    {
        constexpr std::uint8_t startCode[] = {0, 0, 1};
        const auto found = std::search(m_rest.begin(), m_rest.end(), std::begin(startCode), std::end(startCode));
        if (found == m_rest.end())
            m_rest = {};
        else
            m_rest = Bytes(found + std::size(startCode), m_rest.end());
    }

    Bytes m_rest;
    std::size_t m_lengthSize;
    bool m_broken = false;
};

// For each unit `test` gives true (a picture's, unreferenced), false (a picture's, perhaps referenced) or nothing.
// All the packet's pictures must be unreferenced, and there must be one.
template <typename Test>
bool allUnreferenced(Bytes bytes, int lengthSize, Test test)
{
    bool any = false;
    Units units(bytes, lengthSize);
    while (const std::optional<Bytes> unit = units.next()) {
        const std::optional<bool> verdict = unit->empty() ? std::nullopt : test(*unit);
        if (verdict && !*verdict)
            return false;
        any = any || verdict;
    }
    return any && !units.isBroken();
}

enum class Coding : std::uint8_t { Intra, Predicted, Bidirectional, Other };

// The coding of the picture that a unit begins, or nothing if it begins none.
std::optional<Coding> mpeg12Coding(Bytes unit)
{
    constexpr std::uint8_t pictureStart = 0;
    constexpr Coding codings[] = {Coding::Other, Coding::Intra, Coding::Predicted, Coding::Bidirectional};
    if (unit.size() < 3 || unit[0] != pictureStart)
        return std::nullopt;
    const unsigned coding = unit[2] >> 3U & 7U;
    return coding < std::size(codings) ? codings[coding] : Coding::Other;
}

std::optional<Coding> mpeg4Coding(Bytes unit)
{
    constexpr std::uint8_t pictureStart = 0xB6;
    constexpr Coding codings[] = {Coding::Intra, Coding::Predicted, Coding::Bidirectional, Coding::Other};
    if (unit.size() < 2 || unit[0] != pictureStart)
        return std::nullopt;
    return codings[unit[1] >> 6U];
}

std::optional<bool> isBidirectional(std::optional<Coding> coding)
{
    return coding ? std::optional(*coding == Coding::Bidirectional) : std::nullopt;
}

std::optional<bool> h264Picture(Bytes unit)
{
    const unsigned type = unit[0] & 31U;
    const bool slice = (type >= 1 && type <= 5) || type == 20 || type == 21;
    if (!slice)
        return std::nullopt;
    const unsigned referenceNumber = unit[0] >> 5U & 3U;
    return referenceNumber == 0;
}

std::optional<bool> hevcPicture(Bytes unit, int highestLayer)
{
    const unsigned type = unit[0] >> 1U & 63U;
    constexpr unsigned lastSliceType = 31;
    if (type > lastSliceType)
        return std::nullopt;
    // Even types below 16 are those that their own sub-layer does not refer to; higher sub-layers may.
    const bool unreferencedInLayer = type < 16 && type % 2 == 0;
    const int layer = unit.size() > 1 ? static_cast<int>(unit[1] & 7U) - 1 : -1;
    return unreferencedInLayer && layer >= 0 && layer == highestLayer;
}

// The number of the highest temporal sub-layer that the stream's headers (with start codes or behind the fixed
// part of a configuration record) declare, or -1.
int highestHevcLayer(Bytes headers)
{
    constexpr std::uint8_t videoParameters[] = {0x40, 0x01};
    const auto found =
        std::search(headers.begin(), headers.end(), std::begin(videoParameters), std::end(videoParameters));
    if (headers.end() - found < 4)
        return -1;
    return found[3] >> 1U & 7U;
}

// The count of frames until recovery that an H.264 unit of supplementary information announces, or nothing.
std::optional<int> h264Recovery(Bytes unit)
{
    constexpr unsigned supplementary = 6;
    constexpr unsigned recoveryPoint = 6;
    if ((unit[0] & 31U) != supplementary)
        return std::nullopt;
    std::size_t at = 1;
    while (at + 2 < unit.size()) {
        const unsigned type = unit[at];
        const std::size_t size = unit[at + 1];
        // Longer types and sizes go on in further bytes; this one needs none, and those before it are skipped.
        constexpr unsigned longer = 255;
        if (type == longer || size == longer)
            return std::nullopt;
        if (type != recoveryPoint) {
            at += 2 + size;
            continue;
        }
        // Exponential-Golomb: as many zeros as bits follow the first one.
        std::uint32_t bits = 0;
        for (std::size_t byte = 0; byte < 4; ++byte)
            bits = bits << 8U | (at + 2 + byte < unit.size() ? unit[at + 2 + byte] : 0U);
        const int zeros = std::countl_zero(bits);
        constexpr int mostZeros = 15;
        return zeros > mostZeros ? 0 : static_cast<int>((bits << zeros >> (31 - zeros)) - 1);
    }
    return std::nullopt;
}

} // namespace

PacketKinds::PacketKinds(const AVCodecParameters &stream)
{
    const Bytes headers(stream.extradata, static_cast<std::size_t>(std::max(stream.extradata_size, 0)));
    const bool isRecord = !headers.empty() && headers[0] == 1;
    switch (stream.codec_id) {
    case AV_CODEC_ID_MPEG1VIDEO:
    case AV_CODEC_ID_MPEG2VIDEO:
        m_kind = Kind::Mpeg12;
        break;
    case AV_CODEC_ID_MPEG4:
        m_kind = Kind::Mpeg4;
        break;
    case AV_CODEC_ID_H264: {
        constexpr std::size_t lengthAt = 4;
        if (isRecord && headers.size() > lengthAt)
            m_lengthSize = (headers[lengthAt] & 3) + 1;
        // Where start codes separate units, a packet may hold one field only, and its other field be needed.
        const bool fields = stream.field_order > AV_FIELD_PROGRESSIVE;
        if (m_lengthSize > 0 || !fields)
            m_kind = Kind::H264;
        break;
    }
    case AV_CODEC_ID_HEVC: {
        constexpr std::size_t lengthAt = 21;
        if (isRecord && headers.size() > lengthAt)
            m_lengthSize = (headers[lengthAt] & 3) + 1;
        m_highestLayer = highestHevcLayer(headers);
        m_kind = Kind::Hevc;
        break;
    }
    case AV_CODEC_ID_VP8:
        m_kind = Kind::Vp8;
        break;
    default:
        break;
    }
}

bool PacketKinds::isUnreferenced(const AVPacket &packet) const
{
    if (packet.data == nullptr || packet.size <= 0)
        return false;
    const Bytes bytes(packet.data, static_cast<std::size_t>(packet.size));
    switch (m_kind) {
    case Kind::Mpeg12:
        return allUnreferenced(bytes, 0, [](Bytes unit) { return isBidirectional(mpeg12Coding(unit)); });
    case Kind::Mpeg4:
        return allUnreferenced(bytes, 0, [](Bytes unit) { return isBidirectional(mpeg4Coding(unit)); });
    case Kind::H264:
        return allUnreferenced(bytes, m_lengthSize, h264Picture);
    case Kind::Hevc:
        return allUnreferenced(bytes, m_lengthSize, [this](Bytes unit) { return hevcPicture(unit, m_highestLayer); });
    case Kind::Vp8:
    case Kind::None:
        break;
    }
    return false;
}

bool PacketKinds::isKey(const AVPacket &packet) const
{
    if ((packet.flags & AV_PKT_FLAG_KEY) == 0)
        return false;
    if ((m_kind != Kind::Mpeg12 && m_kind != Kind::Mpeg4) || packet.data == nullptr)
        return true;
    Units units(Bytes(packet.data, static_cast<std::size_t>(packet.size)), 0);
    while (const std::optional<Bytes> unit = units.next()) {
        if (const auto coding = m_kind == Kind::Mpeg4 ? mpeg4Coding(*unit) : mpeg12Coding(*unit))
            return *coding == Coding::Intra;
    }
    return true;
}

int PacketKinds::recovery(const AVPacket &key) const
{
    if (m_kind != Kind::H264 || key.data == nullptr)
        return 0;
    Units units(Bytes(key.data, static_cast<std::size_t>(key.size)), m_lengthSize);
    while (const std::optional<Bytes> unit = units.next()) {
        if (const auto frames = unit->empty() ? std::nullopt : h264Recovery(*unit))
            return *frames;
        if (!unit->empty() && h264Picture(*unit))
            break;
    }
    return 0;
}

bool PacketKinds::isShown(const AVPacket &packet) const
{
    // A packet this small only says that the picture before stays.
    constexpr int largestRepeat = 7;
    constexpr std::uint8_t shown = 0x10;
    if (packet.data == nullptr || packet.size <= 0)
        return false;
    if (m_kind == Kind::Mpeg4)
        return packet.size > largestRepeat;
    return m_kind != Kind::Vp8 || (packet.data[0] & shown) != 0;
}
