#include "gif_witness.h"

#include "export/gif_image.h"
#include "export/nearest_color.h"

#include <QTest>

#include <algorithm>
#include <array>
#include <climits>
#include <cmath>
#include <functional>
#include <random>
#include <stdexcept>

namespace {

constexpr int side = 200;

Bitmap painted(const std::function<QColor(int x, int y)> &colorAt)
{
    Bitmap bitmap(side, side);
    for (int y = 0; y < side; ++y) {
        std::uint8_t *pixel = bitmap.ScanLine(y);
        for (int x = 0; x < side; ++x) {
            const QColor color = colorAt(x, y);
            for (const int channel : {color.blue(), color.green(), color.red()})
                *pixel++ = static_cast<std::uint8_t>(channel);
        }
    }
    return bitmap;
}

/// Soft shades, moving with `phase`: thousands of colours.
Bitmap shades(double phase)
{
    const auto wave = [](double at) { return static_cast<int>(std::lround(127.5 + 127.5 * std::sin(at))); };
    return painted([&](int x, int y) {
        const int blue = 60 + static_cast<int>(40 * phase) + wave((x + y) * 0.02) / 8;
        return QColor(wave(x * 0.03 + phase), wave(y * 0.04 - phase), blue);
    });
}

/// A picture from rows of letters: a pixel's blue is its letter, its green and red the letters after it.
Bitmap lettered(const QStringList &rows)
{
    Bitmap bitmap(static_cast<int>(rows[0].size()), static_cast<int>(rows.size()));
    for (int y = 0; y < bitmap.Height(); ++y) {
        for (int i = 0; i < 3 * bitmap.Width(); ++i)
            bitmap.ScanLine(y)[i] = static_cast<std::uint8_t>(rows[y][i / 3].toLatin1() + i % 3);
    }
    return bitmap;
}

QByteArray encoded(const std::vector<Bitmap> &frames)
{
    QByteArray file;
    TGIFImage gif(side, side, [&](std::string_view bytes) { file.append(bytes.data(), qsizetype(bytes.size())); });
    for (const Bitmap &frame : frames)
        gif.Add(frame);
    gif.finish();
    return file;
}

/// Peak signal-to-noise ratio in decibels; infinite for equal pictures.
double likeness(const QImage &picture, const Bitmap &bitmap)
{
    double error = 0;
    for (int y = 0; y < side; ++y) {
        const std::uint8_t *pixel = bitmap.ScanLine(y);
        for (int x = 0; x < side; ++x, pixel += 3) {
            const QRgb color = picture.pixel(x, y);
            error += std::pow(qBlue(color) - pixel[0], 2) + std::pow(qGreen(color) - pixel[1], 2)
                + std::pow(qRed(color) - pixel[2], 2) + std::pow(qAlpha(color) - 255, 2);
        }
    }
    return 10 * std::log10(255.0 * 255.0 * 3 * side * side / error);
}

} // namespace

class GifImageTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void cropsAndScales();
    void findsTheNearestColorOfAll();
    void itLoopsForeverAtFourPicturesASecond();
    void picturesComeThrough_data();
    void picturesComeThrough();
    void flatColorsStayFlat();
    void aSinkThatFailsIsHeard();
};

void GifImageTest::cropsAndScales()
{
    struct Part {
        std::array<int, 4> place; // x, y, width and height
        QStringList rows;
    };
    const Part parts[]{
        {{0, 0, 3, 3}, {"abc", "fgh", "klm"}},
        {{3, 1, 2, 2}, {"ij", "no"}},
        {{3, 1, INT_MAX, INT_MAX}, {"ij", "no"}},
        {{99, 99, 2, 2}, {"o"}},
        {{-7, -7, 2, 0}, {"ab"}},
        {{0, 0, 5, 1}, {"abce"}},
        {{0, 0, 5, 2}, {"aabbccdde", "aabbccdde", "ffgghhiij"}},
    };
    for (const auto &[place, rows] : parts) {
        Bitmap cropped(9, 9);
        bitmapCrop(lettered({"abcde", "fghij", "klmno"}), cropped, place[0], place[1], place[2], place[3]);
        const Bitmap expected = lettered(rows);
        Bitmap scaled(expected.Width(), expected.Height());
        bitmapCopyRect(cropped, scaled);
        for (int y = 0; y < expected.Height(); ++y) {
            QCOMPARE(QByteArrayView(scaled.ScanLine(y), 3 * expected.Width()),
                     QByteArrayView(expected.ScanLine(y), 3 * expected.Width()));
        }
    }
    Bitmap one = lettered({"x"});
    Bitmap none;
    bitmapCopyRect(none, one);
    bitmapCrop(none, one, 0, 0, 5, 5);
    QVERIFY(one.isEmpty());
}

