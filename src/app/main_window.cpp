#include "app/main_window.h"

#include "app/progress_bar.h"
#include "export/gif_export_dialog.h"
#include "export/sqlite_export_window.h"
#include "help/about_box.h"
#include "help/help_commands.h"
#include "player/display_texts.h"
#include "player/scene_marking.h"
#include "player/transport.h"
#include "scenes/scene_dialog.h"
#include "scenes/scene_list_window.h"
#include "util/application_folder.h"
#include "util/media_time.h"
#include "util/numbers.h"
#include "util/text_routines.h"
#include "util/user_error.h"
#include "widgets/icons.h"
#include "widgets/message_box.h"
#include "widgets/waiting_clipboard.h"

#include <QApplication>
#include <QBoxLayout>
#include <QContextMenuEvent>
#include <QDir>
#include <QGroupBox>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QMenuBar>
#include <QPushButton>
#include <QScreen>
#include <QShortcut>
#include <QSignalBlocker>
#include <QSlider>
#include <QStatusBar>
#include <QTimer>

#include <algorithm>
#include <chrono>

TForm1 *Form1 = nullptr;
bool INITIALIZED = false;
QString CurTime;
std::int64_t CurFrame = 0;

namespace {

constexpr QSize clientSize(1214, 698);
constexpr double minute = 60.0 * unitsPerSecond;
constexpr double second = unitsPerSecond;

const QString bareTitle = QStringLiteral("Таврин");
const QString playCaption = QStringLiteral("Воспроизведение");
const QString pauseCaption = QStringLiteral("Пауза");

/// A group of the control strip, its controls in a row, of that width where the window has room for it; 0 for the one
/// that takes what is left.
QGroupBox *addGroup(QBoxLayout *strip, const QString &caption, int width, const QList<QWidget *> &controls)
{
    auto *group = new QGroupBox(caption);
    auto *row = new QHBoxLayout(group);
    row->setContentsMargins(4, 2, 4, 4);
    row->setSpacing(4);
    for (QWidget *control : controls)
        row->addWidget(control, 1);
    if (width > 0)
        group->setMaximumWidth(width);
    // The caption above a single control tells its value.
    if (controls.size() == 1)
        group->setMinimumWidth(width);
    // What is left is what the others, which grow first, do not take.
    constexpr int first = 100;
    strip->addWidget(group, width > 0 ? first * width : 1);
    return group;
}

/// A button of that width, or of what its caption needs where the window is narrow. The hint names the command in
/// words, with its key; readers of the screen tell it after the caption.
QPushButton *makeButton(const QString &caption, int width, const QString &hint)
{
    auto *button = new QPushButton(caption);
    constexpr int margins = 8;
    button->setMinimumWidth(std::min(width, button->fontMetrics().horizontalAdvance(caption) + margins));
    button->setMaximumWidth(width);
    button->setFixedHeight(29);
    button->setToolTip(hint);
    // Enter presses it where it has the focus.
    button->setAutoDefault(true);
    return button;
}

QSlider *makeTrackBar(int minimum, int maximum, int position, const QString &name)
{
    auto *bar = new QSlider(Qt::Horizontal);
    bar->setRange(minimum, maximum);
    bar->setPageStep(std::max(1, (maximum - minimum) / 10));
    bar->setValue(position);
    bar->setAccessibleName(name);
    return bar;
}

} // namespace

TForm1::TForm1(std::unique_ptr<GraphSystem> (*makeGraphSystem)(QWidget *))
{
    Form1 = this;
    CurPath = QDir::toNativeSeparators(QApplication::applicationDirPath());
    setWindowTitle(bareTitle);
    setObjectName(QStringLiteral("Form1"));

    buildPanels();
    buildMenus();
    placeOnScreen();

    Timer1 = new QTimer(this);
    Timer1->setInterval(100);
    connect(Timer1, &QTimer::timeout, this, &TForm1::Timer1Timer);
    Timer1->start();
    Timer2 = new QTimer(this);
    Timer2->setInterval(2000);
    connect(Timer2, &QTimer::timeout, this, &TForm1::Timer2Timer);
    Timer2->start();

    m_graphSystem = makeGraphSystem(Panel3);
    initializeEngine(*m_graphSystem, *this);
    qApp->installEventFilter(this);
}

