#pragma once

#include "film/ffmpeg_handle.h"

/// Tells by a packet's content what decoding it is good for.
class PacketKinds {
public:
    explicit PacketKinds(const AVCodecParameters &stream);

    /// True if no other picture of the stream refers to this one: leaving the packet out costs its own picture and
    /// changes no other. False wherever that is not certain.
    [[nodiscard]] bool isUnreferenced(const AVPacket &packet) const;

    /// True if decoding can probably start here: the container says so, and the content does not contradict.
    [[nodiscard]] bool isKey(const AVPacket &packet) const;

    /// How many pictures after a key picture, in decoding order, come out wrong: where a stream refreshes its pictures
    /// little by little, a key only begins it.
    [[nodiscard]] int recovery(const AVPacket &key) const;

    /// False if the packet holds no picture that is shown: an empty slot, one that only others refer to.
    [[nodiscard]] bool isShown(const AVPacket &packet) const;

private:
    enum class Kind { None, Mpeg12, Mpeg4, H264, Hevc, Vp8 };
    Kind m_kind = Kind::None;
    int m_lengthSize = 0;    ///< bytes of a unit's length before it; 0 if start codes separate units
    int m_highestLayer = -1; ///< HEVC: temporal sub-layers 0 .. this
};