void GifImageTest::findsTheNearestColorOfAll()
{
    std::mt19937 random(20240607);
    const auto channel = [&] { return static_cast<std::uint8_t>(random() & 0xFFU); };
    for (const std::size_t colors : {1, 2, 17, 256}) {
        std::vector<PaletteColor> palette(colors);
        for (PaletteColor &color : palette)
            color = {channel(), channel(), static_cast<std::uint8_t>(colors == 17 ? 128 : channel())};
        NearestColor nearest;
        nearest.setPalette(palette);
        for (int attempt = 0; attempt < 20000; ++attempt) {
            const int r = channel();
            const int g = channel();
            const int b = channel();
            const auto best = std::ranges::min_element(palette, {}, [&](const PaletteColor &color) {
                return std::pow(color.red - r, 2) + std::pow(color.green - g, 2) + std::pow(color.blue - b, 2);
            });
            QCOMPARE(nearest.find(r, g, b), best - palette.begin());
        }
    }
}

void GifImageTest::itLoopsForeverAtFourPicturesASecond()
{
    const QByteArray one = encoded({shades(0)});
    const QByteArray still = encoded({shades(0), shades(0), shades(0)});
    // What does not change takes no room.
    QVERIFY2(still.size() < one.size() * 2, qPrintable(QString("%1 %2").arg(one.size()).arg(still.size())));
    QBuffer file;
    file.setData(still);
    QImageReader reader(&file, "gif");
    constexpr int forever = -1;
    QCOMPARE(reader.imageCount(), 3);
    for (int i = 0; i < 3; ++i) {
        QVERIFY(!reader.read().isNull());
        QCOMPARE(reader.nextImageDelay(), 250);
    }
    QCOMPARE(reader.loopCount(), forever);

    // Without pictures it is an empty screen.
    const QByteArray empty = encoded({});
    QVERIFY2(empty.startsWith(QByteArray("GIF89a\xC8\0\xC8\0", 10)) && empty.size() == 14 && empty.endsWith(';'),
             empty.toHex().constData());
}

void GifImageTest::picturesComeThrough_data()
{
    QTest::addColumn<std::vector<Bitmap>>("frames");
    QTest::addColumn<double>("alike");
    // One colour, the most that a palette holds, and a palette that has to keep a place for what stays.
    const auto checks = [](int colors, int shift) {
        return painted([=](int x, int y) {
            const int i = (x / 10 + y / 10 * 20 + shift) % colors;
            return QColor(i, 255 - i, (i * 7) % 256);
        });
    };
    const auto ball = [](int at) {
        return painted([=](int x, int y) {
            return x >= at && x < at + 40 && y >= 80 && y < 120 ? QColor(250, 20, 20) : QColor(x, y, 90);
        });
    };
    QTest::newRow("few colours come through unchanged")
        << std::vector{checks(256, 0), checks(1, 0), checks(255, 3), checks(255, 4), checks(2, 0)} << 1000.0;
    // No palette for all pictures at once would reach this.
    QTest::newRow("many colours") << std::vector{shades(0), shades(0.4), shades(0.8), shades(1.2)} << 31.0;
    QTest::newRow("what moves leaves no trace behind it") << std::vector{ball(0), ball(60), ball(120)} << 33.0;
}

void GifImageTest::picturesComeThrough()
{
    QFETCH(const std::vector<Bitmap>, frames);
    QFETCH(const double, alike);
    const std::vector<QImage> pictures = gifPictures(encoded(frames));
    QCOMPARE(pictures.size(), frames.size());
    for (std::size_t i = 0; i < frames.size(); ++i) {
        const double found = likeness(pictures[i], frames[i]);
        QVERIFY2(found > alike, qPrintable(QString::number(found)));
    }
}

void GifImageTest::flatColorsStayFlat()
{
    // A drawing: flat fields and a soft shade. The fields must come without a grain.
    const Bitmap drawing = painted([](int x, int y) {
        if (y < 60)
            return QColor(40, 90, 160);
        if (y < 120)
            return QColor(200, 180, 60);
        return QColor::fromHsvF(float(x) / 200, float(y - 120) / 80, 0.9F);
    });
    const QImage picture = gifPictures(encoded({drawing})).front();
    for (int x = 0; x < side; ++x) {
        for (const int y : {0, 30, 58, 62, 90, 116}) {
            const std::uint8_t *pixel = drawing.ScanLine(y) + 3 * x;
            const QRgb color = picture.pixel(x, y);
            const int off = std::abs(qRed(color) - pixel[2]) + std::abs(qGreen(color) - pixel[1])
                + std::abs(qBlue(color) - pixel[0]);
            QVERIFY2(off <= 6, qPrintable(QString("%1, %2: %3").arg(x).arg(y).arg(off)));
        }
    }
}

void GifImageTest::aSinkThatFailsIsHeard()
{
    std::size_t room = 50'000;
    TGIFImage gif(side, side, [&](std::string_view bytes) {
        if (bytes.size() > room)
            throw std::runtime_error("full");
        room -= bytes.size();
    });
    const auto addMany = [&] {
        for (int i = 0; i < 5; ++i)
            gif.Add(shades(i));
    };
    QVERIFY_EXCEPTION_THROWN(addMany(), std::runtime_error);
}

QTEST_GUILESS_MAIN(GifImageTest)
#include "gif_image_test.moc"
