#include "scenes/list_history.h"

#include "player/player_state.h"
#include "scenes/scene_dialog.h"
#include "scenes/string_grid.h"

#include <QScopedValueRollback>
#include <QUndoCommand>

#include <utility>

/// A change of the list, or none, between two views of the windows.
class ListStep final : public QUndoCommand {
public:
    ListStep(ListHistory &history, std::unique_ptr<ListChange> change, ListView before, ListView after)
        : m_history(history), m_change(std::move(change)), m_before(std::move(before)), m_after(std::move(after)),
          m_dialogToo(m_before.dialog != m_after.dialog)
    {
    }

    void undo() override { show(&ListChange::revert, m_before); }

    void redo() override
    {
        // A step is taken up when it has been made.
        if (!std::exchange(m_isNew, false))
            show(&ListChange::apply, m_after);
    }

private:
    void show(void (ListChange::*direction)(GridCells &), const ListView &view)
    {
        const auto operation = [&](GridCells &list) {
            if (m_change)
                (m_change.get()->*direction)(list);
        };
        m_history.showStep(operation, view, m_dialogToo);
    }

    ListHistory &m_history;
    std::unique_ptr<ListChange> m_change;
    ListView m_before;
    ListView m_after;
    bool m_dialogToo;
    bool m_isNew = true;
};

ListHistory::ListHistory(TStringGrid &grid, TForm2 &dialog, QObject *parent)
    : QObject(parent), m_grid(grid), m_dialog(dialog)
{
    constexpr int mostSteps = 100;
    m_steps.setUndoLimit(mostSteps);
    connect(&grid, &TStringGrid::RowChanged, this, &ListHistory::followRow);
}

int ListHistory::add(const Scene &scene)
{
    const bool first = listIsEmpty(m_grid.cells());
    const int row = first ? 1 : m_grid.RowCount();
    perform(additionOf(m_grid.cells(), scene), [this, first] {
        m_dialog.settle();
        if (first)
            m_film = VideoPath;
    });
    return row;
}

int ListHistory::overwrite(const Scene &scene)
{
    const int row = m_grid.Row();
    perform(rewriteOf(m_grid.cells(), row, scene), [this] { m_dialog.settle(); });
    return row;
}

void ListHistory::removeCurrent()
{
    perform(removalOf(m_grid.cells(), m_grid.Row()), [this] { showCurrentRow(); });
}

void ListHistory::clear()
{
    perform(replacementOf(m_grid.cells(), GridCells(sceneColumnCount)), [this] { showCurrentRow(); });
}

void ListHistory::sort()
{
    auto sorting = sortingOf(m_grid.cells());
    if (!sorting)
        return;
    const int row = sorting->rowAfter(m_grid.Row());
    perform(std::move(sorting), [this, row] { m_grid.setRow(row); });
}

void ListHistory::replace(GridCells rows, const QString &film)
{
    perform(replacementOf(m_grid.cells(), std::move(rows)), [&] {
        m_film = film;
        showCurrentRow();
    });
}

void ListHistory::openCurrent()
{
    changeDialog([this] { m_dialog.fillForEditing(sceneAt(m_grid.cells(), m_grid.Row())); });
}

void ListHistory::changeDialog(const std::function<void()> &operation)
{
    const ListView before = view();
    operation();
    if (before.dialog.isChanged())
        record(nullptr, before);
    else
        Q_EMIT Changed();
}

void ListHistory::undo()
{
    keepChangedText();
    m_steps.undo();
}

void ListHistory::redo()
{
    keepChangedText();
    m_steps.redo();
}

void ListHistory::setFilm(const QString &film)
{
    m_film = film;
    Q_EMIT Changed();
}

void ListHistory::perform(std::unique_ptr<ListChange> change, const std::function<void()> &settle)
{
    const ListView before = view();
    {
        const QScopedValueRollback<bool> settling(m_settling, true);
        if (change)
            m_grid.change([&](GridCells &list) { change->apply(list); });
        settle();
        m_row = m_grid.Row();
    }
    record(std::move(change), before);
}

void ListHistory::record(std::unique_ptr<ListChange> change, const ListView &before)
{
    ListView after = view();
    if (change || before.dialog != after.dialog)
        m_steps.push(new ListStep(*this, std::move(change), before, std::move(after)));
    Q_EMIT Changed();
}

void ListHistory::showStep(const std::function<void(GridCells &)> &operation, const ListView &view, bool withDialog)
{
    {
        const QScopedValueRollback<bool> settling(m_settling, true);
        m_grid.change(operation);
        m_grid.setRow(view.row);
        m_row = view.row;
        m_film = view.film;
        if (withDialog)
            m_dialog.setState(view.dialog);
        else
            showCurrentRow();
        m_restored = m_dialog.state();
    }
    Q_EMIT Changed();
}

void ListHistory::followRow()
{
    if (m_settling || m_grid.Row() == m_row)
        return;
    const ListView before = view();
    m_row = m_grid.Row();
    showCurrentRow();
    if (!m_dialog.isAdding() && before.dialog.isChanged())
        record(nullptr, before);
    else
        Q_EMIT Changed();
}

void ListHistory::showCurrentRow()
{
    if (!m_dialog.isAdding())
        m_dialog.showScene(sceneAt(m_grid.cells(), m_grid.Row()));
}

void ListHistory::keepChangedText()
{
    ListView before = view();
    if (!before.dialog.isChanged() || before.dialog == m_restored)
        return;
    before.dialog.content = before.dialog.settled;
    record(nullptr, before);
}

ListView ListHistory::view() const
{
    return {m_row, m_film, m_dialog.state()};
}
