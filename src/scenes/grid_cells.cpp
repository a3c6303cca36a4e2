#include "scenes/grid_cells.h"

#include <algorithm>
#include <utility>

std::size_t byteCount(const GridRow &row, int textCount)
{
    // What the framework and the system's memory keep beside the characters of a text.
    constexpr std::size_t besideText = 32;
    const auto bytesOf = [](const QString &text) {
        const auto length = static_cast<std::size_t>(text.size());
        return sizeof(QString) + (length == 0 ? 0 : besideText + sizeof(QChar) * length);
    };
    std::size_t bytes = sizeof(row.texts) + bytesOf(row.number);
    for (int i = 0; row.texts && i < textCount; ++i)
        bytes += bytesOf(row.texts[static_cast<std::size_t>(i)]);
    return bytes;
}

GridCells::GridCells(int columnCount) : m_columns(columnCount), m_rows(fewestRows) {}

void GridCells::setRowCount(int count)
{
    m_rows.resize(static_cast<std::size_t>(std::max(count, fewestRows)));
}

std::size_t GridCells::byteCount() const
{
    std::size_t bytes = 0;
    for (const GridRow &row : m_rows)
        bytes += ::byteCount(row, m_columns - 1);
    return bytes;
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
    const GridRow &cells = m_rows[static_cast<std::size_t>(row)];
    if (column == 0)
        return cells.number;
    return cells.texts ? cells.texts[static_cast<std::size_t>(column - 1)] : empty;
}

void GridCells::setCell(int column, int row, const QString &text)
{
    if (!holds(column, row))
        return;
    GridRow &cells = at(row);
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

GridRow GridCells::takeRow(int row)
{
    const auto first = m_rows.begin() + row;
    GridRow taken{{}, std::move(first->texts)};
    for (auto below = first + 1; below != m_rows.end(); ++below)
        (below - 1)->texts = std::move(below->texts);
    taken.number = std::move(m_rows.back().number);
    m_rows.pop_back();
    return taken;
}

void GridCells::putRowBack(int row, GridRow taken)
{
    m_rows.push_back({std::move(taken.number), nullptr});
    for (auto above = m_rows.end() - 1; above != m_rows.begin() + row; --above)
        above->texts = std::move((above - 1)->texts);
    at(row).texts = std::move(taken.texts);
}

void GridCells::exchangeRow(int row, GridRow &other)
{
    std::swap(at(row), other);
}

void GridCells::exchangeDataRows(GridCells &other)
{
    m_rows.swap(other.m_rows);
    std::swap(m_rows.front(), other.m_rows.front());
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
