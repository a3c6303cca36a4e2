#pragma once

#include "film/ffmpeg_handle.h"

#include <cstdint>
#include <deque>
#include <memory>

/// Gives the packets of a stream that has no presentation times theirs. What such a stream has is a slot for every
/// packet, its decoding time; a picture is shown in the slot of the packet that makes the decoder give it out.
/// Packets go in and come out in decoding order.
class PresentationOrder {
public:
    virtual ~PresentationOrder() = default;

    /// The order for this stream: none but the decoding order if its pictures are never shown out of it.
    [[nodiscard]] static std::unique_ptr<PresentationOrder> of(const AVCodecParameters &stream);

    /// For a stream that has presentation times and leaves some out, if they can be reckoned; else null. Only those
    /// are set.
    [[nodiscard]] static std::unique_ptr<PresentationOrder> filling(const AVCodecParameters &stream);

    /// Takes the next packet; its `dts` must be set.
    void push(Packet packet);
    /// No packet follows.
    virtual void end() = 0;
    /// The next packet with its `pts` set, or null if more packets are needed.
    [[nodiscard]] Packet pop();
    /// Forgets everything: the next packet comes from elsewhere in the stream.
    void clear();

protected:
    struct Entry {
        Packet packet;
        std::int64_t slot = 0;
        int order = 0; ///< what the kind of order goes by
        bool placed = false;
    };

    explicit PresentationOrder(const AVCodecParameters &stream);

    /// `entry` has just been appended to `m_entries`.
    virtual void arrived(Entry &entry) = 0;
    /// Runs the codec's parser over a packet that holds a whole picture.
    void parse(const AVPacket &packet);
    void place(Entry &entry, std::int64_t time) const;
    [[nodiscard]] std::int64_t slotLength() const { return m_slotLength; }

    std::deque<Entry> m_entries;
    Parser m_parser;
    CodecContext m_parsed; ///< what the parser has found out about the stream

private:
    bool m_fills = false; ///< leaves presentation times that are there
    std::int64_t m_slotLength = 1;
};
