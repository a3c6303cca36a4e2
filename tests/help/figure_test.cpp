#include "help/figure.h"

#include <QColor>
#include <QTest>

#include <cmath>

namespace {

const QRect reference(10, 20, 100, 50);

/// The middle of what is painted in the colour of the figure's muzzle.
QPointF middleOfMuzzle(const QImage &picture)
{
    const QColor muzzle(0xf7, 0xe3, 0xcb);
    QPointF sum;
    int count = 0;
    for (int y = 0; y < picture.height(); ++y) {
        for (int x = 0; x < picture.width(); ++x) {
            if (picture.pixelColor(x, y) == muzzle) {
                sum += QPointF(x, y);
                ++count;
            }
        }
    }
    return count == 0 ? QPointF(qQNaN(), qQNaN()) : sum / count;
}

int differingPixels(const QImage &a, const QImage &b)
{
    int count = 0;
    for (int y = 0; y < a.height(); ++y) {
        for (int x = 0; x < a.width(); ++x)
            count += a.pixel(x, y) != b.pixel(x, y);
    }
    return count;
}

} // namespace

class FigureTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void edgesBelongToTheCellTheyShould_data();
    void edgesBelongToTheCellTheyShould();
    void eachPictureTurnsWhereItsNumberSays();
    void noTwoPicturesLookAlike();
    void nothingIsCutOff();
    void aLargerPictureIsDrawnNotStretched();
};

void FigureTest::edgesBelongToTheCellTheyShould_data()
{
    QTest::addColumn<QPoint>("cursor");
    QTest::addColumn<int>("picture");

    QTest::newRow("far up and left") << QPoint(-500, -500) << 1;
    QTest::newRow("straight above") << QPoint(60, -500) << 2;
    QTest::newRow("far up and right") << QPoint(900, -500) << 3;
    QTest::newRow("straight left") << QPoint(-500, 40) << 4;
    QTest::newRow("over it") << QPoint(60, 40) << 5;
    QTest::newRow("straight right") << QPoint(900, 40) << 6;
    QTest::newRow("far down and left") << QPoint(-500, 900) << 7;
    QTest::newRow("straight below") << QPoint(60, 900) << 8;
    QTest::newRow("far down and right") << QPoint(900, 900) << 9;
    QTest::newRow("left edge") << QPoint(10, 40) << 5;
    QTest::newRow("before the left edge") << QPoint(9, 40) << 4;
    QTest::newRow("last column") << QPoint(109, 40) << 5;
    QTest::newRow("right edge") << QPoint(110, 40) << 6;
    QTest::newRow("top edge") << QPoint(60, 20) << 5;
    QTest::newRow("above the top edge") << QPoint(60, 19) << 2;
    QTest::newRow("last row") << QPoint(60, 69) << 5;
    QTest::newRow("bottom edge") << QPoint(60, 70) << 8;
}

void FigureTest::edgesBelongToTheCellTheyShould()
{
    QFETCH(QPoint, cursor);
    QFETCH(int, picture);
    QCOMPARE(pictureNumber(directionTo(cursor, reference)), picture);
    QCOMPARE(pictureDirection(picture), directionTo(cursor, reference));
}

void FigureTest::eachPictureTurnsWhereItsNumberSays()
{
    Figure figure;
    const QPointF front = middleOfMuzzle(figure.picture({0, 0}, 200));
    QVERIFY(!std::isnan(front.x()));
    // A turn that one can see at 100 × 100: a tenth of the picture to the side, a twentieth up and down.
    for (int number = 1; number <= 9; ++number) {
        const Direction direction = pictureDirection(number);
        const QPointF moved = middleOfMuzzle(figure.picture(direction, 200)) - front;
        const auto turnedBy = [](double distance, int side, double least) {
            return side == 0 ? std::abs(distance) < 4 : distance * side >= least;
        };
        QVERIFY2(turnedBy(moved.x(), direction.right, 20) && turnedBy(moved.y(), direction.down, 10),
                 qPrintable(QStringLiteral("picture %1 moves by %2, %3").arg(number).arg(moved.x()).arg(moved.y())));
    }
}

void FigureTest::noTwoPicturesLookAlike()
{
    Figure figure;
    std::vector<QImage> pictures;
    for (int number = 1; number <= 9; ++number)
        pictures.push_back(figure.picture(pictureDirection(number), 100));
    for (std::size_t a = 0; a < pictures.size(); ++a) {
        for (std::size_t b = a + 1; b < pictures.size(); ++b)
            QVERIFY2(differingPixels(pictures[a], pictures[b]) > 800, qPrintable(QStringLiteral("%1 %2").arg(a).arg(b)));
    }
}

void FigureTest::nothingIsCutOff()
{
    // It stands on the lower edge; towards the other three there is air, and the ground is transparent.
    Figure figure;
    for (int number = 1; number <= 9; ++number) {
        const QImage picture = figure.picture(pictureDirection(number), 100);
        for (int i = 0; i < 100; ++i) {
            QCOMPARE(qAlpha(picture.pixel(i, 0)), 0);
            QCOMPARE(qAlpha(picture.pixel(0, i)), 0);
            QCOMPARE(qAlpha(picture.pixel(99, i)), 0);
        }
        QCOMPARE(qAlpha(picture.pixel(50, 50)), 255);
        QCOMPARE(qAlpha(picture.pixel(50, 99)), 255);
    }
}

void FigureTest::aLargerPictureIsDrawnNotStretched()
{
    // What is drawn keeps a thin edge at any size; what is stretched blurs it, so that more pixels are half covered.
    Figure figure;
    const auto halfCovered = [](const QImage &picture) {
        int count = 0;
        for (int y = 0; y < picture.height(); ++y) {
            for (int x = 0; x < picture.width(); ++x)
                count += qAlpha(picture.pixel(x, y)) > 10 && qAlpha(picture.pixel(x, y)) < 245;
        }
        return count;
    };
    const QImage drawn = figure.picture({0, 0}, 200);
    const QImage stretched = figure.picture({0, 0}, 100).scaled(200, 200, {}, Qt::SmoothTransformation);
    QVERIFY(halfCovered(drawn) * 3 < halfCovered(stretched) * 2);
}

QTEST_MAIN(FigureTest)
#include "figure_test.moc"
