#include "export/bitmap.h"

#include <QTest>

namespace {

/// A picture from rows of letters: a pixel's blue is its letter, its green and red the letters after it.
Bitmap bitmapOf(const QStringList &rows)
{
    Bitmap bitmap(static_cast<int>(rows.value(0).size()), static_cast<int>(rows.size()));
    for (int y = 0; y < bitmap.Height(); ++y) {
        for (int i = 0; i < 3 * bitmap.Width(); ++i)
            bitmap.ScanLine(y)[i] = static_cast<std::uint8_t>(rows[y][i / 3].toLatin1() + i % 3);
    }
    return bitmap;
}

} // namespace

class BitmapTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void cropsAndScales_data();
    void cropsAndScales();
    void emptyPicturesAreHarmless();
};

void BitmapTest::cropsAndScales_data()
{
    QTest::addColumn<QRect>("part");
    QTest::addColumn<QSize>("size");
    QTest::addColumn<QStringList>("rows");
    const auto crop = [](const char *name, QRect part, const QStringList &rows) {
        QTest::newRow(name) << part << QSize(int(rows[0].size()), int(rows.size())) << rows;
    };
    crop("square at the corner", {0, 0, 3, 3}, {"abc", "fgh", "klm"});
    crop("last column and row reached", {3, 1, 2, 2}, {"ij", "no"});
    crop("far too large", {3, 1, INT_MAX, INT_MAX}, {"ij", "no"});
    crop("corner outside", {99, 99, 2, 2}, {"o"});
    crop("corner before", {-7, -7, 2, 2}, {"ab", "fg"});
    crop("no size", {2, 2, 0, -5}, {"m"});
    const QRect two(0, 0, 5, 2);
    QTest::newRow("smaller: 0, 1, 2, 4") << two << QSize(4, 1) << QStringList{"abce"};
    QTest::newRow("larger: 0 0 1 1 2 2 3 3 4") << two << QSize(9, 3) << QStringList{"aabbccdde", "aabbccdde", "ffgghhiij"};
}

void BitmapTest::cropsAndScales()
{
    QFETCH(const QRect, part);
    QFETCH(const QSize, size);
    QFETCH(const QStringList, rows);
    Bitmap cropped(9, 9);
    bitmapCrop(bitmapOf({"abcde", "fghij", "klmno"}), cropped, part.x(), part.y(), part.width(), part.height());
    Bitmap scaled(size.width(), size.height());
    bitmapCopyRect(cropped, scaled);
    const Bitmap expected = bitmapOf(rows);
    for (int y = 0; y < size.height(); ++y) {
        for (int i = 0; i < 3 * size.width(); ++i)
            QCOMPARE(scaled.ScanLine(y)[i], expected.ScanLine(y)[i]);
    }
}

void BitmapTest::emptyPicturesAreHarmless()
{
    Bitmap destination(2, 2);
    bitmapCrop(Bitmap(0, -4), destination, 0, 0, 5, 5);
    QVERIFY(destination.isEmpty());
    bitmapCopyRect(bitmapOf({"ab"}), destination);
    Bitmap one = bitmapOf({"x"});
    bitmapCopyRect(destination, one);
    QCOMPARE(*one.ScanLine(0), std::uint8_t{'x'});
}

QTEST_APPLESS_MAIN(BitmapTest)
#include "bitmap_test.moc"
