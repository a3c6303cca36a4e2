#pragma once

#include "reader/kept_pictures.h"
#include "reader/packet_queue.h"
#include "reader/picture_decoder.h"

#include <memory>
#include <set>
#include <vector>

/// The times whose pictures are asked for, now or soon.
struct WantedTimes {
    std::int64_t asked = earliestTime;  ///< what is being decoded up to
    std::vector<std::int64_t> expected; ///< that will probably be asked for next, ascending
    bool strides = false;               ///< other pictures between and after those will not be

    /// The first of them at or after `time`.
    [[nodiscard]] std::optional<std::int64_t> firstFrom(std::int64_t time) const;
};

/// Decoding that goes on from packet to packet since it was started at some place of the film.
class DecodingRun {
public:
    enum class Progress { Picture, Fed, End };
    enum class Result { Found, Late, Passed, End, BrokenOff, Stopped };

    /// The film, and the pictures that what is decoded is added to, must live as long.
    DecodingRun(FilmFile &film, std::unique_ptr<PictureDecoder> decoder, KeptPictures &pictures);

    void expect(std::vector<std::int64_t> times, bool strides);
    [[nodiscard]] const WantedTimes &wanted() const { return m_wanted; }

    /// Whether a key picture makes all that was read before it superfluous, or may need it.
    void trustKeys(bool trusts) { m_trustsKeys = trusts; }

    /// Starts at the packet that the film gives next.
    void restart();
    /// Nothing can be decoded from here.
    void abandon() { m_standing = false; }
    /// Starts at the next key picture, and gives its place to seek before: its decoding time. Nothing if the film
    /// comes past `time` before.
    [[nodiscard]] std::optional<std::int64_t> startAtKey(std::int64_t time, const Interrupted &interrupted);
    /// The time of the key picture that decoding has started at, as far as known.
    [[nodiscard]] std::int64_t startKey() const { return m_startKey; }

    /// True if the picture at `time` is sooner reached from here than from a key picture.
    [[nodiscard]] bool isWorthGoingOn(std::int64_t time) const;

    /// Decodes until it is certain which picture is shown at `time`, or that it cannot be told from here.
    [[nodiscard]] Result decodeUpTo(std::int64_t time, const Interrupted &interrupted);
    /// Takes a picture from the decoder, or feeds it.
    [[nodiscard]] Progress step(const Interrupted &interrupted);
    [[nodiscard]] bool hasShown() const { return m_lastShown.has_value(); }
    [[nodiscard]] bool hasShownUpTo(std::int64_t time) const { return m_lastShown && *m_lastShown <= time; }

    /// Of the packets that were read.
    [[nodiscard]] const PacketTimes &times() const { return m_packets.times(); }

private:
    [[nodiscard]] bool couldStillCome(std::int64_t time) const;
    [[nodiscard]] std::optional<Result> certainAt(std::int64_t time) const;
    void feed(const Interrupted &interrupted);
    void readOne();
    [[nodiscard]] std::optional<bool> isNeeded(const PacketQueue::Entry &packet) const;
    void noteFate(std::int64_t time, bool isNeeded);
    void take(Frame picture);
    [[nodiscard]] std::int64_t timeOf(const AVFrame &picture) const;

    FilmFile &m_film;
    PacketQueue m_packets;
    std::unique_ptr<PictureDecoder> m_decoder;
    KeptPictures &m_pictures;
    WantedTimes m_wanted;
    std::set<std::int64_t> m_leftOut; ///< times of packets that the decoder was not given
    std::int64_t m_startKey = earliestTime;
    std::optional<std::int64_t> m_lastShown; ///< the last picture that was given
    bool m_standing = false;                 ///< decoding can go on
    bool m_trustsKeys = true;
};
