#pragma once

#include <cstdint>
#include <vector>

/// A 24-bit picture: rows from the top down, without padding, each pixel three bytes: blue, green, red.
class Bitmap {
public:
    static constexpr int bytesPerPixel = 3;

    Bitmap() = default;
    Bitmap(int width, int height) { SetSize(width, height); }

    /// In pixels; negative sizes count as 0. The content is unspecified afterwards. Memory once taken is kept, so that
    /// changing to and fro between two sizes costs nothing.
    void SetSize(int width, int height);

    [[nodiscard]] int Width() const { return m_width; }
    [[nodiscard]] int Height() const { return m_height; }
    [[nodiscard]] bool isEmpty() const { return m_width == 0 || m_height == 0; }

    /// The first byte of a row, 0 .. Height()-1.
    [[nodiscard]] std::uint8_t *ScanLine(int row) { return m_bytes.data() + offsetOf(row); }
    [[nodiscard]] const std::uint8_t *ScanLine(int row) const { return m_bytes.data() + offsetOf(row); }

private:
    [[nodiscard]] std::size_t offsetOf(int row) const
    {
        return static_cast<std::size_t>(row) * static_cast<std::size_t>(m_width) * bytesPerPixel;
    }

    int m_width = 0;
    int m_height = 0;
    std::vector<std::uint8_t> m_bytes;
};

/// Makes `destination` the part of `source` that begins at pixel (x, y) and is `w` by `h` pixels, cut off at the
/// edges of the source: the corner is moved onto the source and the part is at least one pixel each way. An empty
/// source gives an empty destination.
void bitmapCrop(const Bitmap &source, Bitmap &destination, int x, int y, int w, int h);

/// Scales `source` to the size that `destination` has, each pixel being the nearest one, corner to corner. Nothing
/// happens if either is empty.
void bitmapCopyRect(const Bitmap &source, Bitmap &destination);
