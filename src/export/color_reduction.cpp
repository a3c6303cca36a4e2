#include "export/color_reduction.h"

#include "export/nearest_color.h"

#include <libimagequant.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>
#include <new>
#include <tuple>
#include <utility>

// How a picture is reduced:
// 1. A picture of few colours gets exactly these.
// 2. Else its colours are gathered into the cells of a coarse cube, each with the mean of its pixels; libimagequant
//    chooses a palette for the cells at its fastest, and a few rounds of k-means over them move the palette's colours
//    to where the errors are least. That is as good as libimagequant's slow settings and many times faster.
// 3. Every pixel gets the palette's nearest colour, or keeps the one it shows already if that is nearer. Its error is
//    spread over the neighbours. A pixel rather repeats the choice of the one before it where that costs less than
//    the palette's mean error: it cannot be seen and compresses far better.
// The library's own dithering over a background knows no repetition: photographs as near take 5 % more bytes.

namespace {

constexpr int paletteSize = 256;

// Chosen by measurement on photographs, film and drawings, moving and still: see bench/export.
constexpr int cellBits = 6;
/// Pictures of fewer cells than this are smooth: there every shade counts.
constexpr std::size_t fewCells = 1024;
constexpr int fastestSpeed = 10;
constexpr int kMeansRounds = 3;
/// The part of its error that a pixel hands on, in sixteenths.
constexpr int spreadError = 5;
/// In parts of the palette's mean squared error: what a repeated choice may cost, and how much nearer the shown colour
/// must be for a pixel to keep it.
constexpr double repetitionWorth = 1.8;
constexpr double keepingPrice = 0.25;

template <auto destroy>
struct Destroy {
    template <typename T>
    void operator()(T *object) const
    {
        destroy(object);
    }
};
using Attributes = std::unique_ptr<liq_attr, Destroy<liq_attr_destroy>>;
using Histogram = std::unique_ptr<liq_histogram, Destroy<liq_histogram_destroy>>;
using Quantized = std::unique_ptr<liq_result, Destroy<liq_result_destroy>>;

int squaredDistance(const std::array<int, 3> &color, int red, int green, int blue)
{
    const int r = color[0] - red;
    const int g = color[1] - green;
    const int b = color[2] - blue;
    return r * r + g * g + b * b;
}

/// Numbers the colours it is given, 0 on.
class ColorNumbers {
public:
    /// Forgets all colours; makes room for `colors` of them.
    void clear(std::size_t colors)
    {
        m_slotBits = static_cast<int>(std::bit_width(2 * colors));
        m_slots.assign(std::size_t{1} << m_slotBits, {});
        m_count = 0;
    }

    [[nodiscard]] std::size_t size() const { return m_count; }

    /// The number of the colour, the next one for a new colour.
    [[nodiscard]] std::size_t numberOf(std::uint32_t color)
    {
        constexpr std::uint32_t scatter = 2654435761U;
        std::size_t slot = (color * scatter) >> (32 - m_slotBits);
        while (m_slots[slot].number != 0 && m_slots[slot].color != color)
            slot = (slot + 1) % m_slots.size();
        if (m_slots[slot].number == 0)
            m_slots[slot] = {color, static_cast<std::uint32_t>(++m_count)};
        return m_slots[slot].number - 1;
    }

private:
    struct Slot {
        std::uint32_t color = 0;
        /// From 1; 0 is a free slot.
        std::uint32_t number = 0;
    };
    int m_slotBits = 1;
    std::vector<Slot> m_slots;
    std::size_t m_count = 0;
};

std::uint32_t colorOf(const std::uint8_t *pixel)
{
    return static_cast<std::uint32_t>(pixel[2] << 16 | pixel[1] << 8 | pixel[0]);
}

} // namespace

