#pragma once

#include "scenes/list_status.h"
#include "scenes/playing_scene.h"
#include "scenes/scenes_binding.h"
#include "scenes/string_grid.h"

#include <QFileInfo>
#include <QWidget>

class FindBar;
class ListHistory;
class QAction;
class QMenu;
class QStatusBar;

/// The scene list: its grid is the only store of scenes, from the program's start to its end. Nothing tracks unsaved
/// changes, and no command here asks before it acts; every change can be taken back. A window that stays above the main
/// window. Its status bar says how things stand.
class TForm3 : public QWidget {
    Q_OBJECT

public:
    /// Builds the hidden window with the empty list; sets `Form3`. `owner` is the main window. `Form2` must exist.
    explicit TForm3(QWidget *owner);
    ~TForm3() override;

    // Handlers, named after control and event.

    /// Writes the list to the scenes file of the current film; while no film is open the status bar says so. What
    /// another program has written there meanwhile can be brought back with `redo`. Throws UserError if that fails;
    /// file and list are what they were then.
    void Save1Click();

    /// `openListOf` the current film.
    void Open1Click();

    /// Deletes the current row.
    void N10Click();
    /// Clears the table.
    void N12Click();
    /// Sorts the rows by start.
    void N13Click();

    /// Opens the current row in the scene dialog, for editing.
    void StringGrid1Click();
    /// Seeks the film to the start of the current row's scene; nothing while no film is open.
    void StringGrid1DblClick();

    /// Reads the list from the scenes file of the film at `filmPath`; a missing file leaves the list as it is. Throws
    /// UserError if the file cannot be read; the list is what it was then, but for a file with elements inside a
    /// field: its scenes before that one are in the list, and the film that is open is closed. Where the
    /// file is no XML but has the shape of a saved list, the error is a RemediableError that reads it line by line.
    void openListOf(const QString &filmPath);

    /// Takes the last change of the list back, or makes it again. A text field that has the keyboard's focus and
    /// typing to take back does that first.
    void undo();
    void redo();

    /// Tints the scene that plays now, and says whether a film is open. To be called with every tick.
    void followFilm();

    /// Shows the window in front of the others and leaves the keyboard's focus where it is.
    void bringToFront();

    /// Tells a fact in the window's status bar, such as what a command has done, in place of the one told last.
    void showFact(const QString &fact);

    TStringGrid *StringGrid1;
    QStatusBar *StatusBar1;

    /// The commands on the whole list, and those that take scenes out of it. A data row's context menu has both, the
    /// rest of the window only the first.
    QMenu *PopupMenu1;
    QAction *Save1, *Open1, *N13;
    QMenu *PopupMenu2;
    QAction *N10, *N11, *N12;
    /// Commands of the keyboard, in every window of the program.
    QAction *Undo, *Redo, *Find, *SeekScene;

    ListHistory *history;
    FindBar *findBar;

    /// The document read last.
    TXMLDocument XMLDocument1;

protected:
    void contextMenuEvent(QContextMenuEvent *event) override;
    void showEvent(QShowEvent *event) override;
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void buildMenus();
    void buildKeys();
    void goStep(bool back);
    void noteSaved(const QString &fileName);
    /// Makes what another program has written to the scenes file since the list was read or saved a step that can be
    /// made again; the list stays. What has become of it, for the user; empty if the file is as this program left it.
    [[nodiscard]] QString keepForeignList(const QString &fileName);
    void find();
    void showState();
    /// How things stand, for the status bar.
    [[nodiscard]] QString state() const;
    /// The film that the list came with, as the status bar tells it; empty if there is nothing to tell.
    [[nodiscard]] QString filmState() const;
    [[nodiscard]] QString editingState() const;

    ListStatus m_status;
    PlayingScene m_playing;
    /// When the list was saved last, and in which file.
    QString m_saved;
    /// That file as it was then.
    QFileInfo m_file;
    QMenu *m_rowMenu;
    bool m_placed = false;
};

extern TForm3 *Form3;
