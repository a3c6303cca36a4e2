#include "scenes/scene.h"

#include <QTest>

#include <limits>
#include <utility>

namespace {

GridCells listOf(const QStringList &positions)
{
    GridCells list(sceneColumnCount);
    for (const QString &position : positions) {
        Scene scene;
        scene.position = position;
        scene.title = QString::number(list.RowCount());
        setScene(list, rowForNewScene(list), scene);
    }
    return list;
}

QStringList column(const GridCells &list, int column)
{
    QStringList texts;
    for (int row = 1; row < list.RowCount(); ++row)
        texts += list.cell(column, row);
    return texts;
}

} // namespace

class SceneTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void newScenesFillTheBlankRowFirst();
    void rowsThatGoLeaveNothingBehind();
    void sortingIsNumericAndStable_data();
    void sortingIsNumericAndStable();
    void positionsBecomeMediaTimes();
};

void SceneTest::newScenesFillTheBlankRowFirst()
{
    GridCells list(sceneColumnCount);
    QVERIFY(listIsEmpty(list));
    QCOMPARE(rowForNewScene(list), 1);
    QCOMPARE(list.RowCount(), 2);
    // Something in the number's cell makes the blank row a scene.
    list.setCell(NumberColumn, 1, "x");
    QVERIFY(!listIsEmpty(list));
    QCOMPARE(rowForNewScene(list), 2);
    QCOMPARE(list.RowCount(), 3);
}

void SceneTest::rowsThatGoLeaveNothingBehind()
{
    GridCells list = listOf({"a", "b", "c", "d"});
    list.deleteRow(2);
    QCOMPARE(column(list, PositionColumn), QStringList({"a", "c", "d"}));
    QCOMPARE(column(list, NumberColumn), QStringList({"1", "2", "3"}));
    for (const int row : {3, 0, 3})
        list.deleteRow(row);
    QCOMPARE(column(list, PositionColumn), QStringList({"a", "c"}));
    clearList(list);
    QVERIFY(listIsEmpty(list));
    list.setRowCount(4);
    QCOMPARE(column(list, PositionColumn), QStringList({"", "", ""}));
    QCOMPARE(column(list, NumberColumn), QStringList({"", "", ""}));
    list.setRowCount(-3);
    QCOMPARE(list.RowCount(), 2);
    for (const auto &[column, row] : {std::pair(0, 2), std::pair(int(sceneColumnCount), 1), std::pair(-1, -1)}) {
        list.setCell(column, row, "outside");
        QCOMPARE(list.cell(column, row), QString());
    }
}

void SceneTest::sortingIsNumericAndStable_data()
{
    QTest::addColumn<QStringList>("positions");
    QTest::addColumn<QStringList>("sorted");
    QTest::newRow("numbers, not texts; empty counts as 0")
        << QStringList{"10.5", "9", "", "9"} << QStringList{"", "9", "9", "10.5"};
    QTest::newRow("words count as 0 and keep their order")
        << QStringList{"b", "1", "a", "-1"} << QStringList{"-1", "b", "a", "1"};
    QTest::newRow("a comma ends the number") << QStringList{"12.5", "12,9", "12"}
                                             << QStringList{"12,9", "12", "12.5"};
    QTest::newRow("beyond a double") << QStringList{"1e999", "1", "-1e999"} << QStringList{"-1e999", "1", "1e999"};
    QStringList many, sorted;
    for (int i = 0; i < 200; ++i) {
        many += QString::number(i * 7 % 20);
        sorted += QString::number(i / 10);
    }
    QTest::newRow("many") << many << sorted;
}

void SceneTest::sortingIsNumericAndStable()
{
    QFETCH(QStringList, positions);
    GridCells list = listOf(positions);
    const QStringList numbers = column(list, NumberColumn);
    sortByPosition(list);
    QTEST(column(list, PositionColumn), "sorted");
    QCOMPARE(column(list, NumberColumn), numbers);
    // A title is the place that its row had before.
    for (int row = 2; row < list.RowCount(); ++row) {
        if (list.cell(PositionColumn, row) == list.cell(PositionColumn, row - 1))
            QVERIFY(list.cell(TitleColumn, row).toInt() > list.cell(TitleColumn, row - 1).toInt());
    }
}

void SceneTest::positionsBecomeMediaTimes()
{
    QCOMPARE(mediaTimeOf("12.34"), MediaTime(123'400'000));
    QCOMPARE(mediaTimeOf("-0.00000019"), MediaTime(-1));
    QCOMPARE(mediaTimeOf("12,5"), MediaTime(120'000'000));
    QCOMPARE(mediaTimeOf("сцена"), MediaTime(0));
    QCOMPARE(mediaTimeOf("1e300"), std::numeric_limits<MediaTime>::max());
}

QTEST_APPLESS_MAIN(SceneTest)
#include "scene_test.moc"