TForm1::~TForm1()
{
    releaseEngine();
    Form1 = nullptr;
}

void TForm1::buildPanels()
{
    auto *client = new QWidget(this);
    setCentralWidget(client);
    auto *rows = new QVBoxLayout(client);
    rows->setContentsMargins(0, 0, 0, 0);
    rows->setSpacing(0);

    Panel3 = new QWidget(client);
    QPalette black = Panel3->palette();
    black.setColor(QPalette::Window, Qt::black);
    Panel3->setPalette(black);
    Panel3->setAutoFillBackground(true);
    Panel3->setMinimumHeight(90);
    Panel3->setContextMenuPolicy(Qt::CustomContextMenu);
    rows->addWidget(Panel3, 1);

    Panel1 = new QWidget(client);
    Panel1->setFixedHeight(58);
    rows->addWidget(Panel1);
    auto *strip = new QHBoxLayout(Panel1);
    strip->setContentsMargins(2, 2, 2, 2);
    strip->setSpacing(2);

    TrackBar1 = makeTrackBar(-9, 10, 0, QStringLiteral("Скорость"));
    GroupBox1 = addGroup(strip, QStringLiteral("Скорость"), 100, {TrackBar1});

    BitBtn10 = makeButton(QStringLiteral("Начало"), 60, QStringLiteral("Отметить начало сцены (Ctrl+B)"));
    BitBtn11 = makeButton(QStringLiteral("Конец"), 60, QStringLiteral("Отметить конец сцены (Ctrl+E)"));
    GroupBox4 = addGroup(strip, QStringLiteral("Выделение сцены"), 138, {BitBtn10, BitBtn11});

    ProgressBar1 = new TProgressBar(nullptr);
    ProgressBar1->setAccessibleName(QStringLiteral("Текущее положение"));
    GroupBox2 = addGroup(strip, QStringLiteral("Текущее положение"), 0, {ProgressBar1});

    BitBtn1 = makeButton(QStringLiteral("Перемотать"), 70, QStringLiteral("Перемотать на начало (Ctrl+R)"));
    BitBtn2 = makeButton(QStringLiteral("< 1 мин"), 60, QStringLiteral("Назад на 1 минуту (F2)"));
    BitBtn3 = makeButton(QStringLiteral("< 1 сек"), 60, QStringLiteral("Назад на 1 секунду (F3)"));
    BitBtn4 = makeButton(QStringLiteral("< 1 кадр"), 60, QStringLiteral("Назад на 1 кадр (F4)"));
    BitBtn5 = makeButton(QStringLiteral(">"), 60, QStringLiteral("Воспроизведение и пауза (Ctrl+P)"));
    BitBtn5->setAccessibleName(playCaption);
    BitBtn6 = makeButton(QStringLiteral("1 кадр >"), 60, QStringLiteral("Вперёд на 1 кадр (F5)"));
    BitBtn7 = makeButton(QStringLiteral("1 сек >"), 60, QStringLiteral("Вперёд на 1 секунду (F6)"));
    BitBtn8 = makeButton(QStringLiteral("1 мин >"), 60, QStringLiteral("Вперёд на 1 минуту (F7)"));
    GroupBox5 = addGroup(strip, QStringLiteral("Навигация"), 545,
                         {BitBtn1, BitBtn2, BitBtn3, BitBtn4, BitBtn5, BitBtn6, BitBtn7, BitBtn8});

    TrackBar3 = makeTrackBar(0, 100, 100, QStringLiteral("Громкость"));
    GroupBox3 = addGroup(strip, QStringLiteral("Громкость"), 100, {TrackBar3});

    constexpr std::array panelWidths{270, 200, 200, 200, 50};
    statusBar()->setSizeGripEnabled(false);
    for (std::size_t panel = 0; panel < StatusBar1.size(); ++panel) {
        auto *label = new QLabel(statusBar());
        label->setTextFormat(Qt::PlainText);
        label->setMinimumWidth(panelWidths[panel]);
        const bool last = panel + 1 == StatusBar1.size();
        label->setAlignment((last ? Qt::AlignLeft : Qt::AlignHCenter) | Qt::AlignVCenter);
        statusBar()->addWidget(label, last ? 1 : 0);
        StatusBar1[panel] = label;
    }

    connect(TrackBar1, &QSlider::valueChanged, this, &TForm1::TrackBar1Change);
    connect(TrackBar3, &QSlider::valueChanged, this, &TForm1::TrackBar3Change);
    connect(ProgressBar1, &TProgressBar::mouseDown, this, &TForm1::ProgressBar1MouseDown);
    connect(ProgressBar1, &TProgressBar::mouseMove, this, &TForm1::ProgressBar1MouseMove);
    connect(BitBtn1, &QPushButton::clicked, this, &TForm1::BitBtn1Click);
    connect(BitBtn2, &QPushButton::clicked, this, &TForm1::BitBtn2Click);
    connect(BitBtn3, &QPushButton::clicked, this, &TForm1::BitBtn3Click);
    connect(BitBtn4, &QPushButton::clicked, this, &TForm1::BitBtn4Click);
    connect(BitBtn5, &QPushButton::clicked, this, &TForm1::BitBtn5Click);
    connect(BitBtn6, &QPushButton::clicked, this, &TForm1::BitBtn6Click);
    connect(BitBtn7, &QPushButton::clicked, this, &TForm1::BitBtn7Click);
    connect(BitBtn8, &QPushButton::clicked, this, &TForm1::BitBtn8Click);
    connect(BitBtn10, &QPushButton::clicked, this, &TForm1::BitBtn10Click);
    connect(BitBtn11, &QPushButton::clicked, this, &TForm1::BitBtn11Click);
}

