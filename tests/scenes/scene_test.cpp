#include "scenes/scene.h"

#include <QTest>

#include <limits>
#include <random>

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
    void fieldsLieInTheirColumns();
    void newScenesFillTheBlankRowFirst();
    void deletingMovesRowsUpUnderTheirNumbers();
    void deletingTheOnlyRowEmptiesTheList();
    void clearingLeavesOneBlankRow();
    void sortingIsNumericAndStable_data();
    void sortingIsNumericAndStable();
    void sortingEqualsExchangingNeighbours();
    void positionsBecomeMediaTimes();
    void cellsOutsideAreEmpty();
};

void SceneTest::fieldsLieInTheirColumns()
{
    GridCells list(sceneColumnCount);
    setScene(list, 1, {"1", "2", "3", "4", "5", "6", "7", "8", "9", "10", "11", "12"});
    for (int c = PositionColumn; c < sceneColumnCount; ++c)
        QCOMPARE(list.cell(c, 1), QString::number(c));
    QCOMPARE(sceneAt(list, 1).lasttype, QString("5"));
    QCOMPARE(sceneAt(list, 1).longitude, QString("12"));
}

void SceneTest::newScenesFillTheBlankRowFirst()
{
    GridCells list(sceneColumnCount);
    QVERIFY(listIsEmpty(list));
    QCOMPARE(rowForNewScene(list), 1);
    QCOMPARE(list.RowCount(), 2);
    setScene(list, 1, {});
    QVERIFY(!listIsEmpty(list));
    QCOMPARE(rowForNewScene(list), 2);
    QCOMPARE(list.RowCount(), 3);

    // Something in the number's cell makes the blank row a scene.
    GridCells typed(sceneColumnCount);
    typed.setCell(NumberColumn, 1, "x");
    QCOMPARE(rowForNewScene(typed), 2);
}

void SceneTest::deletingMovesRowsUpUnderTheirNumbers()
{
    GridCells list = listOf({"a", "b", "c", "d"});
    list.deleteRow(2);
    QCOMPARE(list.RowCount(), 4);
    QCOMPARE(column(list, PositionColumn), QStringList({"a", "c", "d"}));
    QCOMPARE(column(list, NumberColumn), QStringList({"1", "2", "3"}));
    list.deleteRow(3);
    list.deleteRow(0);
    list.deleteRow(3);
    QCOMPARE(column(list, PositionColumn), QStringList({"a", "c"}));
}

void SceneTest::deletingTheOnlyRowEmptiesTheList()
{
    GridCells list = listOf({"a"});
    list.deleteRow(1);
    QVERIFY(listIsEmpty(list));
    QCOMPARE(column(list, PositionColumn), QStringList({""}));
    QCOMPARE(rowForNewScene(list), 1);
}

void SceneTest::clearingLeavesOneBlankRow()
{
    GridCells list = listOf({"a", "b", "c"});
    clearList(list);
    QVERIFY(listIsEmpty(list));
    for (int c = 0; c < sceneColumnCount; ++c)
        QCOMPARE(list.cell(c, 1), QString());
    // Rows that come back are blank.
    list.setRowCount(4);
    QCOMPARE(column(list, PositionColumn), QStringList({"", "", ""}));
    list.setRowCount(-3);
    QCOMPARE(list.RowCount(), 2);
}

void SceneTest::sortingIsNumericAndStable_data()
{
    QTest::addColumn<QStringList>("positions");
    QTest::addColumn<QStringList>("sorted");
    QTest::newRow("empty counts as 0") << QStringList{"10.5", "2", "", "2"} << QStringList{"", "2", "2", "10.5"};
    QTest::newRow("numbers, not texts") << QStringList{"10", "9"} << QStringList{"9", "10"};
    QTest::newRow("words count as 0 and keep their order")
        << QStringList{"b", "1", "a", "-1"} << QStringList{"-1", "b", "a", "1"};
    QTest::newRow("a comma ends the number") << QStringList{"12.5", "12,9", "12"}
                                             << QStringList{"12,9", "12", "12.5"};
    QTest::newRow("beyond a double") << QStringList{"1e999", "1", "-1e999"} << QStringList{"-1e999", "1", "1e999"};
    QTest::newRow("one row") << QStringList{"1"} << QStringList{"1"};
}

void SceneTest::sortingIsNumericAndStable()
{
    QFETCH(QStringList, positions);
    GridCells list = listOf(positions);
    const QStringList numbers = column(list, NumberColumn);
    sortByPosition(list);
    QTEST(column(list, PositionColumn), "sorted");
    QCOMPARE(column(list, NumberColumn), numbers);
}

void SceneTest::sortingEqualsExchangingNeighbours()
{
    const unsigned seed = std::random_device{}();
    std::mt19937 random(seed);
    QStringList positions;
    for (int i = 0; i < 200; ++i)
        positions += QString::number(random() % 20);
    GridCells list = listOf(positions);

    // Rows are told apart by their titles; neighbours change places as long as the first is greater.
    std::vector<std::pair<int, QString>> expected;
    for (int row = 1; row < list.RowCount(); ++row)
        expected.emplace_back(list.cell(PositionColumn, row).toInt(), list.cell(TitleColumn, row));
    for (std::size_t pass = 0; pass < expected.size(); ++pass) {
        for (std::size_t i = 0; i + 1 < expected.size(); ++i) {
            if (expected[i].first > expected[i + 1].first)
                std::swap(expected[i], expected[i + 1]);
        }
    }
    sortByPosition(list);
    for (std::size_t i = 0; i < expected.size(); ++i)
        QVERIFY2(list.cell(TitleColumn, static_cast<int>(i) + 1) == expected[i].second,
                 qPrintable(QString("seed %1").arg(seed)));
}

void SceneTest::positionsBecomeMediaTimes()
{
    QCOMPARE(mediaTimeOf("12.34"), MediaTime(123'400'000));
    QCOMPARE(mediaTimeOf("0.00000019"), MediaTime(1));
    QCOMPARE(mediaTimeOf("-0.00000019"), MediaTime(-1));
    QCOMPARE(mediaTimeOf("12,5"), MediaTime(120'000'000));
    QCOMPARE(mediaTimeOf(" 1e2 s"), MediaTime(1'000'000'000));
    QCOMPARE(mediaTimeOf(""), MediaTime(0));
    QCOMPARE(mediaTimeOf("сцена"), MediaTime(0));
    QCOMPARE(mediaTimeOf("1e300"), std::numeric_limits<MediaTime>::max());
}

void SceneTest::cellsOutsideAreEmpty()
{
    GridCells list = listOf({"a"});
    list.setCell(0, 2, "x");
    list.setCell(sceneColumnCount, 1, "x");
    list.setCell(-1, -1, "x");
    QCOMPARE(list.cell(0, 2), QString());
    QCOMPARE(list.cell(sceneColumnCount, 1), QString());
    QCOMPARE(list.cell(-1, -1), QString());
}

QTEST_APPLESS_MAIN(SceneTest)
#include "scene_test.moc"
