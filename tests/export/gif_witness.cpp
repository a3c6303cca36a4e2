#include "gif_witness.h"

#include <QProcess>
#include <QTest>

namespace {

/// Reads a GIF's bytes; beyond the end everything is 0.
class Bytes {
public:
    explicit Bytes(const QByteArray &file) : content(file) {}

    [[nodiscard]] bool atEnd() const { return position >= content.size(); }
    int byte() { return atEnd() ? 0 : static_cast<unsigned char>(content[position++]); }
    int word()
    {
        const int low = byte();
        return low | byte() << 8;
    }
    QByteArray take(int count)
    {
        const QByteArray taken = content.mid(position, count);
        position += count;
        return taken;
    }
    /// The sub-blocks up to their terminator, joined.
    QByteArray subBlocks()
    {
        QByteArray joined;
        for (int size = byte(); size > 0; size = byte())
            joined += take(size);
        return joined;
    }

private:
    QByteArray content;
    qsizetype position = 0;
};

int colorsOf(int flags)
{
    return (flags & 0x80) != 0 ? 2 << (flags & 7) : 0;
}

} // namespace

GifStructure gifStructure(const QByteArray &file)
{
    GifStructure gif;
    Bytes bytes(file);
    gif.version = bytes.take(6);
    gif.screen.setWidth(bytes.word());
    gif.screen.setHeight(bytes.word());
    const int screenFlags = bytes.byte();
    bytes.take(2 + 3 * colorsOf(screenFlags));
    GifFrame frame;
    while (!bytes.atEnd()) {
        switch (bytes.byte()) {
        case 0x21: {
            const int kind = bytes.byte();
            const QByteArray content = bytes.subBlocks();
            Bytes extension(content);
            if (kind == 0xF9) {
                const int flags = extension.byte();
                frame.disposal = (flags >> 2) & 7;
                frame.transparency = (flags & 1) != 0;
                frame.delay = extension.word();
            } else if (kind == 0xFF && content.startsWith("NETSCAPE2.0\x01")) {
                extension.take(12);
                frame.loops = extension.word();
            }
            break;
        }
        case 0x2C: {
            const int left = bytes.word();
            const int top = bytes.word();
            const int width = bytes.word();
            frame.place = QRect(left, top, width, bytes.word());
            frame.colors = colorsOf(bytes.byte());
            bytes.take(3 * frame.colors + 1);
            bytes.subBlocks();
            gif.frames.push_back(frame);
            frame = {};
            break;
        }
        case 0x3B:
            gif.whole = bytes.atEnd();
            return gif;
        default:
            return gif;
        }
    }
    return gif;
}

std::vector<QImage> gifPictures(const QString &file)
{
    QFile opened(file);
    if (!opened.open(QIODevice::ReadOnly))
        qFatal("%s cannot be opened", qPrintable(file));
    const QSize size = gifStructure(opened.readAll()).screen;
    QProcess ffmpeg;
    ffmpeg.start("ffmpeg", {"-nostdin", "-v", "error", "-i", file, "-vsync", "passthrough", "-f", "rawvideo",
                            "-pix_fmt", "rgb24", "-"});
    if (!ffmpeg.waitForFinished() || ffmpeg.exitCode() != 0)
        qFatal("ffmpeg: %s", ffmpeg.readAllStandardError().constData());
    const QByteArray complaint = ffmpeg.readAllStandardError();
    if (!complaint.isEmpty())
        qFatal("ffmpeg: %s", complaint.constData());
    const QByteArray pixels = ffmpeg.readAllStandardOutput();
    const qsizetype pictureSize = qsizetype{3} * size.width() * size.height();
    std::vector<QImage> pictures;
    for (qsizetype at = 0; at + pictureSize <= pixels.size(); at += pictureSize) {
        const auto *first = reinterpret_cast<const uchar *>(pixels.constData() + at);
        pictures.push_back(QImage(first, size.width(), size.height(), 3 * size.width(), QImage::Format_RGB888).copy());
    }
    return pictures;
}
