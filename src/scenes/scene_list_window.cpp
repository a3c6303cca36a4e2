#include "scenes/scene_list_window.h"

#include "platform/whole_file.h"
#include "player/playback_engine.h"
#include "scenes/find_bar.h"
#include "scenes/list_history.h"
#include "scenes/scene.h"
#include "scenes/scene_dialog.h"
#include "scenes/scene_lines.h"
#include "scenes/scenes_file.h"
#include "scenes/window_placement.h"
#include "util/film_files.h"
#include "widgets/disk_wait.h"
#include "widgets/icons.h"

#include <QAccessibleWidget>
#include <QAction>
#include <QApplication>
#include <QContextMenuEvent>
#include <QDateTime>
#include <QDir>
#include <QFileInfo>
#include <QLineEdit>
#include <QMenu>
#include <QScreen>
#include <QStatusBar>
#include <QVBoxLayout>

#include <array>

TForm3 *Form3 = nullptr;

namespace {

struct ColumnHeader {
    const char *text;
    int width;
};

constexpr std::array<ColumnHeader, sceneColumnCount> columnHeaders{{
    {"№", 40},
    {"Начало", 60},
    {"Период", 60},
    {"Тип сцены", 100},
    {"Тип сцены", 100},
    {"Тип сцены", 100},
    {"Название", 150},
    {"Персонажи", 150},
    {"Место", 150},
    {"Время", 150},
    {"Комментарий", 150},
    {"Широта", 80},
    {"Долгота", 80},
}};

/// The busy pointer while a long list is worked on.
class BusyPointer {
public:
    BusyPointer() { QGuiApplication::setOverrideCursor(Qt::WaitCursor); }
    ~BusyPointer() { QGuiApplication::restoreOverrideCursor(); }
    BusyPointer(const BusyPointer &) = delete;
    BusyPointer &operator=(const BusyPointer &) = delete;
};

/// Readers of the screen tell the list as a window of its own, by its title.
QAccessibleInterface *describeToReaders(const QString &, QObject *object)
{
    auto *window = qobject_cast<TForm3 *>(object);
    return window ? new QAccessibleWidget(window, QAccessible::Dialog) : nullptr;
}

/// Throws the error again; where the file has the shape of a saved list, with the offer that `take` gets the rows that
/// can be read from it line by line.
[[noreturn]] void throwWithOffer(const UserError &error, const QString &fileName,
                                 const std::function<void(GridCells)> &take)
{
    std::string bytes;
    std::optional<GridCells> rows;
    std::error_code failure;
    waitForDisk([&] { failure = readWholeFile(fileName.toStdU16String(), bytes); });
    if (!failure)
        rows = readLineByLine(QByteArray::fromRawData(bytes.data(), static_cast<qsizetype>(bytes.size())));
    if (!rows)
        throw UserError(error);
    const auto kept = std::make_shared<GridCells>(std::move(*rows));
    throw RemediableError(error.text(), QStringLiteral("Прочитать построчно"),
                          [take, kept] { take(std::move(*kept)); });
}

} // namespace

