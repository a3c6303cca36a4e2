#pragma once

/// How a test film carries its frame number: a band of cells along the picture's upper edge, one bit a cell,
/// the most significant first. A cell is a pair of fields, one above the other and of opposite brightness: white
/// over black is 1, black over white is 0. So a bit is read by comparing two places of one picture, whatever the
/// coding, the colour range or the scaling did to it, and a mixture of two pictures is seen as such.
namespace film_pattern {

constexpr int numberCells = 16;
constexpr int checkCells = 8;
constexpr int cells = numberCells + checkCells;

/// Height of one field of the band in thousandths of the picture's height; the band is two fields high.
constexpr int fieldHeightPermille = 100;

/// The luminance of the fields and the least luminance of everything below the band, on the scale 16 .. 235.
constexpr int black = 16;
constexpr int white = 235;
constexpr int darkestGround = 80;

/// The bits of the band for a frame number 0 .. 65535: the number, then its CRC-8 (polynomial x^8+x^2+x+1,
/// started with all ones, so that no number makes a uniform band).
constexpr unsigned bandOf(unsigned number)
{
    unsigned remainder = 0xFF;
    for (int bit = numberCells - 1; bit >= 0; --bit) {
        const unsigned fed = ((remainder >> 7U) ^ (number >> static_cast<unsigned>(bit))) & 1U;
        remainder = (remainder << 1U) & 0xFFU;
        if (fed != 0)
            remainder ^= 0x07U;
    }
    return (number & 0xFFFFU) << static_cast<unsigned>(checkCells) | remainder;
}

} // namespace film_pattern
