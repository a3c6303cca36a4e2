#include "reader/picture_painter.h"

#include "platform/memory.h"

extern "C" {
#include <libavutil/display.h>
#include <libavutil/pixdesc.h>
}

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>

namespace {

constexpr int bytesPerPixel = 3;
constexpr int bytesPerPixelWithAlpha = 4;

struct PlainFormat {
    AVPixelFormat format;
    bool fullRange;
};

// The formats that say their range by their name have twins that do not.
PlainFormat plainFormat(AVPixelFormat format)
{
    switch (format) {
    case AV_PIX_FMT_YUVJ420P:
        return {AV_PIX_FMT_YUV420P, true};
    case AV_PIX_FMT_YUVJ411P:
        return {AV_PIX_FMT_YUV411P, true};
    case AV_PIX_FMT_YUVJ422P:
        return {AV_PIX_FMT_YUV422P, true};
    case AV_PIX_FMT_YUVJ440P:
        return {AV_PIX_FMT_YUV440P, true};
    case AV_PIX_FMT_YUVJ444P:
        return {AV_PIX_FMT_YUV444P, true};
    default:
        return {format, false};
    }
}

// Demuxers and decoders pass on numbers that a damaged file holds and that no enumeration has room for.
template <typename Enumeration>
int numberOf(const Enumeration &value)
{
    static_assert(sizeof(Enumeration) == sizeof(int));
    int number = 0;
    std::memcpy(&number, &value, sizeof number);
    return number;
}

// The player's guess where the film does not tell.
AVColorSpace matrixOf(const AVFrame &picture)
{
    const int told = numberOf(picture.colorspace);
    switch (told) {
    case AVCOL_SPC_BT709:
    case AVCOL_SPC_FCC:
    case AVCOL_SPC_BT470BG:
    case AVCOL_SPC_SMPTE170M:
    case AVCOL_SPC_SMPTE240M:
    case AVCOL_SPC_BT2020_NCL:
        return static_cast<AVColorSpace>(told);
    case AVCOL_SPC_BT2020_CL:
        return AVCOL_SPC_BT2020_NCL;
    default: {
        const bool highDefinition = picture.width >= 1280 || picture.height > 576;
        return highDefinition ? AVCOL_SPC_BT709 : AVCOL_SPC_SMPTE170M;
    }
    }
}

} // namespace

std::optional<std::int32_t> PictureGeometry::bytes() const
{
    const std::int64_t count = std::int64_t(width) * height;
    if (count <= 0 || count > std::numeric_limits<std::int32_t>::max() / bytesPerPixel)
        return std::nullopt;
    return static_cast<std::int32_t>(count * bytesPerPixel);
}

std::int64_t mostPicturePixels()
{
    // What decoder and answers hold of one picture, with its neighbours, in a share of the memory.
    constexpr std::uint64_t heldBytesPerPixel = 48;
    // A row with its padding still has a size that the scaler can count.
    constexpr std::int64_t mostAnyway = std::numeric_limits<std::int32_t>::max() / bytesPerPixelWithAlpha - 1024;
    const std::uint64_t memory = physicalMemory();
    if (memory == 0)
        return mostAnyway;
    return std::min(static_cast<std::int64_t>(memory / heldBytesPerPixel), mostAnyway);
}

std::optional<PictureGeometry> shownGeometry(int codedWidth, int codedHeight, AVRational pixelAspect, int quarterTurns)
{
    if (codedWidth <= 0 || codedHeight <= 0)
        return std::nullopt;
    std::int64_t width = codedWidth;
    std::int64_t height = codedHeight;
    if (pixelAspect.num > 0 && pixelAspect.den > 0) {
        if (pixelAspect.num > pixelAspect.den)
            width = av_rescale_rnd(width, pixelAspect.num, pixelAspect.den, AV_ROUND_DOWN);
        else
            height = av_rescale_rnd(height, pixelAspect.den, pixelAspect.num, AV_ROUND_DOWN);
    }
    if (quarterTurns % 2 != 0)
        std::swap(width, height);
    constexpr std::int64_t most = std::numeric_limits<std::int32_t>::max();
    if (width > most || height > most || width * height > mostPicturePixels())
        return std::nullopt;
    const PictureGeometry geometry{static_cast<std::int32_t>(width), static_cast<std::int32_t>(height), quarterTurns};
    return geometry.bytes() ? std::optional(geometry) : std::nullopt;
}

int quarterTurnsOf(const AVStream &stream)
{
    std::size_t size = 0;
    const std::uint8_t *matrix = av_stream_get_side_data(&stream, AV_PKT_DATA_DISPLAYMATRIX, &size);
    if (matrix == nullptr || size < 9 * sizeof(std::int32_t))
        return 0;
    const double counterclockwise = av_display_rotation_get(reinterpret_cast<const std::int32_t *>(matrix));
    if (!std::isfinite(counterclockwise))
        return 0;
    const auto turns = static_cast<int>(std::lround(-counterclockwise / 90.0)) % 4;
    return turns < 0 ? turns + 4 : turns;
}

