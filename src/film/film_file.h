#pragma once

#include "film/ffmpeg_handle.h"
#include "film/interruption.h"
#include "film/presentation_order.h"

#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <optional>
#include <string>

/// The packets of a film's video stream. Times are presentation times in the stream's own time base, unless a name
/// says otherwise.
class FilmFile {
public:
    /// Opens a regular file; null if it is none, or has no video stream, or is a playlist: no other file and no
    /// network is ever touched. Opening ends early when `interrupted`. `ended` is asked while the film lives: true
    /// makes every reading from the file fail at once.
    [[nodiscard]] static std::unique_ptr<FilmFile> open(const std::string &path, const Interrupted &interrupted,
                                                        const Interrupted &ended);
    FilmFile(const FilmFile &) = delete;
    FilmFile &operator=(const FilmFile &) = delete;

    [[nodiscard]] const AVStream &stream() const { return *m_stream; }
    /// For the decoder of what `read` returns.
    [[nodiscard]] const AVCodecParameters &parameters() const;
    /// Pictures per second: the stream's average rate, else the rate its times suggest, else 25.
    [[nodiscard]] AVRational frameRate() const;
    /// Duration of the pictures in the stream's time base; 0 if it is not known.
    [[nodiscard]] std::int64_t duration() const;
    /// Number of pictures that are shown; 0 if the container gives no way to know it.
    [[nodiscard]] std::int64_t pictureCount() const;
    /// Pixel aspect ratio of a picture, or of the stream where there is none; 0/1 or 1/1 for square pixels.
    [[nodiscard]] AVRational pixelAspect(const AVFrame *picture) const;

    /// False if the film has no presentation times and `read` reckons them.
    [[nodiscard]] bool tellsTimes() const { return m_tellsTimes; }
    /// True if the times that `read` sets are those that pictures are shown at: told, or the slots of pictures that
    /// are shown in decoding order.
    [[nodiscard]] bool knowsTimes() const;

    /// True if decoding can start where packets are marked as keys. False if a decoder does not bear the marks out, or
    /// there are none: decoding starts at the film's first packet then.
    [[nodiscard]] bool marksKeys() const { return m_marksKeys; }

    /// The next packet in decoding order, or null at the end. `pts` is set wherever the film gives a way to know it.
    [[nodiscard]] Packet read();
    /// True if `read` has come to the film's end, false if its file could not be read on.
    [[nodiscard]] bool isAtEnd() const { return m_atEnd; }

    /// Goes to a place that is likely, not certain, to hold a key picture before `time`. False if the film refuses;
    /// the place is not defined then.
    [[nodiscard]] bool seek(std::int64_t time);

    /// Goes to the film's first packet. False if the film cannot be read any more.
    [[nodiscard]] bool rewind();

    /// The decoding time of the index's key picture at or before a decoding time, or nothing if the film has no
    /// index to go by.
    [[nodiscard]] std::optional<std::int64_t> indexedKey(std::int64_t decodingTime) const;

    /// False for transport and program streams, which have no index worth the name.
    [[nodiscard]] bool hasIndex() const { return !m_sparseIndex; }

    /// True if the index names every picture.
    [[nodiscard]] bool indexIsComplete() const { return m_complete; }

private:
    FilmFile(std::string path, Interrupted ended) : m_path(std::move(path)), m_ended(std::move(ended)) {}

    [[nodiscard]] bool openInput();
    [[nodiscard]] bool openContext(const Interrupted &interrupted);
    [[nodiscard]] bool readHeader();
    [[nodiscard]] bool chooseStream();
    [[nodiscard]] bool prepareOrder();
    [[nodiscard]] bool countsFields() const;
    [[nodiscard]] int fieldsPerPicture() const;
    [[nodiscard]] bool areMarksTrue();
    [[nodiscard]] bool beginsWithKey(const std::deque<Packet> &packets, std::size_t from) const;
    [[nodiscard]] Frame decoded(const std::deque<Packet> &packets, std::size_t from, int skipped) const;
    [[nodiscard]] Packet readStream();
    [[nodiscard]] std::int64_t editedPictures() const;
    void countByIndex(AVPacket &packet) const;
    void addPalette(AVPacket &packet) const;
    [[nodiscard]] Packet readFiltered();
    void forgetPosition();
    [[nodiscard]] std::int64_t nextSlot(const AVPacket &packet);
    [[nodiscard]] bool seekToMetKey(std::int64_t time);
    [[nodiscard]] bool seekToStart();
    [[nodiscard]] bool isFirst(const AVPacket &packet) const;
    static int onInterrupt(void *file);

    std::string m_path;
    Interrupted m_ended;
    const Interrupted *m_interrupted = nullptr; ///< while opening
    InputOutput m_input;                        ///< the file, whatever its name names by now
    FormatContext m_context;
    AVStream *m_stream = nullptr;
    bool m_isAvi = false;
    bool m_isEdited = false;    ///< the container may have an edit list
    bool m_complete = false;    ///< the index names every picture
    bool m_sparseIndex = false; ///< there is none worth the name: transport and program streams
    BitstreamFilter m_filter;
    bool m_tellsTimes = true;
    bool m_countsSlots = false;                       ///< the film tells no times at all, packets are counted
    std::map<std::int64_t, std::int64_t> m_keyPlaces; ///< slots and bytes of key packets that were met, if counted
    std::unique_ptr<PresentationOrder> m_order;       ///< null if every packet has its presentation time
    bool m_orderEnded = false;
    bool m_paletteIsDue = false; ///< the next packet comes from elsewhere in the film
    bool m_atEnd = false;
    bool m_marksKeys = true;
    int m_fieldsPerPicture = 1; ///< in what the container tells as the rate of pictures
    std::int64_t m_lastSlot = AV_NOPTS_VALUE;
    std::deque<Packet> m_unread; ///< of the stream, before filter and order
    Packet m_first;              ///< the first packet, without data
};
