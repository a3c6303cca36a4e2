#pragma once

#include "film/ffmpeg_handle.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

/// How a film's pictures are shown.
struct PictureGeometry {
    std::int32_t width = 0; ///< as shown, in square pixels, at least 1
    std::int32_t height = 0;
    int quarterTurns = 0; ///< clockwise, 0 .. 3, from the coded picture to the shown one

    /// Bytes of one picture; nothing if a signed 32-bit number cannot hold them.
    [[nodiscard]] std::optional<std::int32_t> bytes() const;
};

/// Pixels of the largest picture that this machine's memory allows to decode and show.
[[nodiscard]] std::int64_t mostPicturePixels();

/// The geometry of coded pictures of this size and pixel aspect ratio (a non-positive one means square pixels); a
/// stretched picture is enlarged, never reduced. Nothing if the size is none or too large.
[[nodiscard]] std::optional<PictureGeometry> shownGeometry(int codedWidth, int codedHeight, AVRational pixelAspect,
                                                           int quarterTurns);

/// Clockwise quarter turns that the stream's display matrix asks for; the nearest, if it asks for others.
[[nodiscard]] int quarterTurnsOf(const AVStream &stream);

/// Paints decoded pictures of any format and size as they are shown, transparent ones over black.
class PicturePainter {
public:
    explicit PicturePainter(const PictureGeometry &geometry) : m_geometry(geometry) {}

    /// Writes rows from the top down, each of `width` pixels of 3 bytes (blue, green, red), without padding;
    /// `pixels` has room for one picture. False if the picture cannot be converted; `pixels` is unspecified then.
    [[nodiscard]] bool paint(const AVFrame &picture, std::span<std::byte> pixels);

    /// Paints a black picture.
    static void paintBlack(std::span<std::byte> pixels);

private:
    [[nodiscard]] bool prepare(const AVFrame &picture);
    void layOverBlack();
    void turn(std::span<std::byte> pixels) const;

    PictureGeometry m_geometry;

    /// What the scaler was made for.
    struct Source {
        int width = 0;
        int height = 0;
        AVPixelFormat format = AV_PIX_FMT_NONE;
        AVColorSpace matrix = AVCOL_SPC_UNSPECIFIED;
        bool fullRange = false;
        bool operator==(const Source &) const = default;
    };
    Source m_source;
    Scaler m_scaler;
    std::vector<std::uint8_t> m_upright; ///< the picture before it is turned, rows padded for the scaler
    int m_stride = 0;
    int m_uprightHeight = 0;
    int m_pixelBytes = 3; ///< in m_upright: 4 if the source's pixels may be transparent
};