void TForm1::buildMenus()
{
    const auto add = [this](QMenu *menu, const char *iconName, const QString &caption, const QKeySequence &shortcut,
                            auto handler) {
        auto *action = new QAction(caption, menu);
        if (iconName)
            action->setIcon(icon(iconName));
        action->setShortcut(shortcut);
        // The commands work from the scene windows as well, which stay open while the film is watched.
        action->setShortcutContext(Qt::ApplicationShortcut);
        action->setAutoRepeat(false);
        connect(action, &QAction::triggered, this, handler);
        menu->addAction(action);
        return action;
    };
    using K = QKeySequence;

    QMenu *file = menuBar()->addMenu(QStringLiteral("Файл"));
    add(file, "open", QStringLiteral("Открыть"), K("Ctrl+O"), &TForm1::N3Click);
    file->addSeparator();
    add(file, "save", QStringLiteral("Сохранить"), K("Ctrl+S"), &TForm1::N5Click);
    add(file, "export-gif", QStringLiteral("Экспорт сцен в GIF"), K("Ctrl+G"), &TForm1::GIF1Click);
    add(file, "export-database", QStringLiteral("Экспорт сцен в SQLite"), K("Ctrl+L"), &TForm1::SQLite1Click);
    file->addSeparator();
    add(file, "quit", QStringLiteral("Выход"), {}, &TForm1::N7Click);

    QMenu *marking = menuBar()->addMenu(QStringLiteral("Выделение"));
    add(marking, "scene-start", QStringLiteral("Начало"), K("Ctrl+B"), &TForm1::BitBtn10Click);
    add(marking, "scene-end", QStringLiteral("Конец"), K("Ctrl+E"), &TForm1::BitBtn11Click);

    QMenu *navigation = menuBar()->addMenu(QStringLiteral("Навигация"));
    add(navigation, "minute-back", QStringLiteral("Назад на 1 минуту"), K("F2"), &TForm1::BitBtn2Click);
    add(navigation, "second-back", QStringLiteral("Назад на 1 секунду"), K("F3"), &TForm1::BitBtn3Click);
    add(navigation, "frame-back", QStringLiteral("Назад на 1 кадр"), K("F4"), &TForm1::BitBtn4Click);
    navigation->addSeparator();
    add(navigation, "frame-forward", QStringLiteral("Вперёд на 1 кадр"), K("F5"), &TForm1::BitBtn6Click);
    add(navigation, "second-forward", QStringLiteral("Впрерёд на 1 секунду"), K("F6"), &TForm1::BitBtn7Click);
    add(navigation, "minute-forward", QStringLiteral("Вперёд на 1 минуту"), K("F7"), &TForm1::BitBtn8Click);
    // Only steps go on while their key is held.
    for (QAction *step : navigation->actions())
        step->setAutoRepeat(true);
    navigation->addSeparator();
    N22 = add(navigation, "play", playCaption, K("Ctrl+P"), &TForm1::BitBtn5Click);
    navigation->addSeparator();
    add(navigation, "rewind", QStringLiteral("Перемотать на начало"), K("Ctrl+R"), &TForm1::BitBtn1Click);

    QMenu *help = menuBar()->addMenu(QStringLiteral("Помощь"));
    add(help, "help", QStringLiteral("Справка"), K("F1"), &TForm1::N8Click);
    help->addSeparator();
    add(help, "online-help", QStringLiteral("Сетевая справка (обновляется)"), K("Shift+F1"), &TForm1::N10Click);
    help->addSeparator();
    add(help, "about", QStringLiteral("О программе"), K("Ctrl+F1"), &TForm1::N12Click);

    auto *menuKey = new QShortcut(K("F10"), this);
    connect(menuKey, &QShortcut::activated, this,
            [this] { menuBar()->setActiveAction(menuBar()->actions().constFirst()); });

    // No control shows this menu; its handlers are what the other commands call.
    PopupMenu1 = new QMenu(this);
    PopupMenu1->addAction(QStringLiteral("Play"), this, &TForm1::Play1Click);
    PopupMenu1->addAction(QStringLiteral("Pause"), this, &TForm1::Pause1Click);
    PopupMenu1->addAction(QStringLiteral("Open"), this, &TForm1::Open1Click);
    PopupMenu1->addAction(QStringLiteral("Close"), this, &TForm1::Close1Click);
    PopupMenu1->addAction(QStringLiteral("Stop"), this, &TForm1::Stop1Click);

    PopupMenu2 = new QMenu(this);
    PopupMenu2->addAction(QStringLiteral("Обновить"));
    connect(Panel3, &QWidget::customContextMenuRequested, this,
            [this](const QPoint &at) { PopupMenu2->popup(Panel3->mapToGlobal(at)); });
}

