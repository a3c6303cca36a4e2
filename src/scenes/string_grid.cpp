#include "scenes/string_grid.h"

#include <QAbstractButton>
#include <QAbstractTableModel>
#include <QApplication>
#include <QContextMenuEvent>
#include <QHeaderView>
#include <QMouseEvent>
#include <QPainter>
#include <QStyleOptionHeader>
#include <QStyledItemDelegate>
#include <QTextDocument>
#include <QToolTip>

#include <algorithm>

namespace {

constexpr int defaultRowHeight = 18;
constexpr int narrowestColumn = 16;

/// `over` laid on `under`, this share of it.
QColor blended(const QColor &over, const QColor &under, qreal share)
{
    const auto mixed = [share](int a, int b) { return qRound(share * a + (1.0 - share) * b); };
    return {mixed(over.red(), under.red()), mixed(over.green(), under.green()), mixed(over.blue(), under.blue())};
}

/// Draws each cell as one line of text and the current row on a tint of the selection's colour.
class CellDelegate : public QStyledItemDelegate {
public:
    explicit CellDelegate(TStringGrid *grid) : QStyledItemDelegate(grid), m_view(grid) {}

    QString displayText(const QVariant &value, const QLocale &) const override
    {
        // No column is wide enough for more, and a cell may hold megabytes.
        constexpr qsizetype longestShown = 1000;
        QString text = value.toString().left(longestShown);
        for (QChar &c : text) {
            if (c.category() == QChar::Other_Control || c == QChar::LineSeparator || c == QChar::ParagraphSeparator)
                c = QLatin1Char(' ');
        }
        return text;
    }

    bool helpEvent(QHelpEvent *event, QAbstractItemView *view, const QStyleOptionViewItem &option,
                   const QModelIndex &index) override
    {
        constexpr qsizetype longestHint = 4000;
        const bool cut = index.isValid() && sizeHint(option, index).width() > option.rect.width();
        // A text of the list is never markup.
        const QString hint = Qt::convertFromPlainText(index.data().toString().left(longestHint));
        QToolTip::showText(event->globalPos(), cut ? hint : QString(), view->viewport(), option.rect);
        return true;
    }

protected:
    void initStyleOption(QStyleOptionViewItem *option, const QModelIndex &index) const override
    {
        QStyledItemDelegate::initStyleOption(option, index);
        const bool playing = index.row() + 1 == m_view->playingRow();
        const bool current = index.row() + 1 == m_view->Row();
        if (option->state.testFlag(QStyle::State_Selected) || !(playing || current))
            return;
        const QPalette &palette = option->palette;
        QColor color = palette.color(QPalette::Active, QPalette::Base);
        constexpr qreal tintOfPlaying = 0.22;
        constexpr qreal tintOfCurrent = 0.4;
        if (playing)
            color = blended(palette.color(QPalette::Active, QPalette::Link), color, tintOfPlaying);
        if (current)
            color = blended(palette.color(QPalette::Active, QPalette::Highlight), color, tintOfCurrent);
        option->backgroundBrush = color;
    }

private:
    TStringGrid *m_view;
};

} // namespace

/// Shows grid cells to the view: the data rows and the columns from 1 as items, row 0 and column 0 as headers.
class StringGridModel : public QAbstractTableModel {
public:
    StringGridModel(const GridCells &gridCells, QObject *parent)
        : QAbstractTableModel(parent), m_cells(gridCells), m_shownRows(dataRows())
    {
    }

    [[nodiscard]] int rowCount(const QModelIndex &parent = {}) const override
    {
        return parent.isValid() ? 0 : m_shownRows;
    }
    [[nodiscard]] int columnCount(const QModelIndex &parent = {}) const override
    {
        return parent.isValid() ? 0 : m_cells.ColCount() - 1;
    }

    [[nodiscard]] QVariant data(const QModelIndex &index, int role) const override
    {
        return role == Qt::DisplayRole ? m_cells.cell(index.column() + 1, index.row() + 1) : QVariant();
    }

    [[nodiscard]] QVariant headerData(int section, Qt::Orientation orientation, int role) const override
    {
        const bool number = orientation == Qt::Vertical;
        if (role == Qt::TextAlignmentRole)
            return QVariant::fromValue(Qt::AlignVCenter | (number ? Qt::AlignHCenter : Qt::AlignLeft));
        if (role != Qt::DisplayRole)
            return {};
        return number ? m_cells.cell(0, section + 1) : m_cells.cell(section + 1, 0);
    }

    /// Tells the view what has become of the cells as a whole.
    void showAll()
    {
        const int rows = dataRows();
        if (rows > m_shownRows) {
            beginInsertRows({}, m_shownRows, rows - 1);
            m_shownRows = rows;
            endInsertRows();
        } else if (rows < m_shownRows) {
            beginRemoveRows({}, rows, m_shownRows - 1);
            m_shownRows = rows;
            endRemoveRows();
        }
        Q_EMIT dataChanged(index(0, 0), index(rows - 1, columnCount() - 1));
        Q_EMIT headerDataChanged(Qt::Horizontal, 0, columnCount() - 1);
        Q_EMIT headerDataChanged(Qt::Vertical, 0, rows - 1);
    }

