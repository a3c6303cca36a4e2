#include "scene_lists.h"

#include <QTest>

#include <utility>

namespace {

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
    void rowsComeAtTheEndAndGoWithoutATrace();
    void sortingIsNumericAndStable();
};

void SceneTest::rowsComeAtTheEndAndGoWithoutATrace()
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

    list = listOf({"a", "b", "c", "d"});
    static_cast<void>(list.takeRow(2));
    QCOMPARE(column(list, PositionColumn), QStringList({"a", "c", "d"}));
    QCOMPARE(column(list, NumberColumn), QStringList({"1", "2", "3"}));
    static_cast<void>(list.takeRow(3));
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

void SceneTest::sortingIsNumericAndStable()
{
    QStringList many, sorted;
    for (int i = 0; i < 200; ++i) {
        many += QString::number(i * 7 % 20);
        sorted += QString::number(i / 10);
    }
    const std::pair<QStringList, QStringList> cases[] = {
        {many, sorted},
        {{"10.5", "9", "", "9"}, {"", "9", "9", "10.5"}},
        // Words count as 0 and keep their order, a comma ends the number.
        {{"b", "1e999", "12,9", "a", "12", "-1e999"}, {"-1e999", "b", "a", "12,9", "12", "1e999"}},
    };
    for (const auto &[positions, expected] : cases) {
        GridCells list = listOf(positions);
        const QStringList numbers = column(list, NumberColumn);
        list.arrangeRows(orderByPosition(list));
        QCOMPARE(column(list, PositionColumn), expected);
        QCOMPARE(column(list, NumberColumn), numbers);
        // A title is the place that its row had before.
        for (int row = 2; row < list.RowCount(); ++row) {
            if (list.cell(PositionColumn, row) == list.cell(PositionColumn, row - 1))
                QVERIFY(list.cell(TitleColumn, row).toInt() > list.cell(TitleColumn, row - 1).toInt());
        }
    }
}

QTEST_APPLESS_MAIN(SceneTest)
#include "scene_test.moc"
