#include "film_witness.h"

#include "film_maker.h"
#include "film_pattern.h"

#include <QRect>

#include <algorithm>
#include <cstdlib>
#include <numeric>

namespace {

constexpr int darkestLight = 48;  // what is brighter belongs to the picture, not to a black border
constexpr int leastContrast = 90; // between the two fields of a cell, of some 219 in a clean picture

QRect withoutBlackBorders(const QImage &gray)
{
    QRect area;
    for (int y = 0; y < gray.height(); ++y) {
        for (int x = 0; x < gray.width(); ++x) {
            if (gray.constScanLine(y)[x] > darkestLight && !area.contains(x, y))
                area |= QRect(x, y, 1, 1);
        }
    }
    return area;
}

// The mean over the middle of a field, whose edges coding and scaling have blurred.
int meanOf(const QImage &gray, double left, double top, double width, double height)
{
    const int x0 = static_cast<int>(left + width * 0.3);
    const int x1 = std::max(static_cast<int>(left + width * 0.7), x0 + 1);
    const int y0 = static_cast<int>(top + height * 0.3);
    const int y1 = std::max(static_cast<int>(top + height * 0.7), y0 + 1);
    int sum = 0;
    for (int y = y0; y < y1; ++y)
        sum = std::accumulate(gray.constScanLine(y) + x0, gray.constScanLine(y) + x1, sum);
    return sum / ((x1 - x0) * (y1 - y0));
}

} // namespace

std::optional<int> paintedFrameNumber(const QImage &picture)
{
    const QImage gray = picture.convertToFormat(QImage::Format_Grayscale8);
    const QRect area = withoutBlackBorders(gray);
    if (area.width() < film_pattern::cells * 3 || area.height() < 24)
        return std::nullopt;

    const double cellWidth = static_cast<double>(area.width()) / film_pattern::cells;
    const double fieldHeight = area.height() * film_pattern::fieldHeightPermille / 1000.0;
    unsigned bits = 0;
    for (int cell = 0; cell < film_pattern::cells; ++cell) {
        const double left = area.left() + cell * cellWidth;
        const int upper = meanOf(gray, left, area.top(), cellWidth, fieldHeight);
        const int lower = meanOf(gray, left, area.top() + fieldHeight, cellWidth, fieldHeight);
        if (std::abs(upper - lower) < leastContrast)
            return std::nullopt;
        bits = bits << 1U | (upper > lower ? 1U : 0U);
    }
    const unsigned number = bits >> static_cast<unsigned>(film_pattern::checkCells);
    if (film_pattern::bandOf(number) != bits)
        return std::nullopt;
    return static_cast<int>(number);
}

std::vector<DecodedPicture> decodedPictures(const QString &path, bool beginsInGroup)
{
    constexpr int side = 320;
    const QByteArray pixels =
        outputOf("ffmpeg", {"-nostdin", "-v", "quiet", "-i", path, "-map", "0:v:0", "-vsync", "passthrough", "-vf",
                            "scale=320:320", "-pix_fmt", "gray", "-f", "rawvideo", "pipe:1"});
    const QByteArray told = outputOf("ffprobe", {"-v", "quiet", "-select_streams", "v:0", "-show_entries",
                                                 "frame=key_frame,best_effort_timestamp_time", "-of", "csv=p=0", path});
    std::vector<DecodedPicture> pictures;
    const char *next = pixels.constData();
    double first = 0.0;
    for (const QByteArray &line : told.split('\n')) {
        const QList<QByteArray> fields = line.split(',');
        if (fields.size() < 2 || next == pixels.constEnd())
            continue;
        const double seconds = fields[1].toDouble();
        if (pictures.empty())
            first = seconds;
        const QImage picture(reinterpret_cast<const uchar *>(next), side, side, side, QImage::Format_Grayscale8);
        if (!pictures.empty() || !beginsInGroup || fields[0] == "1")
            pictures.push_back({seconds - first, paintedFrameNumber(picture).value_or(-1)});
        next += qsizetype(side) * side;
    }
    return pictures;
}
