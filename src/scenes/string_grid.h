#pragma once

#include "scenes/grid_cells.h"

#include <QTableView>

#include <functional>
#include <memory>
#include <optional>

class StringGridModel;

/// A grid of texts with a fixed header row (row 0) and a fixed column (column 0), neither of which scrolls away.
/// Cells are not edited in place. Columns can be resized with the mouse and ranges of cells selected. One data row is
/// always the current one; it is marked over its whole width, also while the window is not active. A
/// cell that is cut shows its whole text as a hint.
///
/// The arrow keys move the current row. A click on a data row, its number included, or the Enter key emits `Click`;
/// the second click of a double click emits `DblClick`.
class TStringGrid : public QTableView {
    Q_OBJECT

public:
    TStringGrid(int columnCount, QWidget *parent);
    ~TStringGrid() override;

    [[nodiscard]] int RowCount() const { return cells().RowCount(); }
    void setRowCount(int count);

    /// The current data row, 1 .. RowCount-1.
    [[nodiscard]] int Row() const;

    /// Makes `row` current, or the nearest data row, and scrolls to it.
    void setRow(int row);

    [[nodiscard]] const QString &cell(int column, int row) const { return cells().cell(column, row); }
    void setCell(int column, int row, const QString &text);

    /// In logical pixels.
    void setColWidth(int column, int width);

    [[nodiscard]] const GridCells &cells() const { return m_texts; }

    /// Runs `operation` on the cells and shows what has become of them as one change, however many cells that
    /// touches. If it throws, what it had changed until then is shown and the exception goes on.
    void change(const std::function<void(GridCells &cells)> &operation);

    /// Scrolls to `row`, which does not become the current one.
    void showRow(int row);

    /// Tints the data row of the scene that plays now; 0 for none.
    void setPlayingRow(int row);
    [[nodiscard]] int playingRow() const { return m_playingRow; }

    /// While `Click` is emitted for the mouse: where on the screen it clicked. None for the Enter key.
    [[nodiscard]] std::optional<QPoint> clickPosition() const { return m_clickedAt; }

    void keyboardSearch(const QString &search) override;

Q_SIGNALS:
    void Click();
    void DblClick();

    /// Another row is current, or the same after the number of rows has changed.
    void RowChanged();

    /// The context menu is asked for, at this point of the screen; `onRow` tells whether on a data row, which is the
    /// current one then.
    void ContextPopup(const QPoint &position, bool onRow);

protected:
    void mousePressEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;
    void mouseDoubleClickEvent(QMouseEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    void contextMenuEvent(QContextMenuEvent *event) override;
    void currentChanged(const QModelIndex &current, const QModelIndex &previous) override;
    void changeEvent(QEvent *event) override;
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void takePress(int row, const QMouseEvent &event);
    void takeRelease(int row, const QMouseEvent &event);
    void takeDoubleClick(int row, const QMouseEvent &event);
    bool filterNumbers(QEvent *event);
    void paintCorner(QWidget *cornerButton);
    void fitHeaders();

    GridCells m_texts;
    StringGridModel *m_gridModel;
    QWidget *m_corner;
    int m_numberWidth = 0;
    int m_playingRow = 0;

    /// The row and the place of a press that may become a click.
    std::optional<int> m_pressedRow;
    QPoint m_pressedAt;
    std::optional<QPoint> m_clickedAt;
};
