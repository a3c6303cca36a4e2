// paint_film WIDTH HEIGHT FRAMES RATE: writes a film to the standard output as YUV4MPEG2, for ffmpeg to encode.
// RATE is a fraction of frames per second ("30000/1001") or a whole number. Frame N (from 0) carries its number
// twice: as cells for paintedFrameNumber() and as digits for a person. Below them something moves.

#include "film_pattern.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace {

using Byte = unsigned char;

struct Plane {
    int width;
    int height;
    std::vector<Byte> bytes;

    Plane(int planeWidth, int planeHeight)
        : width(planeWidth)
        , height(planeHeight)
        , bytes(static_cast<std::size_t>(planeWidth) * static_cast<std::size_t>(planeHeight))
    {
    }

    Byte *row(int y) { return bytes.data() + static_cast<std::size_t>(y) * static_cast<std::size_t>(width); }

    // Half-open ranges, clipped to the plane.
    void fill(int left, int top, int right, int bottom, int value)
    {
        left = std::clamp(left, 0, width);
        right = std::clamp(right, left, width);
        for (int y = std::max(top, 0); y < std::min(bottom, height); ++y)
            std::fill(row(y) + left, row(y) + right, static_cast<Byte>(value));
    }
};

// Five by seven, a row in five bits, the most significant on the left.
constexpr std::array<std::array<Byte, 7>, 10> digitShapes{{
    {14, 17, 19, 21, 25, 17, 14},
    {4, 12, 4, 4, 4, 4, 14},
    {14, 17, 1, 2, 4, 8, 31},
    {31, 2, 4, 2, 1, 17, 14},
    {2, 6, 10, 18, 31, 2, 2},
    {31, 16, 30, 1, 1, 17, 14},
    {6, 8, 16, 30, 17, 17, 14},
    {31, 1, 2, 4, 8, 8, 8},
    {14, 17, 17, 14, 17, 17, 14},
    {14, 17, 17, 15, 1, 2, 12},
}};

void paintGround(Plane &luma, int top, int number)
{
    // Two slow waves and diagonal stripes that drift at different speeds: every picture differs from its
    // neighbours everywhere, and motion search finds something to follow.
    for (int y = top; y < luma.height; ++y) {
        Byte *pixel = luma.row(y);
        for (int x = 0; x < luma.width; ++x) {
            const int wave = std::abs((x * 2 + number * 3) % 128 - 64) / 2;
            const int stripe = ((x + y + number * 2) / 12) % 2 == 0 ? 0 : 24;
            pixel[x] = static_cast<Byte>(film_pattern::darkestGround + 10 + wave + stripe);
        }
    }
    // A ball of constant speed that bounces off the sides.
    const int radius = std::max(luma.height / 14, 1);
    const int roadX = std::max(luma.width - 2 * radius, 1);
    const int roadY = std::max(luma.height - top - 2 * radius, 1);
    const int centreX = radius + std::abs((number * 5) % (2 * roadX) - roadX);
    const int centreY = top + radius + std::abs((number * 3) % (2 * roadY) - roadY);
    for (int y = -radius; y <= radius; ++y) {
        for (int x = -radius; x <= radius; ++x) {
            if (x * x + y * y <= radius * radius)
                luma.fill(centreX + x, centreY + y, centreX + x + 1, centreY + y + 1, 200);
        }
    }
}

void paintDigits(Plane &luma, int top, int number)
{
    const std::string text = std::to_string(number);
    const int columns = static_cast<int>(text.size()) * 6 + 1;
    const int dot = std::min((luma.height - top) / 14, luma.width / columns);
    if (dot < 1)
        return;
    const int left = (luma.width - dot * columns) / 2;
    const int upper = top + (luma.height - top - dot * 9) / 2;
    luma.fill(left, upper, left + dot * columns, upper + dot * 9, film_pattern::darkestGround);
    for (std::size_t index = 0; index < text.size(); ++index) {
        const auto &shape = digitShapes[static_cast<std::size_t>(text[index] - '0')];
        const int digitLeft = left + dot * (static_cast<int>(index) * 6 + 1);
        for (int line = 0; line < 7; ++line) {
            for (int column = 0; column < 5; ++column) {
                if ((shape[static_cast<std::size_t>(line)] >> (4 - column) & 1) != 0) {
                    const int x = digitLeft + dot * column;
                    const int y = upper + dot * (line + 1);
                    luma.fill(x, y, x + dot, y + dot, film_pattern::white);
                }
            }
        }
    }
}

