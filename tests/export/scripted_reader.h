#pragma once

/// The film of the scripted reader.
namespace scripted_reader {

constexpr int width = 320;
constexpr int height = 240;

/// The colour (red, green, blue in a byte each) of a pixel of the picture with this index. The square at the top left
/// carries the index in its colour, with a darker half below; what is right of it is white.
constexpr unsigned colorAt(unsigned index, int x, int y)
{
    if (x >= height)
        return 0xFFFFFF;
    const unsigned bits = (index >> 12U & 0x3FU) << 17U | (index >> 6U & 0x3FU) << 9U | (index & 0x3FU) << 1U;
    return y < height / 2 ? bits | 0x808080U : bits;
}

/// The index that the colour of the upper half carries.
constexpr int indexOf(unsigned color)
{
    return static_cast<int>((color >> 17U & 0x3FU) << 12U | (color >> 9U & 0x3FU) << 6U | (color >> 1U & 0x3FU));
}

} // namespace scripted_reader
