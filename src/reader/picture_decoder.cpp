#include "reader/picture_decoder.h"

#include "reader/picture_painter.h"

extern "C" {
#include <libavutil/imgutils.h>
}

#include <algorithm>
#include <thread>

namespace {

int threadsFor(const AVCodecParameters &stream)
{
    // Each thread holds a picture of its own.
    constexpr std::int64_t largePicture = std::int64_t(2048) * 1152;
    const int most = std::int64_t(stream.width) * stream.height > largePicture ? 4 : 8;
    return std::clamp(static_cast<int>(std::thread::hardware_concurrency()), 1, most);
}

/// Null if there is no decoder for the film.
CodecContext newContext(const FilmFile &film)
{
    const AVCodecParameters &stream = film.parameters();
    const AVCodec *codec = avcodec_find_decoder(stream.codec_id);
    CodecContext context(codec == nullptr ? nullptr : avcodec_alloc_context3(codec));
    if (!context || avcodec_parameters_to_context(context.get(), &stream) < 0)
        return nullptr;
    context->pkt_timebase = film.stream().time_base;
    context->thread_count = threadsFor(stream);
    context->max_pixels = mostPicturePixels();
    if (avcodec_open2(context.get(), codec, nullptr) < 0)
        return nullptr;
    return context;
}

} // namespace

std::unique_ptr<PictureDecoder> PictureDecoder::open(const FilmFile &film)
{
    CodecContext context = newContext(film);
    return context ? std::unique_ptr<PictureDecoder>(new PictureDecoder(film, std::move(context))) : nullptr;
}

void PictureDecoder::restart()
{
    // What a decoder has taken from damage it may keep even when it is flushed; but a palette may have come only once.
    CodecContext context = m_metDamage && m_context->pix_fmt != AV_PIX_FMT_PAL8 ? newContext(m_film) : nullptr;
    if (context)
        m_context = std::move(context);
    else
        avcodec_flush_buffers(m_context.get());
    m_metDamage = false;
    m_drained = false;
    m_failures = 0;
}

void PictureDecoder::send(const AVPacket &packet)
{
    noteDamage(avcodec_send_packet(m_context.get(), &packet));
}

void PictureDecoder::sendEnd()
{
    (void)avcodec_send_packet(m_context.get(), nullptr);
    m_drained = true;
}

PictureDecoder::Received PictureDecoder::receive()
{
    Frame picture(av_frame_alloc());
    const int result = picture ? avcodec_receive_frame(m_context.get(), picture.get()) : AVERROR(ENOMEM);
    noteDamage(result);
    if (result == 0)
        return {Outcome::Picture, std::move(picture)};
    constexpr int mostFailures = 1000;
    const bool isOver = result == AVERROR_EOF || (m_drained && ++m_failures > mostFailures);
    return {isOver ? Outcome::End : Outcome::NeedsPacket, nullptr};
}

void PictureDecoder::noteDamage(int result)
{
    m_metDamage = m_metDamage || (result < 0 && result != AVERROR(EAGAIN) && result != AVERROR_EOF);
}

std::size_t PictureDecoder::pictureBytes() const
{
    const int size = av_image_get_buffer_size(m_context->pix_fmt, m_context->width, m_context->height, 1);
    return static_cast<std::size_t>(std::max(size, 0));
}