void TForm1::placeOnScreen()
{
    // What a frame takes, which is known only once the window is on the screen.
    constexpr QSize frameAllowance(8, 32);
    const QRect available = QGuiApplication::primaryScreen()->availableGeometry();
    QSize size = clientSize + QSize(0, menuBar()->sizeHint().height());
    size = size.boundedTo(available.size() - frameAllowance);
    resize(size);
    move(available.left() + (available.width() - size.width()) / 2,
         available.top() + std::max(0, (available.height() - size.height() - frameAllowance.height()) / 2));
}

// File

void TForm1::N3Click()
{
    if (!OpenDialog1.Execute(this))
        return;
    const QString film = OpenDialog1.FileName;
    // A list that cannot be read leaves the list, and the film that it belongs to, as they are.
    try {
        Form3->openListOf(film);
    } catch (const RemediableError &error) {
        throw RemediableError(error.text(), error.caption(), [this, remedy = error.remedy(), film] {
            remedy();
            openWithList(film);
        });
    }
    openWithList(film);
}

void TForm1::openWithList(const QString &film)
{
    VideoPath = film;
    Form3->bringToFront();
    Open1Click();
    if (!INITIALIZED)
        Open1Click();
    INITIALIZED = true;
    // The engine's own message does not say what is missing.
    if (const QString lack = OPENED ? QString() : m_graphSystem->lack(); !lack.isEmpty())
        throw UserError(lack);
}

void TForm1::N5Click()
{
    Form3->Save1Click();
    if (!OPENED)
        StatusBar1.back()->setText(QStringLiteral("Фильм не открыт: список не сохранить"));
}

void TForm1::GIF1Click()
{
    if (OPENED)
        Form4->exec();
}

void TForm1::SQLite1Click()
{
    if (OPENED)
        Form5->exec();
}

void TForm1::N7Click()
{
    QApplication::quit();
}

// Help

void TForm1::N8Click()
{
    openHelpFile();
}

void TForm1::N10Click()
{
    openOnlineHelp();
}