class ColorReduction::Work {
public:
    const IndexedPicture &reduce(const Bitmap &picture)
    {
        const std::size_t pixels =
            static_cast<std::size_t>(picture.Width()) * static_cast<std::size_t>(picture.Height());
        m_result.palette.clear();
        m_result.pixels.resize(pixels);
        m_result.transparent = -1;
        if (!reduceExactly(picture)) {
            gatherCells(picture, cellBits);
            if (m_cells.size() < fewCells)
                gatherCells(picture, 8);
            choosePalette(picture);
            dither(picture);
        }
        if (m_first)
            m_shown.SetSize(picture.Width(), picture.Height());
        if (m_result.transparent >= 0)
            m_result.palette.push_back({});
        show(picture);
        remember(picture);
        m_first = false;
        return m_result;
    }

private:
    /// A colour's cell: the sums of its pixels' channels and their count.
    struct Cell {
        int red = 0;
        int green = 0;
        int blue = 0;
        int count = 0;

        [[nodiscard]] int mean(int Cell::*channel) const { return (this->*channel + count / 2) / count; }
    };

    [[nodiscard]] std::size_t colorLimit() const { return m_first ? paletteSize : paletteSize - 1; }

    /// Reduces a picture whose colours fit the palette; false for others.
    bool reduceExactly(const Bitmap &picture)
    {
        m_numbers.clear(paletteSize + 1);
        std::uint8_t *index = m_result.pixels.data();
        for (int row = 0; row < picture.Height(); ++row) {
            const std::uint8_t *pixel = picture.ScanLine(row);
            for (int column = 0; column < picture.Width(); ++column, pixel += Bitmap::bytesPerPixel) {
                const std::size_t number = m_numbers.numberOf(colorOf(pixel));
                if (number == m_result.palette.size()) {
                    if (number == colorLimit()) {
                        m_result.palette.clear();
                        return false;
                    }
                    m_result.palette.push_back({pixel[2], pixel[1], pixel[0]});
                }
                *index++ = static_cast<std::uint8_t>(number);
            }
        }
        if (!m_first)
            keepEqualPixels(picture);
        return true;
    }

    void keepEqualPixels(const Bitmap &picture)
    {
        const auto transparent = static_cast<std::uint8_t>(m_result.palette.size());
        std::uint8_t *index = m_result.pixels.data();
        for (int row = 0; row < picture.Height(); ++row) {
            const std::uint8_t *pixel = picture.ScanLine(row);
            const std::uint8_t *before = m_shown.ScanLine(row);
            for (int column = 0; column < picture.Width(); ++column, ++index) {
                if (colorOf(pixel) == colorOf(before)) {
                    *index = transparent;
                    m_result.transparent = transparent;
                }
                pixel += Bitmap::bytesPerPixel;
                before += Bitmap::bytesPerPixel;
            }
        }
    }

    /// Gathers the picture's colours into cells that are 2 to the power of `8 - bits` wide.
    void gatherCells(const Bitmap &picture, int bits)
    {
        const std::uint32_t channelMask = 0xFFU & (0xFFU << (8 - bits));
        const std::uint32_t mask = channelMask << 16 | channelMask << 8 | channelMask;
        m_numbers.clear(m_result.pixels.size());
        m_cells.clear();
        for (int row = 0; row < picture.Height(); ++row) {
            const std::uint8_t *pixel = picture.ScanLine(row);
            for (int column = 0; column < picture.Width(); ++column, pixel += Bitmap::bytesPerPixel) {
                const std::size_t number = m_numbers.numberOf(colorOf(pixel) & mask);
                if (number == m_cells.size())
                    m_cells.emplace_back();
                Cell &cell = m_cells[number];
                cell.red += pixel[2];
                cell.green += pixel[1];
                cell.blue += pixel[0];
                ++cell.count;
            }
        }
    }

