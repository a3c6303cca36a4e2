#pragma once

#include "scenes/dialog_state.h"
#include "scenes/list_changes.h"

#include <QObject>
#include <QString>

#include <cstddef>
#include <deque>
#include <functional>
#include <memory>
#include <optional>

class ListStep;
class TForm2;
class TStringGrid;

/// What the scene windows show beside the list's cells.
struct ListView {
    /// The current row.
    int row = 1;
    /// The path of the film that the list came with or was saved beside last; empty for none.
    QString film;
    DialogState dialog;
};

/// The scene list with its past: every change of the grid's cells goes through here, is kept as a step of what it
/// changed, and can be taken back and made again, a hundred steps far; the oldest steps go earlier where together they
/// keep more memory than is fair. A step brings back the current row and the dialog too.
///
/// A dialog that overwrites always shows the current row: whatever makes another row current, or changes what is in
/// it, fills the dialog anew. A text in the dialog that the user has changed and not given to the list becomes a step
/// when something else takes its place.
class ListHistory final : public QObject {
    Q_OBJECT

public:
    /// Grid and dialog must live as long as the history does.
    ListHistory(TStringGrid &grid, TForm2 &dialog, QObject *parent);
    ~ListHistory() override;

    /// Adds the dialog's scene; its row.
    int add(const Scene &scene);
    /// Writes the dialog's scene into the current row; that row.
    int overwrite(const Scene &scene);
    void removeCurrent();
    void clear();
    void sort();
    /// Makes the scenes of `rows` the list, which came with `film`.
    void replace(GridCells rows, const QString &film);

    /// Fills the dialog from the current row and puts it into the mode that overwrites.
    void openCurrent();
    /// Lets `operation` give the dialog another content.
    void changeDialog(const std::function<void()> &operation);

    /// One step back. A changed text in the dialog is taken back first, as a step of its own.
    void undo();
    /// One step forward again, unless the text in the dialog was changed since.
    void redo();

    /// The list is now beside `film`.
    void setFilm(const QString &film);
    [[nodiscard]] const QString &film() const { return m_film; }

Q_SIGNALS:
    /// Cells, current row or dialog are no longer what they were.
    void Changed();

private:
    friend class ListStep;

    void perform(std::unique_ptr<ListChange> change, const std::function<void()> &settle);
    void record(std::unique_ptr<ListChange> change, const ListView &before);
    void forgetOldSteps();
    void showStep(const std::function<void(GridCells &)> &operation, const ListView &view, bool withDialog);
    void followRow();
    void showCurrentRow();
    void keepChangedText();
    [[nodiscard]] ListView view() const;

    TStringGrid &m_grid;
    TForm2 &m_dialog;
    /// The steps, the oldest first; those from `m_made` on are taken back. The framework's own stack bounds their
    /// number only.
    std::deque<std::unique_ptr<ListStep>> m_steps;
    std::size_t m_made = 0;
    QString m_film;
    /// The row that was current last.
    int m_row = 1;
    bool m_settling = false;
    /// What the dialog held after the last step back or forward; the steps have it already.
    std::optional<DialogState> m_restored;
};
