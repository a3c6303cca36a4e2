#include "export/bitmap.h"

#include <QTest>

#include <string>

namespace {

/// A picture from rows of letters: a pixel's blue is its letter, its green and red the letters after it.
Bitmap bitmapOf(const QStringList &rows)
{
    Bitmap bitmap(static_cast<int>(rows.value(0).size()), static_cast<int>(rows.size()));
    for (int y = 0; y < bitmap.Height(); ++y) {
        std::uint8_t *pixel = bitmap.ScanLine(y);
        for (int x = 0; x < bitmap.Width(); ++x, pixel += 3) {
            for (int channel = 0; channel < 3; ++channel)
                pixel[channel] = static_cast<std::uint8_t>(rows[y][x].toLatin1() + channel);
        }
    }
    return bitmap;
}

QStringList rowsOf(const Bitmap &bitmap)
{
    QStringList rows;
    for (int y = 0; y < bitmap.Height(); ++y) {
        const std::uint8_t *pixel = bitmap.ScanLine(y);
        QString row;
        for (int x = 0; x < bitmap.Width(); ++x, pixel += 3) {
            const bool intact = pixel[1] == pixel[0] + 1 && pixel[2] == pixel[0] + 2;
            row += intact ? QChar::fromLatin1(static_cast<char>(pixel[0])) : QLatin1Char('?');
        }
        rows += row;
    }
    return rows;
}

} // namespace

class BitmapTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void cropsInsideTheSource_data();
    void cropsInsideTheSource();
    void scalesCornerToCorner_data();
    void scalesCornerToCorner();
    void emptyPicturesAreHarmless();
};

void BitmapTest::cropsInsideTheSource_data()
{
    QTest::addColumn<QRect>("part");
    QTest::addColumn<QStringList>("rows");
    const QStringList whole{"abcde", "fghij", "klmno"};
    QTest::newRow("square at the corner") << QRect(0, 0, 3, 3) << QStringList{"abc", "fgh", "klm"};
    QTest::newRow("inside") << QRect(1, 1, 2, 1) << QStringList{"gh"};
    QTest::newRow("last column and row reached") << QRect(3, 1, 2, 2) << QStringList{"ij", "no"};
    QTest::newRow("beyond the end") << QRect(3, 1, 9, 9) << QStringList{"ij", "no"};
    QTest::newRow("everything") << QRect(0, 0, 5, 3) << whole;
    QTest::newRow("far too large") << QRect(0, 0, INT_MAX, INT_MAX) << whole;
    QTest::newRow("corner outside") << QRect(99, 99, 2, 2) << QStringList{"o"};
    QTest::newRow("corner before") << QRect(-7, -7, 2, 2) << QStringList{"ab", "fg"};
    QTest::newRow("no size") << QRect(2, 2, 0, -5) << QStringList{"m"};
}

void BitmapTest::cropsInsideTheSource()
{
    QFETCH(const QRect, part);
    QFETCH(const QStringList, rows);
    Bitmap destination(9, 9);
    bitmapCrop(bitmapOf({"abcde", "fghij", "klmno"}), destination, part.x(), part.y(), part.width(), part.height());
    QCOMPARE(rowsOf(destination), rows);
}

void BitmapTest::scalesCornerToCorner_data()
{
    QTest::addColumn<QSize>("size");
    QTest::addColumn<QStringList>("rows");
    // Source index = (source length - 1) * index / (length - 1), truncated.
    QTest::newRow("same size") << QSize(5, 2) << QStringList{"abcde", "fghij"};
    QTest::newRow("smaller: 0, 2, 4") << QSize(3, 2) << QStringList{"ace", "fhj"};
    QTest::newRow("smaller: 0, 1, 2, 4") << QSize(4, 1) << QStringList{"abce"};
    QTest::newRow("larger: 0 0 1 1 2 2 3 3 4") << QSize(9, 3) << QStringList{"aabbccdde", "aabbccdde", "ffgghhiij"};
    QTest::newRow("one pixel") << QSize(1, 1) << QStringList{"a"};
}

void BitmapTest::scalesCornerToCorner()
{
    QFETCH(const QSize, size);
    QFETCH(const QStringList, rows);
    Bitmap destination(size.width(), size.height());
    bitmapCopyRect(bitmapOf({"abcde", "fghij"}), destination);
    QCOMPARE(rowsOf(destination), rows);
}

void BitmapTest::emptyPicturesAreHarmless()
{
    const Bitmap nothing(0, -4);
    Bitmap destination(2, 2);
    bitmapCrop(nothing, destination, 0, 0, 5, 5);
    QVERIFY(destination.isEmpty());
    bitmapCopyRect(bitmapOf({"ab"}), destination);
    QVERIFY(destination.isEmpty());
    Bitmap one = bitmapOf({"x"});
    bitmapCopyRect(nothing, one);
    QCOMPARE(rowsOf(one), QStringList{"x"});
    bitmapCopyRect(one, one);
    QCOMPARE(rowsOf(one), QStringList{"x"});
}

QTEST_APPLESS_MAIN(BitmapTest)
#include "bitmap_test.moc"
