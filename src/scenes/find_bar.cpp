#include "scenes/find_bar.h"

#include "scenes/string_grid.h"

#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>

namespace {

bool rowContains(const GridCells &cells, int row, const QString &text)
{
    for (int column = 1; column < cells.ColCount(); ++column) {
        if (cells.cell(column, row).contains(text, Qt::CaseInsensitive))
            return true;
    }
    return false;
}

} // namespace

FindBar::FindBar(TStringGrid &grid, QWidget *parent) : QWidget(parent), edit(new QLineEdit(this)), m_grid(grid)
{
    auto *label = new QLabel(QStringLiteral("Найти"), this);
    label->setBuddy(edit);
    edit->setAccessibleName(QStringLiteral("Найти в списке сцен"));
    edit->setPlaceholderText(QStringLiteral("Текст в любой колонке; Enter: дальше, Shift+Enter: назад, Esc: закрыть"));
    edit->setClearButtonEnabled(true);
    auto *line = new QHBoxLayout(this);
    constexpr int margin = 3;
    line->setContentsMargins(margin, 0, margin, margin);
    line->addWidget(label);
    line->addWidget(edit);
    setFocusProxy(edit);
    hide();
    // The row that is current already is the first to be looked at while the text is typed.
    connect(edit, &QLineEdit::textEdited, this, [this] { find(m_grid.Row(), 1); });
}

void FindBar::open()
{
    show();
    edit->setFocus(Qt::ShortcutFocusReason);
    edit->selectAll();
}

void FindBar::keyPressEvent(QKeyEvent *event)
{
    switch (event->key()) {
    case Qt::Key_Return:
    case Qt::Key_Enter: {
        const int step = event->modifiers().testFlag(Qt::ShiftModifier) ? -1 : 1;
        find(m_grid.Row() + step, step);
        return;
    }
    case Qt::Key_Escape:
        hide();
        m_grid.setFocus();
        return;
    default:
        QWidget::keyPressEvent(event);
    }
}

void FindBar::find(int first, int step)
{
    const QString text = edit->text();
    if (text.isEmpty()) {
        Q_EMIT Told(QString());
        return;
    }
    const GridCells &cells = m_grid.cells();
    const int count = cells.RowCount() - 1;
    for (int i = 0; i < count; ++i) {
        const int row = 1 + (first - 1 + i * step + 2 * count) % count;
        if (rowContains(cells, row, text)) {
            m_grid.setRow(row);
            Q_EMIT Told(QString());
            return;
        }
    }
    Q_EMIT Told(QStringLiteral("Не найдено: %1").arg(text));
}