void TForm1::N12Click()
{
    AboutBox->exec();
}

void TForm1::closeEvent(QCloseEvent *event)
{
    QMainWindow::closeEvent(event);
    // The other windows end with this one.
    QApplication::quit();
}

// Scene marking

void TForm1::BitBtn10Click()
{
    if (!OPENED)
        return;
    ::pos = GetPosition();
    Form2->describeNewScene(sceneStartText(::pos));
}

void TForm1::BitBtn11Click()
{
    if (!OPENED)
        return;
    Pause1Click();
    ::pos = GetPosition();
    if (const auto length = sceneLengthText(Form2->Edit1->text(), ::pos))
        Form2->showLength(*length);
    else
        beep();
}

// Transport

void TForm1::stepBy(double offset, SeekTo picture)
{
    if (OPENED)
        SetPosition(steppedPosition(GetPosition(), offset, Duration), picture);
}

void TForm1::BitBtn1Click()
{
    SetPosition(0);
}

void TForm1::BitBtn2Click()
{
    stepBy(-minute, SeekTo::Time);
}

void TForm1::BitBtn3Click()
{
    stepBy(-second, SeekTo::Time);
}

void TForm1::BitBtn4Click()
{
    stepBy(-second / fps, SeekTo::PreviousPicture);
}

void TForm1::BitBtn5Click()
{
    if (PAUSED)
        Play1Click();
    else
        Pause1Click();
}

void TForm1::BitBtn6Click()
{
    stepBy(second / fps, SeekTo::NextPicture);
}

void TForm1::BitBtn7Click()
{
    stepBy(second, SeekTo::Time);
}

void TForm1::BitBtn8Click()
{
    stepBy(minute, SeekTo::Time);
}

void TForm1::Play1Click()
{
    Play();
}

void TForm1::Pause1Click()
{
    Pause();
}

void TForm1::Open1Click()
{
    Open(VideoPath);
}

void TForm1::Close1Click() {}

void TForm1::Stop1Click()
{
    Teardown();
}

void TForm1::TrackBar1Change()
{
    SetRate(trackBarRate(TrackBar1->value()));
    // A refused rate has become another one meanwhile.
    GroupBox1->setTitle(QStringLiteral("Скорость: ") + generalFormat(speed));
}

void TForm1::TrackBar3Change()
{
    SetVolume(volumeBarLevel());
}

void TForm1::ProgressBar1MouseDown(int x)
{
    const MediaTime seconds = progressBarSecond(x, ProgressBar1->width(), ProgressBar1->Max());
    SetPosition(seconds * unitsPerSecond);
}

void TForm1::ProgressBar1MouseMove(int x)
{
    ProgressBar1->setHint(GetTimeForMovie(progressBarSecond(x, ProgressBar1->width(), ProgressBar1->Max())));
}

void TForm1::keepAwakeWhilePlaying()
{
    // Some films have pictures that stand for a while. One that has ended stands for ever.
    constexpr auto longestStand = std::chrono::minutes(1);
    const MediaTime here = GetPosition();
    if (here != m_lastPosition || PAUSED)
        m_standing.start();
    m_lastPosition = here;
    const bool atEnd = Duration > 0 && here >= Duration - unitsPerSecond;
    const bool plays =
        OPENED && !PAUSED && !atEnd && !m_standing.hasExpired(std::chrono::milliseconds(longestStand).count());
    if (!plays)
        m_awake.reset();
    else if (!m_awake)
        m_awake = holdScreen("Таврин", "Идёт фильм");
}

void TForm1::Timer1Timer()
{
    keepAwakeWhilePlaying();
    if (OPENED)
        ::pos = GetPosition();
    if (Form3)
        Form3->followFilm();
    if (!OPENED) {
        showNoFilm();
        return;
    }
    const std::int32_t seconds = wholeSeconds(::pos);
    CurFrame = frameNumber(::pos, fps);
    CurTime = GetTimeForMovie(seconds);
    StatusBar1[1]->setText(QStringLiteral("Положение: ") + CurTime);
    StatusBar1[3]->setText(QStringLiteral("Кадр: ") + NiceNumberView(CurFrame));
    ProgressBar1->setPosition(seconds);
    GroupBox3->setTitle(QStringLiteral("Громкость: %1%").arg(levelPercent(GetVolume())));
    GroupBox1->setTitle(QStringLiteral("Скорость: ") + generalFormat(GetRate()));
    SetVideoRect(Panel3->width(), Panel3->height());
}