bool PicturePainter::prepare(const AVFrame &picture)
{
    const PlainFormat plain = plainFormat(static_cast<AVPixelFormat>(picture.format));
    const Source source{picture.width, picture.height, plain.format, matrixOf(picture),
                        plain.fullRange || numberOf(picture.color_range) == AVCOL_RANGE_JPEG};
    if (m_scaler && source == m_source)
        return true;

    const bool sideways = m_geometry.quarterTurns % 2 != 0;
    const int width = sideways ? m_geometry.height : m_geometry.width;
    const int height = sideways ? m_geometry.width : m_geometry.height;
    const bool scaled = width != source.width || height != source.height;
    // Without scaling and with even rows there is a direct way for the usual formats, unless more is asked for.
    const bool direct = !scaled && source.height % 2 == 0 && source.width % 2 == 0;
    const int flags = direct ? SWS_BILINEAR : SWS_BICUBIC | SWS_FULL_CHR_H_INT | SWS_ACCURATE_RND;
    const AVPixFmtDescriptor *format = av_pix_fmt_desc_get(source.format);
    const bool transparent = format != nullptr && (format->flags & AV_PIX_FMT_FLAG_ALPHA) != 0;
    m_pixelBytes = transparent ? bytesPerPixelWithAlpha : bytesPerPixel;
    const AVPixelFormat target = transparent ? AV_PIX_FMT_BGRA : AV_PIX_FMT_BGR24;
    m_scaler.reset(sws_getContext(source.width, source.height, source.format, width, height, target, flags, nullptr,
                                  nullptr, nullptr));
    if (!m_scaler)
        return false;
    // Formats that have no matrix refuse one.
    (void)sws_setColorspaceDetails(m_scaler.get(), sws_getCoefficients(source.matrix), source.fullRange ? 1 : 0,
                                   sws_getCoefficients(SWS_CS_DEFAULT), 1, 0, 1 << 16, 1 << 16);
    m_source = source;

    // The scaler's vector code writes whole registers.
    constexpr int alignment = 64;
    m_stride = (width * m_pixelBytes + 2 * alignment - 1) / alignment * alignment;
    m_uprightHeight = height;
    m_upright.resize(static_cast<std::size_t>(m_stride) * static_cast<std::size_t>(height) + alignment);
    return true;
}

bool PicturePainter::paint(const AVFrame &picture, std::span<std::byte> pixels)
{
    const bool known = av_pix_fmt_desc_get(static_cast<AVPixelFormat>(picture.format)) != nullptr;
    if (picture.width <= 0 || picture.height <= 0 || !known || !prepare(picture))
        return false;
    std::uint8_t *rows[4] = {m_upright.data(), nullptr, nullptr, nullptr};
    const int strides[4] = {m_stride, 0, 0, 0};
    if (sws_scale(m_scaler.get(), picture.data, picture.linesize, 0, picture.height, rows, strides) <= 0)
        return false;
    if (m_pixelBytes == bytesPerPixelWithAlpha)
        layOverBlack();
    turn(pixels);
    return true;
}

void PicturePainter::layOverBlack()
{
    constexpr unsigned opaque = 255;
    const std::size_t rowBytes = static_cast<std::size_t>(m_stride);
    for (std::size_t row = 0; row < static_cast<std::size_t>(m_uprightHeight); ++row) {
        std::uint8_t *pixel = m_upright.data() + row * rowBytes;
        std::uint8_t *const end = pixel + rowBytes / bytesPerPixelWithAlpha * bytesPerPixelWithAlpha;
        for (; pixel != end; pixel += bytesPerPixelWithAlpha) {
            const unsigned alpha = pixel[bytesPerPixel];
            if (alpha == opaque)
                continue;
            for (int channel = 0; channel < bytesPerPixel; ++channel)
                pixel[channel] = static_cast<std::uint8_t>((pixel[channel] * alpha + opaque / 2) / opaque);
        }
    }
}

void PicturePainter::turn(std::span<std::byte> pixels) const
{
    const auto width = static_cast<std::ptrdiff_t>(m_geometry.width);
    const auto height = static_cast<std::ptrdiff_t>(m_geometry.height);
    const std::ptrdiff_t stride = m_stride;
    const std::uint8_t *start = m_upright.data();
    auto *target = reinterpret_cast<std::uint8_t *>(pixels.data());
    if (m_geometry.quarterTurns == 0 && m_pixelBytes == bytesPerPixel) {
        for (std::ptrdiff_t row = 0; row < height; ++row)
            std::memcpy(target + row * width * bytesPerPixel, start + row * stride,
                        static_cast<std::size_t>(width * bytesPerPixel));
        return;
    }
    // Where the shown picture's upper left pixel comes from, and the steps to its right and lower neighbour.
    const std::ptrdiff_t step = m_pixelBytes;
    std::ptrdiff_t right = step;
    std::ptrdiff_t down = stride;
    if (m_geometry.quarterTurns == 1) {
        start += (width - 1) * stride;
        right = -stride;
        down = step;
    } else if (m_geometry.quarterTurns == 2) {
        start += (height - 1) * stride + (width - 1) * step;
        right = -step;
        down = -stride;
    } else if (m_geometry.quarterTurns == 3) {
        start += (height - 1) * step;
        right = stride;
        down = -step;
    }
    for (std::ptrdiff_t row = 0; row < height; ++row) {
        const std::uint8_t *source = start + row * down;
        for (std::ptrdiff_t column = 0; column < width; ++column, source += right, target += bytesPerPixel)
            std::memcpy(target, source, bytesPerPixel);
    }
}

void PicturePainter::paintBlack(std::span<std::byte> pixels)
{
    std::fill(pixels.begin(), pixels.end(), std::byte(0));
}
