#include "export/scene_gif.h"

#include "export/bitmap.h"
#include "export/frame_reader.h"
#include "export/gif_image.h"
#include "platform/whole_file.h"
#include "util/error_reason.h"
#include "util/media_time.h"
#include "util/user_error.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace {

constexpr int gifSide = 200;

void throwIf(const std::error_code &error, const QString &file)
{
    if (error)
        throwSaveError(file, errorReason(error));
}

/// Fills `bitmap` with the picture in the reader's local buffer.
void takePicture(const FRAME_READER &reader, Bitmap &bitmap)
{
    bitmap.SetSize(reader.width(), reader.height());
    const std::uint8_t *row = reader.localBuffer().data();
    const std::size_t rowSize = static_cast<std::size_t>(reader.width()) * Bitmap::bytesPerPixel;
    for (int y = 0; y < reader.height(); ++y, row += rowSize)
        std::memcpy(bitmap.ScanLine(y), row, rowSize);
}

} // namespace

void throwSaveError(const QString &file, const QString &reason)
{
    throw UserError(QStringLiteral("Не удалось сохранить GIF в файл «%1»: %2").arg(file, reason));
}

int picturesOfScene(double start, double length)
{
    const auto begins = [&](int second) { return start + length > start + second; };
    // Counted in whole seconds from the length: far from zero the sums lose some, and the end would never be reached.
    int pictures = static_cast<int>(std::ceil(std::clamp(length, 0.0, longestScene)));
    while (pictures > 0 && !begins(pictures - 1))
        --pictures;
    return pictures;
}

bool writeSceneGif(FRAME_READER &reader, const QString &file, double start, double length,
                   const PictureProgress &progress)
{
    if (length > longestScene)
        throwSaveError(file, QStringLiteral("сцена длиннее суток"));
    std::error_code error;
    const std::unique_ptr<FileReplacement> replacement = FileReplacement::create(file.toStdU16String(), error);
    throwIf(error, file);

    TGIFImage gif(gifSide, gifSide, [&](std::string_view bytes) { throwIf(replacement->write(bytes), file); });
    Bitmap A;
    Bitmap B;
    const int side = std::min(reader.width(), reader.height());
    const int pictures = picturesOfScene(start, length);
    for (int seconds = 0; seconds < pictures; ++seconds) {
        progress(seconds + 1, pictures);
        reader.Seek(frameIndex(start + seconds, reader.frameRate()));
        // What is in the block after a read without an answer is taken all the same.
        (void)reader.Read();
        if (!reader.GetData())
            return false;
        takePicture(reader, A);
        bitmapCrop(A, B, 0, 0, side, side);
        A.SetSize(gifSide, gifSide);
        bitmapCopyRect(B, A);
        gif.Add(A);
    }
    gif.finish();
    throwIf(replacement->commit(), file);
    return true;
}
