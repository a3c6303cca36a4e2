#pragma once

#include "scenes/dialog_state.h"
#include "scenes/list_box.h"
#include "scenes/memo.h"
#include "scenes/scene_field.h"

#include <QDialog>
#include <QString>

#include <array>
#include <functional>

class QComboBox;
class QGroupBox;
class QLabel;
class QPushButton;
class QScrollArea;
class QTimer;

/// The lines of the scene type list in the application folder. Throws UserError, with the file and the reason, if it
/// cannot be read.
[[nodiscard]] QStringList readTypeList();

/// The dialog that describes one scene before it goes into the scene list. Not modal; created once, shown and hidden.
///
/// What its confirm button does is told by that button's caption alone: "Добавить сцену" adds a row to the list of
/// `Form3`, any other caption overwrites the list's current row. The dialog itself never changes the caption.
///
/// The Enter key confirms too, but what it has confirmed only once.
class TForm2 : public QDialog {
    Q_OBJECT

public:
    /// Builds the hidden dialog and sets `Form2`. `owner` is the main window; `typeList` are the lines of the scene
    /// type list, those that `readTypeList` gives unless they are given.
    TForm2(QWidget *owner, const QStringList &typeList);
    explicit TForm2(QWidget *owner);
    ~TForm2() override;

    // Handlers, named after control and event.
    void ListBox1Click();
    void ListBox2Click();
    void BitBtn1Click();
    void BitBtn2Click();
    void BitBtn3Click();
    void BitBtn4Click();
    void BitBtn5Click();

    // A scene that the dialog is given anew has the keyboard's focus in the type list while it has no type, else in
    // the title.

    /// Empties the dialog for a new scene that begins at `start` (seconds), puts it into the mode that adds, and
    /// shows it.
    void describeNewScene(const QString &start);

    /// Takes over the scene's length (seconds), leaves all else as it is, and shows the dialog.
    void showLength(const QString &length);

    /// Fills the dialog from a scene of the list and puts it into the mode that overwrites. Types that the type list
    /// does not have are left without a choice.
    void fillForEditing(const Scene &scene);

    /// Fills the dialog from a scene of the list, and leaves mode and focus as they are.
    void showScene(const Scene &scene);

    [[nodiscard]] bool isAdding() const;

    [[nodiscard]] DialogState state() const;
    /// Gives the dialog back what it held, mode included; the focus stays where it is.
    void setState(const DialogState &state);
    /// What the dialog holds is in the list now.
    void settle();

    /// Shows the dialog above the other windows, active, where the user has it or else centred on its owner.
    void bringUp();

    /// Shows it likewise for a click at `pointer` (global), but does not come under the pointer while the click may
    /// turn out to be the first of two: it moves aside or, where the screen has no such place, comes up later.
    void bringUpBeside(QPoint pointer);

    QGroupBox *GroupBox1, *GroupBox2, *GroupBox3, *GroupBox4;
    QLabel *Label1, *Label2, *Label3, *Label4, *Label5, *Label6, *Label7, *Label8, *Label9;
    /// Position, length, title, persons, place, time, comment, latitude, longitude.
    SceneField *Edit1, *Edit2, *Edit3, *Edit4, *Edit5, *Edit6, *Edit7, *Edit8, *Edit9;
    /// Type, subtype, lasttype.
    TListBox *ListBox1, *ListBox2, *ListBox3;
    QComboBox *ComboBox1;
    /// Confirm, open the map, empty, close, paste the map's address.
    QPushButton *BitBtn1, *BitBtn2, *BitBtn3, *BitBtn4, *BitBtn5;

    /// The lines of the type list, and the scratch area for the clipboard: after `BitBtn5Click` it holds what was
    /// pasted, and the lower type lists stay empty until the program is started again.
    TMemo Memo1;

    /// What the dialog does outside of itself; tests put their own in their place.
    std::function<void()> beep;
    std::function<void(const QString &address)> openAddress;

protected:
    void keyPressEvent(QKeyEvent *event) override;
    void showEvent(QShowEvent *event) override;

private:
    void buildControls();
    void buildLayout();
    void fitToScreen();
    /// The edits in the order of the scene's fields that they hold; none for the three types.
    [[nodiscard]] std::array<SceneField *, sceneFields.size()> edits() const;
    [[nodiscard]] DialogState::Content content() const;
    void setContent(const DialogState::Content &content);
    void setMode(bool adding);
    [[nodiscard]] QRect frameToShow() const;
    [[nodiscard]] QMargins frameMargins() const;
    [[nodiscard]] QRect screenOfOwner() const;
    void present();
    void focusFirst();

    QTimer *m_afterDoubleClick;
    /// The groups, which can be scrolled where the screen is too low for them.
    QScrollArea *m_groups;
    DialogState::Content m_settled;
    /// True from a confirmation until the dialog is filled anew.
    bool m_confirmed = false;
};

extern TForm2 *Form2;
