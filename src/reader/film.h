#pragma once

#include "film/interruption.h"
#include "reader/picture_finder.h"
#include "reader/picture_painter.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>

/// An open film as a row of pictures. Index n is the time from n to n + 1 ÷ frame rate after the film's first picture,
/// and its picture the last one that starts before the end of that time, give or take the container's rounding: the
/// one that the player gives the number n.
class Film {
public:
    /// Opens the film (a UTF-8 path); null if it is no film that can be shown, or if `interrupted`. `ended` is asked
    /// while the film lives: true makes every reading from the file fail at once.
    [[nodiscard]] static std::unique_ptr<Film> open(const std::string &path, const Interrupted &interrupted,
                                                    const Interrupted &ended);
    Film(const Film &) = delete;
    Film &operator=(const Film &) = delete;

    /// Pixels as shown, after rotation and with square pixels; at least 1 and together at most 2^31 - 1 bytes.
    [[nodiscard]] std::int32_t width() const { return m_geometry.width; }
    [[nodiscard]] std::int32_t height() const { return m_geometry.height; }
    [[nodiscard]] std::size_t pictureBytes() const;

    /// Number of pictures, as far as the container tells; 0 if it does not.
    [[nodiscard]] std::int64_t frameCount() const { return m_frameCount; }
    /// Pictures per second: to the last bit what the player makes of the average time per picture.
    [[nodiscard]] double frameRate() const { return m_frameRate; }

    /// Paints the pictures from `index` on into `pixels`, as many as it holds: rows from the top down, 3 bytes a pixel
    /// (blue, green, red), without padding. Before the first and after the last picture it is that picture, where
    /// none can be decoded the one before, a black one if there is none at all. False only if interrupted.
    [[nodiscard]] bool read(std::int64_t index, std::span<std::byte> pixels, const Interrupted &interrupted);

    /// Decodes what will probably be read next, until that is done or `interrupted`.
    void workAhead(const Interrupted &interrupted);

private:
    Film(std::unique_ptr<PictureFinder> finder, const PictureGeometry &geometry);

    [[nodiscard]] std::int64_t timeOf(std::int64_t index) const;
    void expectAfter(std::int64_t index, std::int64_t count);
    void paint(const AVFrame *picture, std::span<std::byte> pixels);

    std::unique_ptr<PictureFinder> m_finder;
    PictureGeometry m_geometry;
    PicturePainter m_painter;
    double m_frameRate;
    double m_unit; ///< seconds of the stream's time base
    std::int64_t m_frameCount;
    std::int64_t m_lastRead = -1;
    std::int64_t m_distance = 0; ///< by which indices go on from read to read; 0 as long as none was seen
};
