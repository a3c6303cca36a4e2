// paint_film WIDTH HEIGHT FRAMES RATE: writes a film to the standard output as YUV4MPEG2, for ffmpeg to encode.
// RATE is a fraction of pictures per second ("30000/1001") or a whole number. Frame N (from 0) carries its number
// twice: as cells for paintedFrameNumber() and as digits for a person. Below them something moves.

#include "film_pattern.h"

#include <QGuiApplication>
#include <QPainter>

#include <cstdio>
#include <cstdlib>

namespace {

QColor gray(int value)
{
    return {value, value, value};
}

// Two slow waves and diagonal stripes that drift at different speeds: every picture differs from its neighbours
// everywhere, and motion search finds something to follow.
void paintGround(QImage &luma, int number)
{
    for (int y = 0; y < luma.height(); ++y) {
        uchar *pixel = luma.scanLine(y);
        for (int x = 0; x < luma.width(); ++x) {
            const int wave = std::abs((x * 2 + number * 3) % 128 - 64) / 2;
            const int stripe = ((x + y + number * 2) / 12) % 2 == 0 ? 0 : 24;
            pixel[x] = static_cast<uchar>(film_pattern::darkestGround + 10 + wave + stripe);
        }
    }
}

// A ball of constant speed that bounces off the sides, and the number.
void paintPicture(QPainter &painter, const QRect &area, int number)
{
    const int diameter = area.height() / 6;
    const QSize road = (area.size() - QSize(diameter, diameter)).expandedTo({1, 1});
    const QPoint place(std::abs((number * 5) % (2 * road.width()) - road.width()),
                       std::abs((number * 3) % (2 * road.height()) - road.height()));
    painter.setBrush(gray(200));
    painter.setPen(Qt::NoPen);
    painter.drawEllipse(QRect(area.topLeft() + place, QSize(diameter, diameter)));

    QFont font = painter.font();
    font.setPixelSize(std::max(area.height() / 2, 1));
    painter.setFont(font);
    painter.setPen(gray(film_pattern::white));
    const QString text = QString::number(number);
    painter.fillRect(painter.boundingRect(area, Qt::AlignCenter, text), gray(film_pattern::darkestGround));
    painter.drawText(area, Qt::AlignCenter, text);
}

void paintBand(QPainter &painter, int width, int fieldHeight, int number)
{
    const unsigned bits = film_pattern::bandOf(static_cast<unsigned>(number));
    for (int cell = 0; cell < film_pattern::cells; ++cell) {
        const bool one = (bits >> static_cast<unsigned>(film_pattern::cells - 1 - cell) & 1U) != 0;
        const int left = width * cell / film_pattern::cells;
        const QRect upper(left, 0, width * (cell + 1) / film_pattern::cells - left, fieldHeight);
        painter.fillRect(upper, gray(one ? film_pattern::white : film_pattern::black));
        painter.fillRect(upper.translated(0, fieldHeight), gray(one ? film_pattern::black : film_pattern::white));
    }
}

void paintColour(QImage &plane, int phase)
{
    for (int y = 0; y < plane.height(); ++y)
        std::fill_n(plane.scanLine(y), plane.width(), static_cast<uchar>(118 + std::abs((y + phase) % 40 - 20)));
}

bool write(const QImage &plane)
{
    const auto width = static_cast<std::size_t>(plane.width());
    for (int y = 0; y < plane.height(); ++y) {
        if (std::fwrite(plane.constScanLine(y), 1, width, stdout) != width)
            return false;
    }
    return true;
}

} // namespace

int main(int count, char **arguments)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    const QGuiApplication application(count, arguments); // letters need one
    const QStringList words = QGuiApplication::arguments();
    const QSize size(words.value(1).toInt(), words.value(2).toInt());
    const int frames = words.value(3).toInt();
    if (words.size() != 5 || size.isEmpty() || frames < 1) {
        std::fputs("usage: paint_film WIDTH HEIGHT FRAMES RATE > film.y4m\n", stderr);
        return EXIT_FAILURE;
    }
    const QString rate = words.at(4).contains('/') ? QString(words.at(4)).replace('/', ':') : words.at(4) + ":1";
    std::printf("YUV4MPEG2 W%d H%d F%s Ip A1:1 C420jpeg XCOLORRANGE=LIMITED\n", size.width(), size.height(),
                qPrintable(rate));
    QImage luma(size, QImage::Format_Grayscale8);
    QImage blue((size.width() + 1) / 2, (size.height() + 1) / 2, QImage::Format_Grayscale8);
    QImage red = blue;
    const int fieldHeight = size.height() * film_pattern::fieldHeightPermille / 1000;
    for (int number = 0; number < frames; ++number) {
        paintGround(luma, number);
        {
            QPainter painter(&luma);
            paintPicture(painter, QRect(QPoint(), size).adjusted(0, 2 * fieldHeight, 0, 0), number);
            paintBand(painter, size.width(), fieldHeight, number);
        }
        paintColour(blue, number);
        paintColour(red, frames * 40 - number);
        std::fputs("FRAME\n", stdout);
        if (!write(luma) || !write(blue) || !write(red))
            return EXIT_FAILURE;
    }
    return std::fflush(stdout) == 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}
