#pragma once

#include "export/bitmap.h"

#include <cstdint>
#include <memory>
#include <vector>

struct PaletteColor {
    std::uint8_t red = 0;
    std::uint8_t green = 0;
    std::uint8_t blue = 0;
};

/// A picture of at most 256 colours.
struct IndexedPicture {
    /// At least one colour, the unused one of `transparent` included.
    std::vector<PaletteColor> palette;
    /// Indices into the palette, row by row from the top.
    std::vector<std::uint8_t> pixels;
    /// The index of pixels that keep the colour of the picture before; -1 where every pixel has a colour of its own.
    int transparent = -1;
};

/// Reduces the pictures of one animation to 256 colours each, every picture to a palette of its own. Pictures of so few
/// colours come through unchanged; on others the error of each pixel is spread over its neighbours.
class ColorReduction {
public:
    ColorReduction();
    ~ColorReduction();
    ColorReduction(const ColorReduction &) = delete;
    ColorReduction &operator=(const ColorReduction &) = delete;

    /// The reduced form of the animation's next picture, which has the size of those before it and is not empty. The
    /// result is valid until the next call. Throws std::bad_alloc.
    [[nodiscard]] const IndexedPicture &reduce(const Bitmap &picture);

private:
    class Work;
    std::unique_ptr<Work> m_work;
};
