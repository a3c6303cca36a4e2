#include "scenes/list_history.h"

#include "player/player_state.h"
#include "scenes/scene_dialog.h"
#include "scenes/string_grid.h"

#include <QScopedValueRollback>

#include <utility>

/// A change of the list, or none, between two views of the windows.
class ListStep final {
public:
    ListStep(ListHistory &history, std::unique_ptr<ListChange> change, ListView before, ListView after)
        : m_history(history), m_change(std::move(change)), m_before(std::move(before)), m_after(std::move(after)),
          m_dialogToo(m_before.dialog != m_after.dialog), m_byteCount(m_change ? m_change->byteCount() : 0)
    {
    }

    void undo()
    {
        m_history.showStep(
            [this](GridCells &list) {
                if (m_change)
                    m_change->revert(list);
            },
            m_before, m_dialogToo);
    }
    void redo()
    {
        m_history.showStep(
            [this](GridCells &list) {
                if (m_change)
                    m_change->apply(list);
            },
            m_after, m_dialogToo);
    }

    /// The memory that the change keeps while it is made, in bytes.
    [[nodiscard]] std::size_t byteCount() const { return m_byteCount; }

private:
    ListHistory &m_history;
    std::unique_ptr<ListChange> m_change;
    ListView m_before;
    ListView m_after;
    bool m_dialogToo;
    std::size_t m_byteCount;
};

ListHistory::ListHistory(TStringGrid &grid, TForm2 &dialog, QObject *parent)
    : QObject(parent), m_grid(grid), m_dialog(dialog)
{
    connect(&grid, &TStringGrid::RowChanged, this, &ListHistory::followRow);
}

ListHistory::~ListHistory() = default;

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
    if (m_made > 0)
        m_steps[--m_made]->undo();
}

void ListHistory::redo()
{
    keepChangedText();
    if (m_made < m_steps.size())
        m_steps[m_made++]->redo();
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
    if (change || before.dialog != after.dialog) {
        m_steps.resize(m_made);
        m_steps.push_back(std::make_unique<ListStep>(*this, std::move(change), before, std::move(after)));
        forgetOldSteps();
        m_made = m_steps.size();
    }
    Q_EMIT Changed();
}

void ListHistory::forgetOldSteps()
{
    constexpr std::size_t mostSteps = 100;
    constexpr std::size_t mostBytes = std::size_t(512) * 1024 * 1024;
    std::size_t bytes = 0;
    std::size_t kept = 0;
    // The newest can be taken back whatever it keeps.
    for (auto step = m_steps.rbegin(); step != m_steps.rend() && kept < mostSteps; ++step, ++kept) {
        bytes += (*step)->byteCount();
        if (kept > 0 && bytes > mostBytes)
            break;
    }
    m_steps.erase(m_steps.begin(), m_steps.end() - static_cast<std::ptrdiff_t>(kept));
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
