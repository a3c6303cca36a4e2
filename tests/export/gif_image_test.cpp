#include "gif_witness.h"

#include "export/gif_image.h"
#include "export/nearest_color.h"

#include <QTemporaryDir>
#include <QTest>

#include <cmath>
#include <random>
#include <stdexcept>

namespace {

constexpr int side = 200;

template <typename Paint>
Bitmap painted(Paint colorAt)
{
    Bitmap bitmap(side, side);
    for (int y = 0; y < side; ++y) {
        std::uint8_t *pixel = bitmap.ScanLine(y);
        for (int x = 0; x < side; ++x, pixel += 3) {
            const QColor color = colorAt(x, y);
            pixel[0] = static_cast<std::uint8_t>(color.blue());
            pixel[1] = static_cast<std::uint8_t>(color.green());
            pixel[2] = static_cast<std::uint8_t>(color.red());
        }
    }
    return bitmap;
}

/// Soft shades, moving with `phase`: thousands of colours.
Bitmap shades(double phase)
{
    const auto wave = [](double at) { return static_cast<int>(std::lround(127.5 + 127.5 * std::sin(at))); };
    return painted([&](int x, int y) {
        return QColor(wave(x * 0.03 + phase), wave(y * 0.04 - phase), 60 + static_cast<int>(40 * phase) + wave((x + y) * 0.02) / 8);
    });
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

std::vector<QImage> shown(const QByteArray &file)
{
    const QTemporaryDir folder;
    QFile gif(folder.filePath("x.gif"));
    if (!gif.open(QIODevice::WriteOnly) || gif.write(file) != file.size())
        qFatal("no room for a GIF");
    gif.close();
    return gifPictures(gif.fileName());
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
                + std::pow(qRed(color) - pixel[2], 2);
        }
    }
    return 10 * std::log10(255.0 * 255.0 * 3 * side * side / error);
}

} // namespace

class GifImageTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void findsTheNearestColorOfAll();
    void theBlocksAreThoseOfALoopingAnimation();
    void withoutFramesItIsAnEmptyScreen();
    void fewColorsComeThroughUnchanged();
    void manyColorsStayAlike();
    void whatDoesNotChangeStays();
    void flatColorsStayFlat();
    void aSinkThatFailsIsHeard();
};

void GifImageTest::findsTheNearestColorOfAll()
{
    std::mt19937 random(20240607);
    const auto channel = [&] { return static_cast<std::uint8_t>(random() & 0xFFU); };
    for (const std::size_t colors : {1, 2, 17, 256}) {
        std::vector<PaletteColor> palette(colors);
        for (PaletteColor &color : palette)
            color = {channel(), channel(), static_cast<std::uint8_t>(colors == 17 ? 128 : channel())};
        const auto distance = [&](std::size_t i, int r, int g, int b) {
            return std::pow(palette[i].red - r, 2) + std::pow(palette[i].green - g, 2) + std::pow(palette[i].blue - b, 2);
        };
        NearestColor nearest;
        nearest.setPalette(palette);
        for (int attempt = 0; attempt < 20000; ++attempt) {
            const int r = channel();
            const int g = channel();
            const int b = channel();
            std::size_t best = 0;
            for (std::size_t i = 1; i < colors; ++i) {
                if (distance(i, r, g, b) < distance(best, r, g, b))
                    best = i;
            }
            QCOMPARE(std::size_t{nearest.find(r, g, b)}, best);
        }
    }
}

void GifImageTest::theBlocksAreThoseOfALoopingAnimation()
{
    const GifStructure gif = gifStructure(encoded({shades(0), shades(1), shades(1)}));
    QVERIFY(gif.whole);
    QCOMPARE(gif.version, QByteArray("GIF89a"));
    QCOMPARE(gif.screen, QSize(side, side));
    QCOMPARE(gif.frames.size(), std::size_t{3});
    for (std::size_t i = 0; i < gif.frames.size(); ++i) {
        QCOMPARE(gif.frames[i].place, QRect(0, 0, side, side));
        QCOMPARE(gif.frames[i].delay, 25);
        QCOMPARE(gif.frames[i].loops, i == 0 ? 0 : -1);
        QVERIFY(gif.frames[i].colors > 0);
        QVERIFY(gif.frames[i].disposal <= 1);
    }
    QVERIFY(!gif.frames[0].transparency);
}

void GifImageTest::withoutFramesItIsAnEmptyScreen()
{
    const GifStructure gif = gifStructure(encoded({}));
    QVERIFY(gif.whole);
    QCOMPARE(gif.screen, QSize(side, side));
    QVERIFY(gif.frames.empty());
}

void GifImageTest::fewColorsComeThroughUnchanged()
{
    // One colour, the most that a palette holds, and a palette that has to keep a place for what stays.
    const auto checks = [](int colors, int shift) {
        return painted([=](int x, int y) {
            const int i = (x / 10 + y / 10 * 20 + shift) % colors;
            return QColor(i, 255 - i, (i * 7) % 256);
        });
    };
    const std::vector<Bitmap> frames{checks(256, 0), checks(1, 0), checks(255, 3), checks(255, 4), checks(2, 0)};
    const std::vector<QImage> pictures = shown(encoded(frames));
    QCOMPARE(pictures.size(), frames.size());
    for (std::size_t i = 0; i < frames.size(); ++i)
        QVERIFY2(std::isinf(likeness(pictures[i], frames[i])), qPrintable(QString::number(i)));
}

void GifImageTest::manyColorsStayAlike()
{
    std::vector<Bitmap> frames;
    for (int i = 0; i < 4; ++i)
        frames.push_back(shades(i * 0.4));
    const std::vector<QImage> pictures = shown(encoded(frames));
    QCOMPARE(pictures.size(), frames.size());
    // No palette for all pictures at once would reach this.
    constexpr double alike = 31;
    for (std::size_t i = 0; i < frames.size(); ++i) {
        QVERIFY2(likeness(pictures[i], frames[i]) > alike, qPrintable(QString::number(likeness(pictures[i], frames[i]))));
    }
}

void GifImageTest::whatDoesNotChangeStays()
{
    const QByteArray one = encoded({shades(0)});
    const QByteArray still = encoded({shades(0), shades(0), shades(0)});
    QVERIFY2(still.size() < one.size() * 2, qPrintable(QString("%1 %2").arg(one.size()).arg(still.size())));

    // What moves leaves no trace behind it.
    const auto ball = [](int at) {
        return painted([=](int x, int y) {
            return x >= at && x < at + 40 && y >= 80 && y < 120 ? QColor(250, 20, 20) : QColor(x, y, 90);
        });
    };
    const std::vector<Bitmap> frames{ball(0), ball(60), ball(120)};
    const std::vector<QImage> pictures = shown(encoded(frames));
    for (std::size_t i = 0; i < frames.size(); ++i)
        QVERIFY2(likeness(pictures[i], frames[i]) > 33, qPrintable(QString::number(likeness(pictures[i], frames[i]))));
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
    const QImage picture = shown(encoded({drawing})).front();
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
    bool failed = false;
    for (int i = 0; i < 5 && !failed; ++i) {
        try {
            gif.Add(shades(i));
        } catch (const std::runtime_error &) {
            failed = true;
        }
    }
    QVERIFY(failed);
}

QTEST_GUILESS_MAIN(GifImageTest)
#include "gif_image_test.moc"
