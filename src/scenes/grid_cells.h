#pragma once

#include <QString>

#include <memory>
#include <vector>

/// The cells of a string grid: text by column and row. Row 0 holds the headers and column 0 the row numbers; the
/// data rows are 1 .. RowCount-1, and there is always at least one. A cell never written is empty text.
class GridCells {
public:
    static constexpr int fewestRows = 2;

    /// A grid of `columnCount` columns, column 0 included, with one blank data row.
    explicit GridCells(int columnCount);

    [[nodiscard]] int ColCount() const { return m_columns; }
    [[nodiscard]] int RowCount() const { return static_cast<int>(m_rows.size()); }

    /// Rows that are taken away lose their texts, rows that are added are blank; never fewer than `fewestRows`.
    void setRowCount(int count);

    /// Empty text for a cell outside the grid.
    [[nodiscard]] const QString &cell(int column, int row) const;

    /// Nothing happens to a cell outside the grid.
    void setCell(int column, int row, const QString &text);

    /// Makes columns 1 and up of `row` those of the row below it, and so on to the end, and takes the last row away.
    /// Column 0 stays where it is. The only data row is made blank instead, its column 0 too.
    void deleteRow(int row);

    /// Rearranges columns 1 and up: the data row i gets those that row `from[i - 1]` has. `from` names each data row
    /// exactly once. Column 0 stays where it is.
    void arrangeRows(const std::vector<int> &from);

private:
    /// Columns 1 and up live in a block of their own, so that moving a row moves one pointer; null is a blank row.
    struct Row {
        QString number;
        std::unique_ptr<QString[]> texts;
    };

    [[nodiscard]] bool holds(int column, int row) const;
    [[nodiscard]] Row &at(int row) { return m_rows[static_cast<std::size_t>(row)]; }

    int m_columns;
    std::vector<Row> m_rows;
};