    void choosePalette(const Bitmap &picture)
    {
        m_entries.clear();
        for (const Cell &cell : m_cells) {
            const auto channel = [&](int Cell::*which) { return static_cast<unsigned char>(cell.mean(which)); };
            m_entries.push_back({{channel(&Cell::red), channel(&Cell::green), channel(&Cell::blue), 255},
                                 static_cast<unsigned int>(cell.count)});
        }
        // The gamma that the library counts with: then it raises nothing to a power, which C libraries round differently.
        constexpr double linearGamma = 0.5499F;
        const Attributes attributes(liq_attr_create());
        if (!attributes)
            throw std::bad_alloc();
        liq_set_speed(attributes.get(), fastestSpeed);
        liq_set_max_colors(attributes.get(), static_cast<int>(colorLimit()));
        const Histogram histogram(liq_histogram_create(attributes.get()));
        liq_result *quantized = nullptr;
        if (!histogram
            || liq_histogram_add_colors(histogram.get(), attributes.get(), m_entries.data(),
                                        static_cast<int>(m_entries.size()), linearGamma)
                   != LIQ_OK
            || liq_histogram_quantize(histogram.get(), attributes.get(), &quantized) != LIQ_OK)
            throw std::bad_alloc();
        const Quantized owner(quantized);

        const liq_palette *palette = liq_get_palette(quantized);
        for (unsigned int i = 0; i < palette->count; ++i) {
            const liq_color &color = palette->entries[i];
            m_result.palette.push_back({color.r, color.g, color.b});
        }
        // Which of two equally frequent colours comes first depends on the C library's sorting.
        std::sort(m_result.palette.begin(), m_result.palette.end(), [](const PaletteColor &a, const PaletteColor &b) {
            return std::tie(a.red, a.green, a.blue) < std::tie(b.red, b.green, b.blue);
        });
        m_nearest.setPalette(m_result.palette);
        for (int round = 0; round < kMeansRounds; ++round)
            moveToMeans(picture);
    }

    /// One round of k-means; leaves the mean squared error of the palette before it in `meanError`.
    void moveToMeans(const Bitmap &picture)
    {
        struct Sum {
            std::int64_t red = 0;
            std::int64_t green = 0;
            std::int64_t blue = 0;
            std::int64_t count = 0;
        };
        std::array<Sum, paletteSize> sums{};
        double error = 0;
        for (const Cell &cell : m_cells) {
            const int red = cell.mean(&Cell::red);
            const int green = cell.mean(&Cell::green);
            const int blue = cell.mean(&Cell::blue);
            const std::uint8_t index = m_nearest.find(red, green, blue);
            Sum &sum = sums[index];
            sum.red += cell.red;
            sum.green += cell.green;
            sum.blue += cell.blue;
            sum.count += cell.count;
            const PaletteColor &color = m_result.palette[index];
            error += cell.count
                     * static_cast<double>(squaredDistance({color.red, color.green, color.blue}, red, green, blue));
        }
        m_meanError = error / (static_cast<double>(picture.Width()) * picture.Height());
        for (std::size_t i = 0; i < m_result.palette.size(); ++i) {
            const Sum &sum = sums[i];
            if (sum.count == 0)
                continue;
            const auto mean = [&](std::int64_t channel) {
                return static_cast<std::uint8_t>((channel + sum.count / 2) / sum.count);
            };
            m_result.palette[i] = {mean(sum.red), mean(sum.green), mean(sum.blue)};
        }
        m_nearest.setPalette(m_result.palette);
    }

