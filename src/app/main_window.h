#pragma once

#include "platform/awake_screen.h"
#include "platform/warning_beep.h"
#include "player/graph_system.h"
#include "player/playback_engine.h"
#include "widgets/open_dialog.h"

#include <QElapsedTimer>
#include <QMainWindow>
#include <QString>

#include <array>
#include <functional>
#include <memory>
#include <string>

class QAction;
class QGroupBox;
class QLabel;
class QMenu;
class QPushButton;
class QSlider;
class QTimer;
class TProgressBar;

/// The main window: the film, the transport controls, the status bar and the main menu, from which every other
/// window is reached. It is what the playback engine shows itself through. Its constructor makes it `Form1` and
/// sets `CurPath`.
class TForm1 final : public QMainWindow, private PlayerDisplay {
    Q_OBJECT

public:
    /// Plays through the graph system that `makeGraphSystem` gives for the film's panel.
    explicit TForm1(std::unique_ptr<GraphSystem> (*makeGraphSystem)(QWidget *panel) = createGraphSystem);
    ~TForm1() override;

    QWidget *Panel3 = nullptr;
    QWidget *Panel1 = nullptr;
    QGroupBox *GroupBox1 = nullptr;
    QGroupBox *GroupBox2 = nullptr;
    QGroupBox *GroupBox3 = nullptr;
    QGroupBox *GroupBox4 = nullptr;
    QGroupBox *GroupBox5 = nullptr;
    QSlider *TrackBar1 = nullptr;
    QSlider *TrackBar3 = nullptr;
    TProgressBar *ProgressBar1 = nullptr;
    QPushButton *BitBtn1 = nullptr;
    QPushButton *BitBtn2 = nullptr;
    QPushButton *BitBtn3 = nullptr;
    QPushButton *BitBtn4 = nullptr;
    QPushButton *BitBtn5 = nullptr;
    QPushButton *BitBtn6 = nullptr;
    QPushButton *BitBtn7 = nullptr;
    QPushButton *BitBtn8 = nullptr;
    QPushButton *BitBtn10 = nullptr;
    QPushButton *BitBtn11 = nullptr;
    /// The panels of `StatusBar1`, left to right.
    std::array<QLabel *, 5> StatusBar1{};
    QAction *N22 = nullptr;
    QMenu *PopupMenu1 = nullptr;
    QMenu *PopupMenu2 = nullptr;
    QTimer *Timer1 = nullptr;
    QTimer *Timer2 = nullptr;
    TOpenDialog OpenDialog1;
    /// What sounds when the scene end lies before its start.
    std::function<void()> beep = warningBeep;
    /// What keeps the screen from blanking while a film plays.
    std::function<std::unique_ptr<AwakeScreen>(std::string, std::string)> holdScreen = AwakeScreen::hold;

    /// File > Open: asks for a film, loads the scene list that belongs to it and opens it. Throws UserError if
    /// the scene list cannot be read; the film chosen before stays the current one then.
    void N3Click();
    void N5Click();
    void GIF1Click();
    void SQLite1Click();
    void N7Click();

    void N8Click();
    void N10Click();
    void N12Click();

    /// Scene start: describes a new scene that begins at the current position.
    void BitBtn10Click();
    /// Scene end: pauses and fills in the length; beeps if the end lies before the start.
    void BitBtn11Click();

    void BitBtn1Click();
    void BitBtn2Click();
    void BitBtn3Click();
    void BitBtn4Click();
    void BitBtn5Click();
    void BitBtn6Click();
    void BitBtn7Click();
    void BitBtn8Click();

    void Play1Click();
    void Pause1Click();
    void Open1Click();
    void Close1Click();
    void Stop1Click();

    void TrackBar1Change();
    void TrackBar3Change();
    void ProgressBar1MouseDown(int x);
    void ProgressBar1MouseMove(int x);

    /// Shows position, frame, volume and rate and lets the picture follow the panel.
    void Timer1Timer();
    /// Fits the window's height to the film once.
    void Timer2Timer();

protected:
    void resizeEvent(QResizeEvent *event) override;
    void closeEvent(QCloseEvent *event) override;
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void showMessage(const QString &text) override;
    [[nodiscard]] QWidget *videoPanel() override { return Panel3; }
    void showNormalRate() override;
    void showOpenedVideo(const QString &filePath) override;
    void showPlaying(bool playing) override;
    [[nodiscard]] std::uint16_t volumeBarLevel() override;
    void restartFitting() override;

    void buildPanels();
    void buildMenus();
    void placeOnScreen();
    void stepBy(double offset, SeekTo picture);
    /// Opens the film whose list has been read.
    void openWithList(const QString &film);
    void showNoFilm();
    void keepAwakeWhilePlaying();

    std::unique_ptr<GraphSystem> m_graphSystem;
    std::unique_ptr<AwakeScreen> m_awake;
    MediaTime m_lastPosition = -1;
    QElapsedTimer m_standing; ///< since the position has changed last
};

/// The main window; null before it is created and after it has ended.
extern TForm1 *Form1;

/// True once a film was opened from the menu.
extern bool INITIALIZED;

/// The position text of the last display tick.
extern QString CurTime;

/// The frame number of the last display tick.
extern std::int64_t CurFrame;
