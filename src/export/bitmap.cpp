#include "export/bitmap.h"

#include <algorithm>
#include <cstring>

namespace {

/// The last part that begins at `start` and is `wanted` long, of something `length` long.
int lengthInside(int start, int wanted, int length)
{
    return wanted > length - 1 - start ? length - start : wanted;
}

/// The position in `sourceLength` that `position` in `length` is nearest to when the ends lie on each other.
std::size_t scaled(int position, int length, int sourceLength)
{
    if (length <= 1)
        return 0;
    return static_cast<std::size_t>(std::int64_t{sourceLength - 1} * position / (length - 1));
}

} // namespace

void Bitmap::SetSize(int width, int height)
{
    m_width = std::max(0, width);
    m_height = std::max(0, height);
    const std::size_t needed = offsetOf(m_height);
    if (m_bytes.size() < needed)
        m_bytes.resize(needed);
}

void bitmapCrop(const Bitmap &source, Bitmap &destination, int x, int y, int w, int h)
{
    if (source.isEmpty()) {
        destination.SetSize(0, 0);
        return;
    }
    x = std::clamp(x, 0, source.Width() - 1);
    y = std::clamp(y, 0, source.Height() - 1);
    w = lengthInside(x, std::max(w, 1), source.Width());
    h = lengthInside(y, std::max(h, 1), source.Height());

    destination.SetSize(w, h);
    const auto first = static_cast<std::ptrdiff_t>(x) * Bitmap::bytesPerPixel;
    for (int row = 0; row < h; ++row) {
        std::memcpy(destination.ScanLine(row), source.ScanLine(y + row) + first,
                    static_cast<std::size_t>(w) * Bitmap::bytesPerPixel);
    }
}

void bitmapCopyRect(const Bitmap &source, Bitmap &destination)
{
    if (source.isEmpty() || destination.isEmpty())
        return;
    std::vector<std::size_t> columns(static_cast<std::size_t>(destination.Width()));
    for (int column = 0; column < destination.Width(); ++column) {
        columns[static_cast<std::size_t>(column)] =
            scaled(column, destination.Width(), source.Width()) * Bitmap::bytesPerPixel;
    }
    for (int row = 0; row < destination.Height(); ++row) {
        const std::uint8_t *from =
            source.ScanLine(static_cast<int>(scaled(row, destination.Height(), source.Height())));
        std::uint8_t *to = destination.ScanLine(row);
        for (const std::size_t column : columns) {
            std::memcpy(to, from + column, Bitmap::bytesPerPixel);
            to += Bitmap::bytesPerPixel;
        }
    }
}
