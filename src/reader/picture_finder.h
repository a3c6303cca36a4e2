#pragma once

#include "reader/decoding_run.h"

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
    [[nodiscard]] static std::unique_ptr<PictureFinder> create(std::unique_ptr<FilmFile> film,
                                                               const Interrupted &interrupted);
    PictureFinder(const PictureFinder &) = delete;
    PictureFinder &operator=(const PictureFinder &) = delete;

    [[nodiscard]] const FilmFile &film() const { return *m_film; }

    /// The film's first picture, or null if it has none that can be decoded.
    [[nodiscard]] const AVFrame *firstPicture() const { return m_first.get(); }
    /// The time of the first picture: the film's zero, where the packets tell it the one that FilmPictures tells.
    [[nodiscard]] std::int64_t zero() const { return m_zero; }

    /// The times that will probably be asked for next, ascending: their pictures are not left out on the way, and
    /// `workAhead` decodes them. `strides` tells that other pictures between and after them will not be.
    void expect(std::vector<std::int64_t> times, bool strides) { m_run.expect(std::move(times), strides); }

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
    using Result = DecodingRun::Result;

    PictureFinder(std::unique_ptr<FilmFile> film, std::unique_ptr<PictureDecoder> decoder);
    void findFirst(const Interrupted &interrupted);

    [[nodiscard]] Result reach(std::int64_t time, const Interrupted &interrupted);
    [[nodiscard]] Result seekAndDecode(std::int64_t time, const Interrupted &interrupted);
    /// `isLasting` is false for an answer that is the best there is only now.
    [[nodiscard]] const ShownPicture *keepAnswer(std::int64_t time, bool isLasting);

    std::unique_ptr<FilmFile> m_film;
    KeptPictures m_pictures;
    DecodingRun m_run;
    Frame m_first;
    std::int64_t m_zero = 0;
};
