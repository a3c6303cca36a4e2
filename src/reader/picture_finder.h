#pragma once

#include "reader/film_file.h"
#include "reader/packet_kinds.h"

#include <cstdint>
#include <deque>
#include <limits>
#include <map>
#include <memory>
#include <optional>
#include <vector>

/// Finds the picture that a film shows at a time: the last one whose presentation time is not later. Times are in
/// the stream's time base.
///
///  1. A picture that is still at hand is the answer.
///  2. Decoding goes on from where it stands if the time lies a little ahead, or in the same group of pictures as
///     far as the index tells; else it starts again at a key picture.
///  3. Where a seek has landed is proven: the first key packet read there must not be later than the time, nor the
///     first picture the decoder gives. Else the next attempt goes to the key before, then further and further back,
///     at last to the film's first packet.
///  4. Packets are read ahead until it is certain which of them is the last one not later than the time. On the way
///     there, packets that nothing refers to are left out, and a later key packet makes all before it superfluous.
///  5. The decoder is fed until it gives that picture, or a later one, or no more: then the last picture that was
///     not too late is the answer. Where the file cannot be read on, it is so only until it is asked for again.
class PictureFinder {
public:
    /// Null if there is no decoder for the film, or memory for its pictures.
    [[nodiscard]] static std::unique_ptr<PictureFinder> create(std::unique_ptr<FilmFile> file,
                                                               const Interrupted &interrupted);
    PictureFinder(const PictureFinder &) = delete;
    PictureFinder &operator=(const PictureFinder &) = delete;

    [[nodiscard]] const FilmFile &file() const { return *m_file; }

    /// The film's first picture, or null if it has none that can be decoded.
    [[nodiscard]] const AVFrame *firstPicture() const { return m_first.get(); }
    /// The time of the first picture: the film's zero.
    [[nodiscard]] std::int64_t zero() const { return m_zero; }

    /// The times that will probably be asked for next, ascending: their pictures are not left out on the way, and
    /// `workAhead` decodes them. `strides` tells that other pictures between and after them will not be.
    void expect(std::vector<std::int64_t> times, bool strides);

    enum class Outcome { Found, None, Stopped };
    struct Answer {
        Outcome outcome = Outcome::None;
        const AVFrame *picture = nullptr; ///< valid until the next call that finds
    };

    /// The picture shown at `time`, the first one for times before it. `None` if nothing can be decoded up to it.
    [[nodiscard]] Answer find(std::int64_t time, const Interrupted &interrupted);

    /// Decodes the expected pictures until all are at hand or the work is interrupted.
    void workAhead(const Interrupted &interrupted);

private:
    static constexpr std::int64_t earliest = std::numeric_limits<std::int64_t>::min();

    struct Queued {
        Packet packet;
        std::int64_t time = AV_NOPTS_VALUE;
        bool key = false;
        bool droppable = false;
    };
    /// A decoded picture and the times it is known to be the answer for: [from, until).
    struct Shown {
        Frame frame;
        std::int64_t from = 0;
        std::int64_t until = 0;
    };
    enum class Fate { Waiting, Sent, LeftOut };
    enum class Progress { Picture, Fed, End };
    enum class Result { Found, Late, Passed, End, BrokenOff, Stopped };

    explicit PictureFinder(std::unique_ptr<FilmFile> file);
    [[nodiscard]] bool openDecoder();
    void findFirst(const Interrupted &interrupted);

    // Where decoding stands.
    void restart();
    [[nodiscard]] bool isWorthGoingOn(std::int64_t time) const;
    [[nodiscard]] bool couldStillCome(std::int64_t time) const;
    [[nodiscard]] Result reach(std::int64_t time, const Interrupted &interrupted);
    [[nodiscard]] Result seekAndDecode(std::int64_t time, const Interrupted &interrupted);
    [[nodiscard]] std::optional<std::int64_t> startAtKey(std::int64_t time, const Interrupted &interrupted);

    // Decoding.
    [[nodiscard]] Result decodeUpTo(std::int64_t time, const Interrupted &interrupted);
    [[nodiscard]] Progress step(const Interrupted &interrupted);
    void feed(const Interrupted &interrupted);
    void readOne();
    void startOverAtLastQueued();
    [[nodiscard]] bool readsFurther() const;
    [[nodiscard]] std::optional<bool> isNeeded(const Queued &queued) const;
    [[nodiscard]] std::optional<std::int64_t> lastTimeUpTo(std::int64_t time) const;
    void enqueue(Packet packet);
    void noteTime(std::int64_t shown, std::int64_t decoded);
    void take(Frame picture);

    // What is at hand.
    [[nodiscard]] const Shown *atHand(std::int64_t time) const;
    /// `lasting` is false for an answer that is the best there is only now.
    [[nodiscard]] const Shown *keepAnswer(std::int64_t time, bool lasting);
    [[nodiscard]] std::size_t capacity(std::size_t bytes, std::size_t least, std::size_t most) const;

    std::unique_ptr<FilmFile> m_file;
    AVRational m_timeBase;
    CodecContext m_decoder;
    PacketKinds m_kinds;
    std::size_t m_reordering = 0; ///< by how many packets a picture may be decoded before it is shown

    bool m_trustDecodingTimes; ///< no packet was seen to be shown before it is decoded

    Frame m_first;
    std::int64_t m_zero = 0;

    // Since the last restart.
    bool m_standing = false; ///< decoding can go on
    bool m_fileEnded = false;
    bool m_drained = false; ///< the decoder was told the end
    int m_failures = 0;     ///< of the decoder since then
    std::deque<Queued> m_queue;
    std::size_t m_queuedBytes = 0;
    std::map<std::int64_t, Fate> m_times;    ///< of the packets that were read
    std::int64_t m_complete = earliest;      ///< no packet to come is at or before this
    std::int64_t m_startKey = earliest;      ///< the key picture that decoding started at
    std::optional<std::int64_t> m_lastShown; ///< the last picture that was given

    std::deque<Shown> m_recent; ///< the last pictures given, whatever they were for
    std::deque<Shown> m_kept;   ///< answers, given or expected
    std::optional<Shown> m_end; ///< the film's last picture

    std::int64_t m_asked = earliest; ///< what is being decoded up to
    std::vector<std::int64_t> m_expected;
    bool m_strides = false;
    bool m_skips = true; ///< a key packet makes those before it superfluous
};
