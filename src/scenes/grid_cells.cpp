#include "scenes/grid_cells.h"

#include <algorithm>
#include <utility>

GridCells::GridCells(int columnCount) : m_columns(columnCount), m_rows(fewestRows) {}

void GridCells::setRowCount(int count)
{
    m_rows.resize(static_cast<std::size_t>(std::max(count, fewestRows)));
}

bool GridCells::holds(int column, int row) const
{
    return column >= 0 && column < m_columns && row >= 0 && row < RowCount();
}

const QString &GridCells::cell(int column, int row) const
{
    static const QString empty;
    if (!holds(column, row))
        return empty;
    const Row &cells = m_rows[static_cast<std::size_t>(row)];
    if (column == 0)
        return cells.number;
    return cells.texts ? cells.texts[static_cast<std::size_t>(column - 1)] : empty;
}

void GridCells::setCell(int column, int row, const QString &text)
{
    if (!holds(column, row))
        return;
    Row &cells = at(row);
    if (column == 0) {
        cells.number = text;
        return;
    }
    if (!cells.texts) {
        if (text.isEmpty())
            return;
        cells.texts = std::make_unique<QString[]>(static_cast<std::size_t>(m_columns - 1));
    }
    cells.texts[static_cast<std::size_t>(column - 1)] = text;
}

void GridCells::deleteRow(int row)
{
    if (row < 1 || row >= RowCount())
        return;
    if (RowCount() == fewestRows) {
        at(row) = Row();
        return;
    }
    for (int i = row; i < RowCount() - 1; ++i)
        at(i).texts = std::move(at(i + 1).texts);
    m_rows.pop_back();
}

void GridCells::arrangeRows(const std::vector<int> &from)
{
    std::vector<std::unique_ptr<QString[]>> arranged;
    arranged.reserve(from.size());
    for (const int row : from)
        arranged.push_back(std::move(at(row).texts));
    for (std::size_t i = 0; i < arranged.size(); ++i)
        m_rows[i + 1].texts = std::move(arranged[i]);
}
