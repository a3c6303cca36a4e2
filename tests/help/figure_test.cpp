#include "help/figure.h"

#include <QColor>
#include <QTest>

#include <cmath>

class FigureTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void edgesBelongToTheCellTheyShould();
    void eachPictureTurnsWhereItsNumberSays();
    void nothingIsCutOff();
};

namespace {

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

} // namespace

void FigureTest::edgesBelongToTheCellTheyShould()
{
    const QRect reference(10, 20, 100, 50);
    // A column or row of cells begins at its left or upper edge.
    const std::pair<int, int> columns[] = {{-500, -1}, {9, -1}, {10, 0}, {109, 0}, {110, 1}, {900, 1}};
    const std::pair<int, int> rows[] = {{-500, -1}, {19, -1}, {20, 0}, {69, 0}, {70, 1}, {900, 1}};
    for (const auto &[x, right] : columns) {
        for (const auto &[y, down] : rows) {
            const Direction direction = directionTo({x, y}, reference);
            QCOMPARE(direction, (Direction{right, down}));
            QCOMPARE(pictureNumber(direction), 5 + right + 3 * down);
            QCOMPARE(pictureDirection(pictureNumber(direction)), direction);
        }
    }
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

QTEST_MAIN(FigureTest)
#include "figure_test.moc"