// Returns the first row below the band.
int paintBand(Plane &luma, int number)
{
    const int fieldHeight = luma.height * film_pattern::fieldHeightPermille / 1000;
    const unsigned bits = film_pattern::bandOf(static_cast<unsigned>(number));
    for (int cell = 0; cell < film_pattern::cells; ++cell) {
        const bool one = (bits >> static_cast<unsigned>(film_pattern::cells - 1 - cell) & 1U) != 0;
        const int left = luma.width * cell / film_pattern::cells;
        const int right = luma.width * (cell + 1) / film_pattern::cells;
        luma.fill(left, 0, right, fieldHeight, one ? film_pattern::white : film_pattern::black);
        luma.fill(left, fieldHeight, right, 2 * fieldHeight, one ? film_pattern::black : film_pattern::white);
    }
    return 2 * fieldHeight;
}

void paintColour(Plane &plane, int number, int phase)
{
    for (int y = 0; y < plane.height; ++y) {
        const int value = 118 + std::abs((y + number + phase) % 40 - 20);
        std::fill(plane.row(y), plane.row(y) + plane.width, static_cast<Byte>(value));
    }
}

bool write(const void *bytes, std::size_t count)
{
    return std::fwrite(bytes, 1, count, stdout) == count;
}

bool writeFilm(int width, int height, int frames, const std::string &rate)
{
    const std::string header = "YUV4MPEG2 W" + std::to_string(width) + " H" + std::to_string(height) + " F" + rate
        + " Ip A1:1 C420jpeg XCOLORRANGE=LIMITED\n";
    if (!write(header.data(), header.size()))
        return false;
    Plane luma(width, height);
    Plane blue((width + 1) / 2, (height + 1) / 2);
    Plane red = blue;
    constexpr std::string_view frameHeader = "FRAME\n";
    for (int number = 0; number < frames; ++number) {
        const int top = paintBand(luma, number);
        paintGround(luma, top, number);
        paintDigits(luma, top, number);
        paintColour(blue, number, 0);
        paintColour(red, -number, frames * 40);
        if (!write(frameHeader.data(), frameHeader.size()) || !write(luma.bytes.data(), luma.bytes.size())
            || !write(blue.bytes.data(), blue.bytes.size()) || !write(red.bytes.data(), red.bytes.size()))
            return false;
    }
    return std::fflush(stdout) == 0;
}

std::optional<int> wholeNumber(std::string_view text, int most)
{
    int number = 0;
    for (const char character : text) {
        if (character < '0' || character > '9')
            return std::nullopt;
        number = number * 10 + (character - '0');
        if (number > most)
            return std::nullopt;
    }
    if (number == 0)
        return std::nullopt;
    return number;
}

} // namespace

int main(int count, char **arguments)
{
    const std::vector<std::string_view> words(arguments, arguments + count);
    if (words.size() == 5) {
        const auto slash = words[4].find('/');
        const auto width = wholeNumber(words[1], 16384);
        const auto height = wholeNumber(words[2], 16384);
        const auto frames = wholeNumber(words[3], 65536);
        const auto numerator = wholeNumber(words[4].substr(0, slash), 1000000);
        const auto denominator =
            slash == std::string_view::npos ? std::optional(1) : wholeNumber(words[4].substr(slash + 1), 1000000);
        if (width && height && frames && numerator && denominator) {
            const std::string rate = std::to_string(*numerator) + ':' + std::to_string(*denominator);
            return writeFilm(*width, *height, *frames, rate) ? EXIT_SUCCESS : EXIT_FAILURE;
        }
    }
    std::fputs("usage: paint_film WIDTH HEIGHT FRAMES RATE > film.y4m\n", stderr);
    return EXIT_FAILURE;
}