    void showCell(int column, int row)
    {
        if (row == 0 && column > 0)
            Q_EMIT headerDataChanged(Qt::Horizontal, column - 1, column - 1);
        else if (column == 0 && row > 0)
            Q_EMIT headerDataChanged(Qt::Vertical, row - 1, row - 1);
        else
            Q_EMIT dataChanged(index(row - 1, column - 1), index(row - 1, column - 1));
    }

private:
    [[nodiscard]] int dataRows() const { return m_cells.RowCount() - 1; }

    const GridCells &m_cells;
    int m_shownRows;
};

TStringGrid::TStringGrid(int columnCount, QWidget *parent)
    : QTableView(parent), m_texts(columnCount), m_gridModel(new StringGridModel(m_texts, this)),
      m_corner(findChild<QAbstractButton *>(QString(), Qt::FindDirectChildrenOnly))
{
    setModel(m_gridModel);
    setItemDelegate(new CellDelegate(this));
    setEditTriggers(NoEditTriggers);
    setSelectionMode(ContiguousSelection);
    setAlternatingRowColors(true);
    setWordWrap(false);
    setTabKeyNavigation(false);
    setHorizontalScrollMode(ScrollPerPixel);

    QHeaderView *numbers = verticalHeader();
    numbers->setMinimumSectionSize(defaultRowHeight);
    numbers->setDefaultSectionSize(defaultRowHeight);
    numbers->setSectionResizeMode(QHeaderView::Fixed);
    numbers->setHighlightSections(false);
    numbers->viewport()->installEventFilter(this);

    QHeaderView *headers = horizontalHeader();
    headers->setMinimumSectionSize(narrowestColumn);
    headers->setSectionsClickable(false);
    headers->setHighlightSections(false);

    setCornerButtonEnabled(false);
    m_corner->installEventFilter(this);
    fitHeaders();
    setRow(1);
}

TStringGrid::~TStringGrid() = default;

void TStringGrid::change(const std::function<void(GridCells &)> &operation)
{
    struct Shown {
        TStringGrid &grid;
        ~Shown()
        {
            grid.fitHeaders();
            grid.m_gridModel->showAll();
        }
    };
    const Shown shown{*this};
    operation(m_texts);
}

void TStringGrid::setRowCount(int count)
{
    change([count](GridCells &cells) { cells.setRowCount(count); });
}

int TStringGrid::Row() const
{
    return std::max(currentIndex().row() + 1, 1);
}

void TStringGrid::setRow(int row)
{
    const int nearest = std::clamp(row, 1, RowCount() - 1);
    setCurrentIndex(m_gridModel->index(nearest - 1, std::max(currentIndex().column(), 0)));
}

void TStringGrid::setCell(int column, int row, const QString &text)
{
    m_texts.setCell(column, row, text);
    if (column == 0 && row == 0)
        m_corner->update();
    else
        m_gridModel->showCell(column, row);
}

void TStringGrid::setColWidth(int column, int width)
{
    if (column > 0) {
        setColumnWidth(column - 1, width);
        return;
    }
    m_numberWidth = width;
    fitHeaders();
}

void TStringGrid::showRow(int row)
{
    // Rows that have just been added count for the scroll bars only after this.
    updateGeometries();
    scrollTo(m_gridModel->index(row - 1, std::max(columnAt(0), 0)));
}

void TStringGrid::setPlayingRow(int row)
{
    if (std::exchange(m_playingRow, row) != row)
        viewport()->update();
}

void TStringGrid::fitHeaders()
{
    constexpr int room = 4;
    horizontalHeader()->setFixedHeight(std::max(defaultRowHeight, fontMetrics().height() + room));
    // The width asked for is enough for a few thousand rows.
    const int margin = 2 * style()->pixelMetric(QStyle::PM_HeaderMargin, nullptr, verticalHeader());
    const int needed = fontMetrics().horizontalAdvance(QString::number(RowCount() - 1)) + 2 * margin;
    verticalHeader()->setFixedWidth(std::max(m_numberWidth, needed));
}

void TStringGrid::keyboardSearch(const QString &)
{
    // A letter typed by mistake must not make another scene the current one.
}

void TStringGrid::mousePressEvent(QMouseEvent *event)
{
    QTableView::mousePressEvent(event);
    takePress(indexAt(event->position().toPoint()).row() + 1, *event);
}

void TStringGrid::mouseReleaseEvent(QMouseEvent *event)
{
    QTableView::mouseReleaseEvent(event);
    takeRelease(indexAt(event->position().toPoint()).row() + 1, *event);
}

