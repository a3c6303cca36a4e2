#pragma once

#include "film/film_file.h"

#include <cstddef>
#include <memory>

/// The decoder of a film's pictures.
class PictureDecoder {
public:
    /// Null if there is no decoder for the film, which must outlive this.
    [[nodiscard]] static std::unique_ptr<PictureDecoder> open(const FilmFile &film);

    /// Forgets what it was given: the next packet comes from elsewhere in the film.
    void restart();

    /// Takes a packet. What an error in it costs shows in the pictures that come, or do not.
    void send(const AVPacket &packet);
    /// No packet follows: what the decoder holds back comes out.
    void sendEnd();
    [[nodiscard]] bool isDrained() const { return m_drained; }

    enum class Outcome { Picture, NeedsPacket, End };
    struct Received {
        Outcome outcome;
        Frame picture; ///< null unless there is one
    };
    [[nodiscard]] Received receive();

    /// Bytes of one decoded picture; 0 if that is not known yet.
    [[nodiscard]] std::size_t pictureBytes() const;

private:
    PictureDecoder(const FilmFile &film, CodecContext context) : m_film(film), m_context(std::move(context)) {}

    void noteDamage(int result);

    const FilmFile &m_film;
    CodecContext m_context;
    bool m_drained = false;   ///< it was told the end
    int m_failures = 0;       ///< since then
    bool m_metDamage = false; ///< since it was started
};
