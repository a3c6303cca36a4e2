#include "gif_witness.h"
#include "random_seed.h"

#include "export/gif_image.h"
#include "export/nearest_color.h"

#include <QTest>

#include <algorithm>
#include <array>
#include <climits>
#include <cmath>
#include <cstring>
#include <functional>
#include <random>

namespace {

constexpr int side = 200;

Bitmap painted(const std::function<QColor(int x, int y)> &colorAt)
{
    Bitmap bitmap(side, side);
    for (int y = 0; y < side; ++y) {
        for (int x = 0; x < side; ++x) {
            // As this machine keeps a number, blue is its first byte.
            const QRgb color = colorAt(x, y).rgb();
            std::memcpy(bitmap.ScanLine(y) + 3 * x, &color, 3);
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
    void cropsAndScales()
    {
        // x, y, width and height
        const std::pair<std::array<int, 4>, QStringList> parts[]{
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
        bitmapCopyRect(Bitmap(), one);
        bitmapCrop(Bitmap(), one, 0, 0, 5, 5);
        QVERIFY(one.isEmpty());
    }

    void findsTheNearestColorOfAll()
    {
        std::mt19937 random(randomSeed());
        const auto channel = [&] { return static_cast<std::uint8_t>(random() & 0xFFU); };
        for (const std::size_t colors : {1, 2, 17, 256}) {
            std::vector<PaletteColor> palette(colors);
            for (PaletteColor &color : palette)
                color = {channel(), channel(), static_cast<std::uint8_t>(colors == 17 ? 128 : channel())};
            NearestColor nearest;
            nearest.setPalette(palette);
            for (int attempt = 0; attempt < 20000; ++attempt) {
                const PaletteColor sought{channel(), channel(), channel()};
                const auto best = std::ranges::min_element(palette, {}, [&](const PaletteColor &color) {
                    return std::pow(color.red - sought.red, 2) + std::pow(color.green - sought.green, 2)
                           + std::pow(color.blue - sought.blue, 2);
                });
                QCOMPARE(nearest.find(sought.red, sought.green, sought.blue), best - palette.begin());
            }
        }
    }

    void itLoopsForeverAtFourPicturesASecond()
    {
        const QByteArray one = encoded({shades(0)});
        const QByteArray still = encoded({shades(0), shades(0), shades(0)});
        // What does not change takes no room.
        QVERIFY2(still.size() < one.size() * 2, qPrintable(QString("%1 %2").arg(one.size()).arg(still.size())));
        QBuffer file;
        file.setData(still);
        QImageReader reader(&file, "gif");
        QCOMPARE(reader.imageCount(), 3);
        for (int i = 0; i < 3; ++i) {
            QVERIFY(!reader.read().isNull());
            QCOMPARE(reader.nextImageDelay(), 250);
        }
        QCOMPARE(reader.loopCount(), -1); // forever

        // Without pictures it is an empty screen.
        QCOMPARE(encoded({}), QByteArray("GIF89a\xC8\0\xC8\0\x77\0\0;", 14));
    }

    void picturesComeThrough()
    {
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
        const std::pair<std::vector<Bitmap>, double> films[]{
            // Unchanged: one colour, the most that a palette holds, and one that keeps a place for what stays.
            {{checks(256, 0), checks(1, 0), checks(255, 3), checks(255, 4), checks(2, 0)}, 1000.0},
            // No palette for all pictures at once would reach this.
            {{shades(0), shades(0.4), shades(0.8), shades(1.2)}, 31.9},
            // What moves leaves no trace behind it.
            {{ball(0), ball(60), ball(120)}, 33.0},
        };
        for (const auto &[frames, alike] : films) {
            const std::vector<QImage> pictures = gifPictures(encoded(frames));
            QCOMPARE(pictures.size(), frames.size());
            for (std::size_t i = 0; i < frames.size(); ++i) {
                const double found = likeness(pictures[i], frames[i]);
                QVERIFY2(found > alike, qPrintable(QString::number(found)));
            }
        }
    }
};

QTEST_GUILESS_MAIN(GifImageTest)
#include "gif_image_test.moc"