void TStringGrid::mouseDoubleClickEvent(QMouseEvent *event)
{
    QTableView::mouseDoubleClickEvent(event);
    takeDoubleClick(indexAt(event->position().toPoint()).row() + 1, *event);
}

void TStringGrid::takePress(int row, const QMouseEvent &event)
{
    m_pressedRow.reset();
    if (row > 0 && event.button() == Qt::LeftButton && event.modifiers() == Qt::NoModifier) {
        m_pressedRow = row;
        m_pressedAt = event.globalPosition().toPoint();
    }
}

void TStringGrid::takeRelease(int row, const QMouseEvent &event)
{
    if (event.button() != Qt::LeftButton)
        return;
    const QPoint position = event.globalPosition().toPoint();
    // A drag selects a range of cells and opens nothing.
    const bool stayed = (position - m_pressedAt).manhattanLength() < QApplication::startDragDistance();
    if (std::exchange(m_pressedRow, std::nullopt) != row || !stayed)
        return;
    m_clickedAt = position;
    Q_EMIT Click();
    m_clickedAt.reset();
}

void TStringGrid::takeDoubleClick(int row, const QMouseEvent &event)
{
    if (row > 0 && event.button() == Qt::LeftButton)
        Q_EMIT DblClick();
}

void TStringGrid::keyPressEvent(QKeyEvent *event)
{
    const bool enter = event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter;
    const Qt::KeyboardModifiers modifiers = event->modifiers() & ~Qt::KeypadModifier;
    if (!enter || modifiers != Qt::NoModifier) {
        QTableView::keyPressEvent(event);
        return;
    }
    event->accept();
    Q_EMIT Click();
}

void TStringGrid::contextMenuEvent(QContextMenuEvent *event)
{
    event->accept();
    if (event->reason() == QContextMenuEvent::Mouse) {
        // The headers pass the event on to here, in their own place.
        const QPoint position = viewport()->mapFromGlobal(event->globalPos());
        const bool onRow = viewport()->rect().contains(position) && indexAt(position).isValid();
        Q_EMIT ContextPopup(event->globalPos(), onRow);
        return;
    }
    showRow(Row());
    const QPoint below(0, rowViewportPosition(Row() - 1) + defaultRowHeight);
    Q_EMIT ContextPopup(viewport()->mapToGlobal(below), true);
}

void TStringGrid::currentChanged(const QModelIndex &current, const QModelIndex &previous)
{
    QTableView::currentChanged(current, previous);
    viewport()->update();
    Q_EMIT RowChanged();
}

void TStringGrid::changeEvent(QEvent *event)
{
    QTableView::changeEvent(event);
    if (event->type() == QEvent::FontChange || event->type() == QEvent::StyleChange)
        fitHeaders();
}

bool TStringGrid::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == m_corner && event->type() == QEvent::Paint) {
        paintCorner(m_corner);
        return true;
    }
    if (watched == verticalHeader()->viewport())
        return filterNumbers(event);
    return QTableView::eventFilter(watched, event);
}

bool TStringGrid::filterNumbers(QEvent *event)
{
    const auto rowOf = [this](const QMouseEvent &mouse) {
        return verticalHeader()->logicalIndexAt(mouse.position().toPoint()) + 1;
    };
    switch (event->type()) {
    case QEvent::MouseButtonPress: {
        const auto &mouse = *static_cast<QMouseEvent *>(event);
        takePress(rowOf(mouse), mouse);
        if (mouse.button() == Qt::RightButton && rowOf(mouse) > 0)
            setRow(rowOf(mouse));
        return false;
    }
    case QEvent::MouseButtonRelease: {
        const auto &mouse = *static_cast<QMouseEvent *>(event);
        takeRelease(rowOf(mouse), mouse);
        return false;
    }
    case QEvent::MouseButtonDblClick: {
        const auto &mouse = *static_cast<QMouseEvent *>(event);
        takeDoubleClick(rowOf(mouse), mouse);
        return false;
    }
    case QEvent::ContextMenu: {
        const auto &menu = *static_cast<QContextMenuEvent *>(event);
        Q_EMIT ContextPopup(menu.globalPos(), verticalHeader()->logicalIndexAt(menu.pos()) >= 0);
        return true;
    }
    default:
        return false;
    }
}

void TStringGrid::paintCorner(QWidget *cornerButton)
{
    QStyleOptionHeader option;
    option.initFrom(cornerButton);
    option.state |= QStyle::State_Enabled | QStyle::State_Raised;
    option.state &= ~QStyle::State_MouseOver;
    option.palette.setCurrentColorGroup(isActiveWindow() ? QPalette::Active : QPalette::Inactive);
    option.text = cell(0, 0);
    option.textAlignment = Qt::AlignCenter;
    option.position = QStyleOptionHeader::OnlyOneSection;
    QPainter painter(cornerButton);
    painter.setFont(horizontalHeader()->font());
    style()->drawControl(QStyle::CE_Header, &option, &painter, horizontalHeader());
}