TForm3::TForm3(QWidget *owner)
    : QWidget(owner, Qt::Dialog | Qt::WindowTitleHint | Qt::WindowSystemMenuHint | Qt::WindowMaximizeButtonHint
                         | Qt::WindowCloseButtonHint),
      StringGrid1(new TStringGrid(sceneColumnCount, this)), StatusBar1(new QStatusBar(this)),
      history(new ListHistory(*StringGrid1, *Form2, this)), findBar(new FindBar(*StringGrid1, this)),
      m_status(StatusBar1)
{
    QAccessible::installFactory(describeToReaders);
    setWindowTitle(QStringLiteral("Список сцен"));
    setObjectName(QStringLiteral("Form3"));
    // The list shows itself beside the work that goes on in another window.
    setAttribute(Qt::WA_ShowWithoutActivating);

    StringGrid1->setObjectName(QStringLiteral("StringGrid1"));
    StringGrid1->setAccessibleName(windowTitle());
    int column = 0;
    for (const ColumnHeader &header : columnHeaders) {
        StringGrid1->setCell(column, 0, QString::fromUtf8(header.text));
        StringGrid1->setColWidth(column++, header.width);
    }
    connect(StringGrid1, &TStringGrid::Click, this, &TForm3::StringGrid1Click);
    connect(StringGrid1, &TStringGrid::DblClick, this, &TForm3::StringGrid1DblClick);
    connect(history, &ListHistory::Changed, this, &TForm3::showState);
    connect(findBar, &FindBar::Told, this, &TForm3::showFact);
    Form2->installEventFilter(this);
    buildMenus();
    buildKeys();

    auto *area = new QVBoxLayout;
    constexpr int gridMargin = 3;
    area->setContentsMargins(gridMargin, gridMargin, gridMargin, gridMargin);
    area->addWidget(StringGrid1);
    auto *all = new QVBoxLayout(this);
    all->setContentsMargins(0, 0, 0, 0);
    all->setSpacing(0);
    all->addLayout(area);
    all->addWidget(findBar);
    all->addWidget(StatusBar1);
    resize(991, 375);
    showState();
    Form3 = this;
}

TForm3::~TForm3()
{
    if (Form3 == this)
        Form3 = nullptr;
}

void TForm3::buildMenus()
{
    const auto command = [this](QMenu *menu, const char *name, const QString &caption, const char *iconName,
                                void (TForm3::*handler)()) {
        auto *action = new QAction(icon(iconName), caption, this);
        action->setObjectName(QLatin1String(name));
        connect(action, &QAction::triggered, this, handler);
        menu->addAction(action);
        return action;
    };
    PopupMenu1 = new QMenu(this);
    Save1 = command(PopupMenu1, "Save1", QStringLiteral("Save"), "save", &TForm3::Save1Click);
    Open1 = command(PopupMenu1, "Open1", QStringLiteral("Open"), "open", &TForm3::Open1Click);
    N13 = command(PopupMenu1, "N13", QStringLiteral("Сортировка записей"), "sort", &TForm3::N13Click);
    PopupMenu2 = new QMenu(this);
    N10 = command(PopupMenu2, "N10", QStringLiteral("Удалить запись"), "delete-row", &TForm3::N10Click);
    N11 = PopupMenu2->addSeparator();
    N12 = command(PopupMenu2, "N12", QStringLiteral("Очистить таблицу"), "clear-table", &TForm3::N12Click);

    // A list longer than its window has no place without a row under the pointer, so the rows offer everything.
    m_rowMenu = new QMenu(this);
    m_rowMenu->addActions(PopupMenu1->actions());
    m_rowMenu->addSeparator();
    m_rowMenu->addActions(PopupMenu2->actions());
    connect(StringGrid1, &TStringGrid::ContextPopup, this,
            [this](const QPoint &position, bool onRow) { (onRow ? m_rowMenu : PopupMenu1)->popup(position); });
}

void TForm3::buildKeys()
{
    const auto command = [this](const QString &caption, const QList<QKeySequence> &keys, void (TForm3::*handler)()) {
        auto *action = new QAction(caption, this);
        action->setShortcuts(keys);
        action->setShortcutContext(Qt::ApplicationShortcut);
        connect(action, &QAction::triggered, this, handler);
        // A shortcut works while a window that has its action is on the screen.
        for (QWidget *window : {static_cast<QWidget *>(this), static_cast<QWidget *>(Form2), parentWidget()}) {
            if (window)
                window->addAction(action);
        }
        return action;
    };
    Undo = command(QStringLiteral("Отменить"), {Qt::CTRL | Qt::Key_Z}, &TForm3::undo);
    Redo = command(QStringLiteral("Вернуть"), {Qt::CTRL | Qt::SHIFT | Qt::Key_Z}, &TForm3::redo);
    Find = command(QStringLiteral("Найти"), {Qt::CTRL | Qt::Key_F}, &TForm3::find);
    SeekScene = command(QStringLiteral("Перейти к сцене"), {Qt::CTRL | Qt::Key_Enter, Qt::CTRL | Qt::Key_Return},
                        &TForm3::StringGrid1DblClick);
}

