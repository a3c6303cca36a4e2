#pragma once

#include <QString>

#include <cstddef>
#include <memory>
#include <vector>

/// A row of a grid by itself. The texts of columns 1 and up lie in a block of their own, so that moving a row moves
/// one pointer; null is a blank row.
struct GridRow {
    QString number;
    std::unique_ptr<QString[]> texts;
};

/// The memory that a row with `textCount` texts takes, in bytes; a text that is shared with others counts in full.
[[nodiscard]] std::size_t byteCount(const GridRow &row, int textCount);

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

    /// The memory that the rows take, in bytes; a text that is shared with others counts in full.
    [[nodiscard]] std::size_t byteCount() const;

    /// Empty text for a cell outside the grid.
    [[nodiscard]] const QString &cell(int column, int row) const;

    /// Nothing happens to a cell outside the grid.
    void setCell(int column, int row, const QString &text);

    /// Takes the texts of columns 1 and up out of the data row `row`, to which those of the row below it move up, and
    /// so on to the end. The last row goes away, and with what was taken comes its number. There must be two data rows
    /// or more.
    [[nodiscard]] GridRow takeRow(int row);

    /// Puts back what `takeRow` gave for `row`.
    void putRowBack(int row, GridRow taken);

    /// Exchanges a data row, its number included, with `other`.
    void exchangeRow(int row, GridRow &other);

    /// Exchanges the data rows with those of `other`, a grid of as many columns. The headers stay.
    void exchangeDataRows(GridCells &other);

    /// Rearranges columns 1 and up: the data row i gets those that row `from[i - 1]` has. `from` names each data row
    /// exactly once. Column 0 stays where it is.
    void arrangeRows(const std::vector<int> &from);

private:
    [[nodiscard]] bool holds(int column, int row) const;
    [[nodiscard]] GridRow &at(int row) { return m_rows[static_cast<std::size_t>(row)]; }

    int m_columns;
    std::vector<GridRow> m_rows;
};
