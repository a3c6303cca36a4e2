#include "export/gif_image.h"

#include "export/color_reduction.h"

#include <gif_lib.h>

#include <array>
#include <new>
#include <string>
#include <utility>
#include <vector>

namespace {

constexpr int hundredthsPerPicture = 25;
constexpr int colorResolution = 8;

struct FreeColorMap {
    void operator()(ColorMapObject *map) const { GifFreeMapObject(map); }
};
using ColorMap = std::unique_ptr<ColorMapObject, FreeColorMap>;

ColorMap colorMapOf(const std::vector<PaletteColor> &palette)
{
    const int colors = static_cast<int>(palette.size());
    ColorMap map(GifMakeMapObject(1 << GifBitSize(colors), nullptr));
    if (!map)
        throw std::bad_alloc();
    for (int i = 0; i < colors; ++i) {
        const PaletteColor &color = palette[static_cast<std::size_t>(i)];
        map->Colors[i] = {color.red, color.green, color.blue};
    }
    return map;
}

} // namespace

/// The GIF library's writing side. It writes into memory, so that its only error is the lack of it.
class TGIFImage::Writer {
public:
    Writer(int gifWidth, int gifHeight, Sink gifSink)
        : m_width(gifWidth), m_height(gifHeight), m_sink(std::move(gifSink))
    {
        m_file.reset(EGifOpen(&m_bytes, &Writer::take, nullptr));
        if (!m_file)
            throw std::bad_alloc();
        EGifSetGifVersion(m_file.get(), true);
        check(EGifPutScreenDesc(m_file.get(), m_width, m_height, colorResolution, 0, nullptr));
    }

    void add(const Bitmap &bitmap)
    {
        const IndexedPicture &picture = m_colors.reduce(bitmap);
        const ColorMap map = colorMapOf(picture.palette);
        if (!m_looping)
            putLooping();
        const GraphicsControlBlock control{DISPOSE_DO_NOT, false, hundredthsPerPicture, picture.transparent};
        std::array<GifByteType, 4> extension{};
        const auto length = static_cast<int>(EGifGCBToExtension(&control, extension.data()));
        check(EGifPutExtension(m_file.get(), GRAPHICS_EXT_FUNC_CODE, length, extension.data()));
        check(EGifPutImageDesc(m_file.get(), 0, 0, m_width, m_height, false, map.get()));
        // The library takes the pixels as its own to change.
        m_pixels = picture.pixels;
        check(EGifPutLine(m_file.get(), m_pixels.data(), static_cast<int>(m_pixels.size())));
        passOn();
    }

    void finish()
    {
        check(EGifCloseFile(m_file.release(), nullptr));
        passOn();
    }

private:
    struct Close {
        void operator()(GifFileType *unfinished) const { EGifCloseFile(unfinished, nullptr); }
    };

    void putLooping()
    {
        constexpr std::array<GifByteType, 3> forever{1, 0, 0};
        constexpr std::string_view application = "NETSCAPE2.0";
        check(EGifPutExtensionLeader(m_file.get(), APPLICATION_EXT_FUNC_CODE));
        check(EGifPutExtensionBlock(m_file.get(), static_cast<int>(application.size()), application.data()));
        check(EGifPutExtensionBlock(m_file.get(), static_cast<int>(forever.size()), forever.data()));
        check(EGifPutExtensionTrailer(m_file.get()));
        m_looping = true;
    }

    void passOn()
    {
        m_sink(m_bytes);
        m_bytes.clear();
    }

    static int take(GifFileType *gif, const GifByteType *taken, int count) noexcept
    {
        try {
            static_cast<std::string *>(gif->UserData)
                ->append(reinterpret_cast<const char *>(taken), static_cast<std::size_t>(count));
            return count;
        } catch (const std::bad_alloc &) {
            return 0;
        }
    }

    static void check(int outcome)
    {
        if (outcome != GIF_OK)
            throw std::bad_alloc();
    }

    int m_width;
    int m_height;
    Sink m_sink;
    bool m_looping = false;
    std::string m_bytes;
    std::unique_ptr<GifFileType, Close> m_file;
    ColorReduction m_colors;
    std::vector<GifByteType> m_pixels;
};

TGIFImage::TGIFImage(int width, int height, Sink sink)
    : m_writer(std::make_unique<Writer>(width, height, std::move(sink)))
{
}

TGIFImage::~TGIFImage() = default;

void TGIFImage::Add(const Bitmap &picture)
{
    m_writer->add(picture);
}

void TGIFImage::finish()
{
    m_writer->finish();
}