void TForm1::showNoFilm()
{
    if (windowTitle() == bareTitle)
        return;
    setWindowTitle(bareTitle);
    for (QLabel *panel : StatusBar1)
        panel->clear();
    StatusBar1.back()->setText(QStringLiteral("Фильм не открыт"));
    ProgressBar1->setPosition(0);
}

void TForm1::Timer2Timer()
{
    Timer2->stop();
    if (!OPENED || isMaximized() || isFullScreen())
        return;
    const int change = fittingHeightChange(Panel3->width(), Panel3->height(), srcWidth, srcHeight);
    if (change == 0)
        return;
    // The whole frame stays on the screen's available part.
    const QRect available = screen()->availableGeometry();
    const int frameHeight = frameGeometry().height() - height();
    const int fitted = std::clamp(height() + change, minimumSizeHint().height(), available.height() - frameHeight);
    resize(width(), fitted);
    const int below = frameGeometry().top() + fitted + frameHeight - 1 - available.bottom();
    if (below > 0)
        move(x(), std::max(available.top(), y() - below));
}

void TForm1::resizeEvent(QResizeEvent *event)
{
    QMainWindow::resizeEvent(event);
    if (Timer2)
        restartFitting();
}

bool TForm1::eventFilter(QObject *watched, QEvent *event)
{
    // An Enter that is held confirms once, and not what it has opened by that.
    if (event->type() == QEvent::KeyPress) {
        const auto &key = *static_cast<QKeyEvent *>(event);
        if (key.isAutoRepeat() && (key.key() == Qt::Key_Return || key.key() == Qt::Key_Enter))
            return true;
    }
    if (waitsForClipboard(watched, *event)) {
        beep();
        return true;
    }
    // Text fields claim some of the menu's shortcuts for themselves, such as Ctrl+E for the end of the line.
    if (event->type() == QEvent::ShortcutOverride) {
        const QKeySequence pressed(static_cast<QKeyEvent *>(event)->keyCombination());
        for (const QAction *action : findChildren<QAction *>()) {
            if (!pressed.isEmpty() && action->shortcut() == pressed) {
                event->ignore();
                return true;
            }
        }
    }
    return QMainWindow::eventFilter(watched, event);
}

// What the engine shows

void TForm1::showMessage(const QString &text)
{
    ShowMessage(text);
}

void TForm1::showNormalRate()
{
    if (TrackBar1->value() == 0)
        return;
    const QSignalBlocker blocker(TrackBar1);
    TrackBar1->setValue(0);
    GroupBox1->setTitle(QStringLiteral("Скорость: ") + generalFormat(1.0));
}

void TForm1::showOpenedVideo(const QString &filePath)
{
    const std::int32_t seconds = wholeSeconds(Duration);
    ProgressBar1->setMax(seconds);
    StatusBar1[0]->setText(QStringLiteral("Продолжительность: ") + GetTimeForMovie(seconds));
    StatusBar1[2]->setText(videoInformation(srcWidth, srcHeight, fps));
    StatusBar1.back()->setText(GraphName());
    // "[*]" in a title is the framework's own mark, which a doubled one escapes.
    setWindowTitle(QStringLiteral("Таврин - ")
                   + str_replace(QStringLiteral("[*]"), QStringLiteral("[*][*]"), filePath));
}

void TForm1::showPlaying(bool playing)
{
    BitBtn5->setText(playing ? QStringLiteral("[]") : QStringLiteral(">"));
    N22->setText(playing ? pauseCaption : playCaption);
    // Not every reader of the screen has words for these signs.
    BitBtn5->setAccessibleName(N22->text());
    N22->setIcon(icon(playing ? "pause" : "play"));
}

std::uint16_t TForm1::volumeBarLevel()
{
    return trackBarLevel(TrackBar3->value());
}

void TForm1::restartFitting()
{
    Timer2->start();
}