void TForm3::showEvent(QShowEvent *event)
{
    QWidget::showEvent(event);
    if (std::exchange(m_placed, true) || !parentWidget() || !parentWidget()->isVisible())
        return;
    // The frame is not known before the window is on the screen.
    constexpr QMargins usualFrame(4, 32, 4, 4);
    QRect picture = parentWidget()->frameGeometry();
    const QRect available = parentWidget()->screen()->availableGeometry();
    resize(size().boundedTo(available.marginsRemoved(usualFrame).size()));
    QRect frame = QRect(QPoint(), size()).marginsAdded(usualFrame);
    frame.moveCenter(picture.center());
    const bool moves = !placedClearOf(picture, frame, available) && !parentWidget()->isMaximized();
    if (const int left = available.width() - picture.width() - frame.width(); moves && left >= 0) {
        // There is room for both once the main window leaves the middle.
        picture.moveLeft(available.left() + left / 2);
        parentWidget()->move(picture.topLeft());
    }
    if (const auto place = placedClearOf(picture, frame, available))
        move(place->topLeft());
}

bool TForm3::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == Form2 && (event->type() == QEvent::Show || event->type() == QEvent::Hide))
        QMetaObject::invokeMethod(this, &TForm3::showState, Qt::QueuedConnection);
    return QWidget::eventFilter(watched, event);
}

void TForm3::contextMenuEvent(QContextMenuEvent *event)
{
    PopupMenu1->popup(event->globalPos());
}

void TForm3::Save1Click()
{
    if (!OPENED) {
        showFact(filmState());
        return;
    }
    const BusyPointer busy;
    const QString fileName = scenesFileOf(VideoPath);
    const QString foreign = keepForeignList(fileName);
    saveList(StringGrid1->cells(), fileName);
    history->setFilm(VideoPath);
    noteSaved(fileName);
    const QString lost = firstLostText(StringGrid1->cells());
    const QString done = foreign.isEmpty() ? QStringLiteral("Список сохранён") : foreign;
    showFact(lost.isEmpty() ? done : lost);
}

void TForm3::Open1Click()
{
    openListOf(VideoPath);
}

void TForm3::openListOf(const QString &filmPath)
{
    const QString fileName = scenesFileOf(filmPath);
    bool isThere = false;
    waitForDisk([&] { isThere = QFileInfo::exists(fileName) && !QFileInfo(fileName).isDir(); });
    if (filmPath.isEmpty() || !isThere)
        return;
    const BusyPointer busy;
    const auto take = [this, filmPath, fileName](GridCells rows) {
        history->replace(std::move(rows), filmPath);
        noteSaved(fileName);
        showFact(QStringLiteral("Список прочитан"));
    };
    try {
        waitForDisk([&] { XMLDocument1.LoadFromFile(fileName); });
    } catch (const UserError &error) {
        throwWithOffer(error, fileName, take);
    }
    GridCells rows(sceneColumnCount);
    try {
        fillList(rows, *Getscenes(XMLDocument1), fileName, StringGrid1->cells());
    } catch (const PartlyReadError &) {
        // The list belongs to no film now, neither whole to this one nor to the one before: without an open film
        // it cannot replace the file of either.
        history->replace(std::move(rows), {});
        Teardown();
        throw;
    }
    take(std::move(rows));
}

void TForm3::N10Click()
{
    history->removeCurrent();
}

void TForm3::N12Click()
{
    history->clear();
}

void TForm3::N13Click()
{
    const BusyPointer busy;
    history->sort();
}

