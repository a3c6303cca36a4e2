#include "scenes/scene.h"

#include "util/numbers.h"

#include <algorithm>
#include <utility>

bool listIsEmpty(const GridCells &list)
{
    return list.RowCount() == GridCells::fewestRows && list.cell(NumberColumn, 1).isEmpty();
}

int rowForNewScene(GridCells &list)
{
    if (listIsEmpty(list))
        return 1;
    const int row = list.RowCount();
    list.setRowCount(row + 1);
    return row;
}

void setScene(GridCells &list, int row, const Scene &scene)
{
    list.setCell(NumberColumn, row, QString::number(row));
    int column = PositionColumn;
    for (const auto field : sceneFields)
        list.setCell(column++, row, scene.*field);
}

Scene sceneAt(const GridCells &list, int row)
{
    Scene scene;
    int column = PositionColumn;
    for (const auto field : sceneFields)
        scene.*field = list.cell(column++, row);
    return scene;
}

void clearList(GridCells &list)
{
    list.setRowCount(GridCells::fewestRows);
    GridRow blank;
    list.exchangeRow(1, blank);
}

std::vector<int> orderByPosition(const GridCells &list)
{
    std::vector<std::pair<double, int>> positions;
    positions.reserve(static_cast<std::size_t>(list.RowCount()));
    for (int row = 1; row < list.RowCount(); ++row)
        positions.emplace_back(leadingNumber(list.cell(PositionColumn, row)), row);
    std::stable_sort(positions.begin(), positions.end(),
                     [](const auto &a, const auto &b) { return a.first < b.first; });

    std::vector<int> order;
    order.reserve(positions.size());
    for (const auto &[position, row] : positions)
        order.push_back(row);
    return order;
}

MediaTime mediaTimeOf(const QString &position)
{
    return mediaTimeAt(leadingNumber(position));
}