    void dither(const Bitmap &picture)
    {
        const int width = picture.Width();
        const auto transparent = static_cast<std::uint8_t>(m_result.palette.size());
        const int worth = static_cast<int>(m_meanError * repetitionWorth);
        const int price = static_cast<int>(m_meanError * keepingPrice);
        // One pixel more at either end takes the errors that fall over the edge. The scale is 1/256.
        const std::size_t length = (static_cast<std::size_t>(width) + 2) * Bitmap::bytesPerPixel;
        m_errorsHere.assign(length, 0);
        for (int row = 0; row < picture.Height(); ++row) {
            m_errorsBelow.assign(length, 0);
            // Every other row runs backwards, or the errors would drift to one side.
            const int step = row % 2 == 0 ? 1 : -1;
            int column = step > 0 ? 0 : width - 1;
            std::uint8_t *const indices = m_result.pixels.data() + static_cast<std::ptrdiff_t>(row) * width;
            const std::uint8_t *const pixels = picture.ScanLine(row);
            const std::uint8_t *const pixelsBefore = m_first ? nullptr : m_shown.ScanLine(row);
            const std::uint8_t *const sourceBefore = m_first ? nullptr : m_previous.ScanLine(row);
            int repeated = -1;
            for (int count = 0; count < width; ++count, column += step) {
                const std::ptrdiff_t at = static_cast<std::ptrdiff_t>(column) * Bitmap::bytesPerPixel;
                int *const here = m_errorsHere.data() + at + Bitmap::bytesPerPixel;
                int *const below = m_errorsBelow.data() + at + Bitmap::bytesPerPixel;
                const auto wanted = [&](int channel) {
                    const int error = here[channel];
                    return std::clamp(pixels[at + channel] + (error + (error < 0 ? -128 : 128)) / 256, 0, 255);
                };
                const int blue = wanted(0);
                const int green = wanted(1);
                const int red = wanted(2);

                std::uint8_t index = m_nearest.find(red, green, blue);
                PaletteColor color = m_result.palette[index];
                int error = squaredDistance({color.red, color.green, color.blue}, red, green, blue);
                if (pixelsBefore) {
                    const PaletteColor before{pixelsBefore[at + 2], pixelsBefore[at + 1], pixelsBefore[at]};
                    const int keptError = squaredDistance({before.red, before.green, before.blue}, red, green, blue);
                    if (colorOf(pixels + at) == colorOf(sourceBefore + at) || keptError == 0
                        || keptError + price < error || (repeated == transparent && keptError <= error + worth)) {
                        index = transparent;
                        color = before;
                        error = keptError;
                        m_result.transparent = transparent;
                    }
                }
                if (repeated >= 0 && repeated != index && repeated != transparent) {
                    const PaletteColor &again = m_result.palette[static_cast<std::size_t>(repeated)];
                    if (squaredDistance({again.red, again.green, again.blue}, red, green, blue) <= error + worth) {
                        index = static_cast<std::uint8_t>(repeated);
                        color = again;
                    }
                }
                indices[column] = index;
                repeated = index;

                const auto spread = [&](int channel, int difference) {
                    const int part = difference * spreadError;
                    const int ahead = step * Bitmap::bytesPerPixel;
                    here[channel + ahead] += part * 7;
                    below[channel - ahead] += part * 3;
                    below[channel] += part * 5;
                    below[channel + ahead] += part;
                };
                spread(0, blue - color.blue);
                spread(1, green - color.green);
                spread(2, red - color.red);
            }
            m_errorsHere.swap(m_errorsBelow);
        }
    }

    /// Makes `shown` what a viewer shows with this picture.
    void show(const Bitmap &picture)
    {
        const std::uint8_t *index = m_result.pixels.data();
        for (int row = 0; row < picture.Height(); ++row) {
            std::uint8_t *pixel = m_shown.ScanLine(row);
            for (int column = 0; column < picture.Width(); ++column, ++index, pixel += Bitmap::bytesPerPixel) {
                if (*index == m_result.transparent)
                    continue;
                const PaletteColor &color = m_result.palette[*index];
                pixel[0] = color.blue;
                pixel[1] = color.green;
                pixel[2] = color.red;
            }
        }
    }

    void remember(const Bitmap &picture)
    {
        // A bitmap may own more memory than its picture needs.
        m_previous.SetSize(picture.Width(), picture.Height());
        const auto rowSize = static_cast<std::size_t>(picture.Width()) * Bitmap::bytesPerPixel;
        for (int row = 0; row < picture.Height(); ++row)
            std::memcpy(m_previous.ScanLine(row), picture.ScanLine(row), rowSize);
    }

    IndexedPicture m_result;
    /// What a viewer shows before the next picture, and the picture that was to be shown there.
    Bitmap m_shown;
    Bitmap m_previous;
    bool m_first = true;

    ColorNumbers m_numbers;
    std::vector<Cell> m_cells;
    std::vector<liq_histogram_entry> m_entries;
    NearestColor m_nearest;
    double m_meanError = 0;
    std::vector<int> m_errorsHere;
    std::vector<int> m_errorsBelow;
};

ColorReduction::ColorReduction() : m_work(std::make_unique<Work>()) {}

ColorReduction::~ColorReduction() = default;

const IndexedPicture &ColorReduction::reduce(const Bitmap &picture)
{
    return m_work->reduce(picture);
}
