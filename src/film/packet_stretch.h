#pragma once

#include "film/packet_kinds.h"
#include "film/packet_times.h"

#include <cstddef>
#include <deque>

/// What a packet tells about its picture; times in the stream's time base.
struct PacketPlace {
    std::int64_t told = AV_NOPTS_VALUE;    ///< the presentation time, shown or not
    std::int64_t shown = AV_NOPTS_VALUE;   ///< the same; none if it shows no picture of the film
    std::int64_t decoded = AV_NOPTS_VALUE; ///< the presentation time where there is no other
    bool tellsDecoding = false;            ///< there is another
    std::int64_t position = -1;            ///< in the file
    bool isKey = false;
    int recovery = 0;      ///< a key's packets after it until pictures come out right
    bool isUntold = false; ///< it shows a picture, at a time that nobody tells

    bool operator==(const PacketPlace &) const = default;
};

/// A stretch of a film's packets without a gap, as far as they were read, that grows at both ends.
class PacketStretch {
public:
    /// The film must live as long.
    PacketStretch(FilmFile &film, Interrupted interrupted);

    /// What one question may read by default: half an hour of film with some thirty pictures a second.
    static constexpr std::size_t mostPackets = 50'000;

    /// The next reads fail after so many packets.
    void allow(std::size_t packets) { m_allowed = packets; }
    [[nodiscard]] bool mayRead() const { return m_allowed > 0 && !m_interrupted(); }

    /// Forgets the packets.
    void clear();
    /// Begins anew at the film's first packet, or at a place that is likely to lie before `time`. False if the film
    /// refuses; the stretch is empty then.
    [[nodiscard]] bool beginAtFilm();
    [[nodiscard]] bool beginBefore(std::int64_t time);

    /// Grows to a place that is likely to lie before `time`, or to the film's begin. False if that brings nothing.
    [[nodiscard]] bool growBackTo(std::int64_t time);
    [[nodiscard]] bool growBackToFilm();

    /// Begins anew at the film's first packet and reads to the film's first picture: the first that comes out right
    /// of those that the edit list shows. Nothing if that cannot be known.
    [[nodiscard]] std::optional<std::int64_t> findFirstPicture();
    /// Reads on until the picture after `time` is known, or that there is none. False if that cannot be known.
    [[nodiscard]] bool knowsAfter(std::int64_t time);

    [[nodiscard]] bool isEmpty() const { return m_places.empty(); }
    [[nodiscard]] const PacketPlace &front() const { return m_places.front(); }
    [[nodiscard]] bool beginsFilm() const { return m_beginsFilm; }
    /// No picture of the film that is not in the stretch, and after its first key picture, is shown up to this time.
    [[nodiscard]] std::int64_t complete() const { return m_times.complete(); }

    /// The first key picture of the stretch, or null.
    [[nodiscard]] const PacketPlace *firstKey() const;
    /// The last key picture from which the picture shown at `time` comes out right, or null.
    [[nodiscard]] const PacketPlace *keyFor(std::int64_t time) const;
    /// Pictures of the stretch.
    [[nodiscard]] std::optional<std::int64_t> lastUpTo(std::int64_t time) const;
    [[nodiscard]] std::optional<std::int64_t> firstAfter(std::int64_t time) const;

private:
    [[nodiscard]] bool reachKey();
    [[nodiscard]] std::optional<PacketPlace> readPlace();
    [[nodiscard]] bool readOn();
    [[nodiscard]] bool prepend();
    [[nodiscard]] bool returnToEnd();
    void forgetFront();
    [[nodiscard]] bool isField(const AVPacket &packet);

    FilmFile &m_film;
    Interrupted m_interrupted;
    PacketKinds m_kinds;
    Parser m_parser; ///< null unless packets may hold single fields
    CodecContext m_parsed;
    PacketTimes m_times;
    std::deque<PacketPlace> m_places; ///< in decoding order
    std::size_t m_allowed = mostPackets;
    bool m_beginsFilm = false;
    bool m_ended = false;      ///< the film's last packet is in it
    bool m_standsHere = false; ///< the film's next packet is the one after the last
};
