#pragma once

#include "film/packet_kinds.h"
#include "film/packet_times.h"

#include <deque>

/// Packets that were read ahead of the decoder, in decoding order, and the times of all that were read.
class PacketQueue {
public:
    struct Entry {
        Packet packet;
        std::int64_t time = AV_NOPTS_VALUE; ///< of its picture; none if the picture is not to be shown
        bool isKey = false;
        bool isDroppable = false; ///< no other picture needs it
    };

    /// The film must live as long as the queue.
    explicit PacketQueue(FilmFile &film);

    /// The next packet comes from elsewhere in the film.
    void clear();

    /// Reads a packet to the end of the queue; at the film's end, or where it cannot be read, `isEnded`.
    void readOne();
    void append(Packet packet);

    /// True if decoding can probably start at this packet of the film.
    [[nodiscard]] bool isKey(const AVPacket &packet) const { return m_film.marksKeys() && m_kinds.isKey(packet); }

    [[nodiscard]] bool isEmpty() const { return m_entries.empty(); }
    [[nodiscard]] bool isEnded() const { return m_ended; }
    /// True if it is worth while to read on for being certain which pictures there are up to this time.
    [[nodiscard]] bool readsOnFor(std::int64_t time) const;
    [[nodiscard]] const Entry &front() const { return m_entries.front(); }
    [[nodiscard]] Entry takeFront();

    [[nodiscard]] const PacketTimes &times() const { return m_times; }

    /// If the packet read last is a key picture up to this time: throws away the packets before it, says so, and
    /// gives its time.
    [[nodiscard]] std::optional<std::int64_t> skipToLastKey(std::int64_t time);

private:
    [[nodiscard]] static std::size_t bytesOf(const Entry &entry);

    FilmFile &m_film;
    PacketKinds m_kinds;
    PacketTimes m_times;
    std::deque<Entry> m_entries;
    std::size_t m_bytes = 0;
    bool m_ended = false;
};
