#pragma once

#include "export/bitmap.h"

#include <functional>
#include <memory>
#include <string_view>

/// An animated GIF that loops forever, written as its pictures are added. Each picture stands for a quarter of a
/// second and has a palette of its own; what does not change visibly from the picture before is left as it is.
class TGIFImage {
public:
    /// Takes the next bytes of the file. What it throws comes out of the call that caused it.
    using Sink = std::function<void(std::string_view bytes)>;

    /// Begins a GIF of this size in pixels, 1 .. 65535 each. Throws std::bad_alloc and what the sink throws.
    TGIFImage(int width, int height, Sink sink);

    /// A GIF that was not finished stays incomplete.
    ~TGIFImage();
    TGIFImage(const TGIFImage &) = delete;
    TGIFImage &operator=(const TGIFImage &) = delete;

    /// Appends a picture of the GIF's size. Throws std::bad_alloc and what the sink throws; nothing may be added then.
    void Add(const Bitmap &picture);

    /// Writes the end of the file; a GIF without pictures is a valid one. Called once. Throws what the sink throws.
    void finish();

private:
    class Writer;
    std::unique_ptr<Writer> m_writer;
};
