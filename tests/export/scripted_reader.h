#pragma once

#include <cstdint>

/// The film of the scripted reader.
namespace scripted_reader {

constexpr int width = 320;
constexpr int height = 240;
constexpr double frameRate = 25;
constexpr const char *openReply = "320 240 250 25";

struct Color {
    std::uint8_t red, green, blue;
};

/// The colour of a pixel of the picture with this index. The square at the top left carries the index in its colour,
/// with a darker half below; what is right of it is white.
constexpr Color colorAt(long long index, int x, int y)
{
    if (x >= height)
        return {255, 255, 255};
    const auto bits = static_cast<unsigned long long>(index);
    const auto channel = [&](int shift) {
        return static_cast<std::uint8_t>(((bits >> static_cast<unsigned>(shift)) & 0x3FU) * 2 + (y < height / 2 ? 128 : 0));
    };
    return {channel(12), channel(6), channel(0)};
}

/// The index that the colour of the upper half carries.
constexpr int indexOf(Color color)
{
    return (color.red - 128) / 2 << 12 | (color.green - 128) / 2 << 6 | (color.blue - 128) / 2;
}

} // namespace scripted_reader