void TForm3::StringGrid1Click()
{
    history->openCurrent();
    if (const std::optional<QPoint> pointer = StringGrid1->clickPosition())
        Form2->bringUpBeside(*pointer);
    else
        Form2->bringUp();
}

void TForm3::StringGrid1DblClick()
{
    if (OPENED)
        SetPosition(mediaTimeOf(StringGrid1->cell(PositionColumn, StringGrid1->Row())));
}

void TForm3::bringToFront()
{
    setWindowState(windowState() & ~Qt::WindowMinimized);
    show();
    raise();
}

void TForm3::undo()
{
    auto *field = qobject_cast<QLineEdit *>(QApplication::focusWidget());
    if (field && field->isUndoAvailable())
        field->undo();
    else
        goStep(true);
}

void TForm3::redo()
{
    auto *field = qobject_cast<QLineEdit *>(QApplication::focusWidget());
    if (field && field->isRedoAvailable())
        field->redo();
    else
        goStep(false);
}

void TForm3::goStep(bool back)
{
    const BusyPointer busy;
    if (back)
        history->undo();
    else
        history->redo();
    // What has changed is to be seen.
    if (!isVisible())
        bringToFront();
}

void TForm3::find()
{
    bringToFront();
    activateWindow();
    findBar->open();
}

void TForm3::followFilm()
{
    if (isVisible())
        StringGrid1->setPlayingRow(OPENED ? m_playing.rowAt(StringGrid1->cells(), ::pos) : 0);
    m_status.showState(state());
}

void TForm3::showState()
{
    m_playing.forget();
    m_status.showState(state());
}

void TForm3::showFact(const QString &fact)
{
    m_status.showFact(fact);
}

QString TForm3::keepForeignList(const QString &fileName)
{
    const QFileInfo found(fileName);
    const bool known =
        found == m_file && found.lastModified() == m_file.lastModified() && found.size() == m_file.size();
    if (known || !found.isFile())
        return {};
    QString told = QStringLiteral("Чужие изменения файла заменены");
    GridCells rows(sceneColumnCount);
    try {
        fillList(rows, *Loadscenes(fileName), fileName, GridCells(sceneColumnCount));
    } catch (const UserError &) {
        return told;
    }
    history->replace(std::move(rows), VideoPath);
    history->undo();
    return told + QStringLiteral(", вернуть: Ctrl+Shift+Z");
}

void TForm3::noteSaved(const QString &fileName)
{
    m_file = QFileInfo(fileName);
    waitForDisk([this] { m_file.stat(); });
    const QString time = m_file.lastModified().toString(QStringLiteral("dd.MM.yyyy HH:mm:ss"));
    m_saved = QStringLiteral("Сохранён %1: %2").arg(time, QDir::toNativeSeparators(fileName));
    showState();
}

QString TForm3::state() const
{
    const GridCells &list = StringGrid1->cells();
    QStringList facts{QStringLiteral("Сцен: %1").arg(listIsEmpty(list) ? 0 : list.RowCount() - 1)};
    for (const QString &fact : {editingState(), filmState(), m_saved}) {
        if (!fact.isEmpty())
            facts += fact;
    }
    return facts.join(QStringLiteral("  ·  "));
}

QString TForm3::editingState() const
{
    if (!Form2->isVisible())
        return {};
    return Form2->isAdding() ? QStringLiteral("Описывается новая сцена")
                             : QStringLiteral("Редактируется сцена %1").arg(StringGrid1->Row());
}

QString TForm3::filmState() const
{
    if (!OPENED)
        return QStringLiteral("Фильм не открыт: список не сохранить");
    const QString &film = history->film();
    if (film.isEmpty() || film == VideoPath || listIsEmpty(StringGrid1->cells()))
        return {};
    return QStringLiteral("Список пришёл с другим фильмом: %1").arg(QFileInfo(film).fileName());
}
