#pragma once

#include "export/frame_reader.h"

#include <QDialog>
#include <QElapsedTimer>

#include <array>
#include <cstdint>
#include <memory>

class QAction;
class QMenu;
class QProgressBar;
class QPushButton;
class QTimer;
class StatusPanel;
class TRadioGroup;

/// The dialog that makes a GIF of every scene of the list. One scene is exported a tick of its timer; between ticks
/// it can be cancelled. Modal; created once, shown and hidden. Its frame reader lives as long as it does.
class TForm4 : public QDialog {
    Q_OBJECT

public:
    /// Builds the hidden dialog and starts the frame reader; sets `Form4` and `FR`. `owner` is the main window. A
    /// reader that cannot be started is found by the export.
    explicit TForm4(QWidget *owner);
    ~TForm4() override;

    // Handlers, named after control and event.

    /// Before the dialog appears: puts it back to its beginning.
    void FormShow();
    /// Starts the export of all scenes. Throws UserError if the images folder cannot be made or the reader is gone.
    void BitBtn1Click();
    /// Cancels the export, when the scene that is being made is done, or closes the dialog.
    void BitBtn3Click();
    /// Exports the current scene. Throws UserError, after which the export does nothing more until it is cancelled.
    void Timer1Timer();
    /// Ends the export and closes the dialog.
    void Finish1Click();

    /// However the user closes the dialog, an export is cancelled first.
    void reject() override;

    /// What becomes of images that exist: 0 keeps them, 1 writes them again.
    TRadioGroup *RadioGroup1;
    QProgressBar *ProgressBar1;
    QPushButton *BitBtn1, *BitBtn3;
    /// The panels of the status bar, left to right.
    std::array<StatusPanel *, 2> StatusBar1;
    QTimer *Timer1;
    /// No control shows this menu; its handler is what the dialog calls.
    QMenu *PopupMenu1;
    QAction *Finish1;

protected:
    void showEvent(QShowEvent *event) override;

private:
    void buildControls();
    void buildLayout();

    void showLeftOutScenes();
    void showPicture(int picture, int pictures);
    [[nodiscard]] bool makeGif(const QString &file, double start, double length);

    std::unique_ptr<FRAME_READER> m_reader;
    bool m_makesGif = false;
    /// The scene that is being made is the last one.
    bool m_cancelled = false;
    /// Since the window was last painted inside a scene.
    QElapsedTimer m_unpainted;
};

extern TForm4 *Form4;

/// The frame reader; null while there is no dialog.
extern FRAME_READER *FR;

/// Set while a tick works on a scene: other ticks do nothing then.
extern bool BUSY2;

/// The row of the scene list that is being exported.
extern std::int32_t SCENE;
