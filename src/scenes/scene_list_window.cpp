#include "scenes/scene_list_window.h"

#include "player/playback_engine.h"
#include "scenes/scene.h"
#include "scenes/scene_dialog.h"
#include "scenes/scenes_file.h"
#include "util/film_files.h"
#include "widgets/icons.h"

#include <QAction>
#include <QContextMenuEvent>
#include <QFileInfo>
#include <QGuiApplication>
#include <QMenu>
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

} // namespace

TForm3::TForm3(QWidget *owner)
    : QWidget(owner, Qt::Dialog | Qt::WindowTitleHint | Qt::WindowSystemMenuHint | Qt::WindowMaximizeButtonHint
                         | Qt::WindowCloseButtonHint),
      StringGrid1(new TStringGrid(sceneColumnCount, this)), StatusBar1(new QStatusBar(this))
{
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
    buildMenus();

    auto *area = new QVBoxLayout;
    constexpr int gridMargin = 3;
    area->setContentsMargins(gridMargin, gridMargin, gridMargin, gridMargin);
    area->addWidget(StringGrid1);
    auto *all = new QVBoxLayout(this);
    all->setContentsMargins(0, 0, 0, 0);
    all->setSpacing(0);
    all->addLayout(area);
    all->addWidget(StatusBar1);
    resize(991, 375);
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

void TForm3::contextMenuEvent(QContextMenuEvent *event)
{
    PopupMenu1->popup(event->globalPos());
}

void TForm3::Save1Click()
{
    if (!OPENED)
        return;
    const BusyPointer busy;
    saveList(StringGrid1->cells(), scenesFileOf(VideoPath));
}

void TForm3::Open1Click()
{
    openListOf(VideoPath);
}

void TForm3::openListOf(const QString &filmPath)
{
    const QString fileName = scenesFileOf(filmPath);
    if (filmPath.isEmpty() || !QFileInfo(fileName).exists() || QFileInfo(fileName).isDir())
        return;
    const BusyPointer busy;
    XMLDocument1.LoadFromFile(fileName);
    const auto scenes = Getscenes(XMLDocument1);
    try {
        StringGrid1->change([&](GridCells &list) { fillList(list, *scenes, fileName); });
    } catch (const PartlyReadError &) {
        // The list belongs to no video now, neither whole to this one nor to the one before: without an open video
        // it cannot replace the file of either.
        Teardown();
        throw;
    }
}

void TForm3::N10Click()
{
    const int row = StringGrid1->Row();
    StringGrid1->change([row](GridCells &list) { list.deleteRow(row); });
}

void TForm3::N12Click()
{
    StringGrid1->change(clearList);
}

void TForm3::N13Click()
{
    const BusyPointer busy;
    StringGrid1->change(sortByPosition);
}

void TForm3::StringGrid1Click()
{
    Form2->fillForEditing(sceneAt(StringGrid1->cells(), StringGrid1->Row()));
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

void TForm3::showFact(const QString &fact)
{
    StatusBar1->showMessage(fact);
}
