#include "scenes/scene_dialog.h"

#include "platform/shell_open.h"
#include "platform/warning_beep.h"
#include "platform/whole_file.h"
#include "player/player_state.h"
#include "scenes/cell_text.h"
#include "scenes/list_history.h"
#include "scenes/map_address.h"
#include "scenes/scene_list_window.h"
#include "scenes/type_list.h"
#include "scenes/window_placement.h"
#include "util/application_folder.h"
#include "util/error_reason.h"
#include "util/user_error.h"
#include "widgets/icons.h"
#include "widgets/message_box.h"

#include <QApplication>
#include <QComboBox>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QPushButton>
#include <QScreen>
#include <QScrollArea>
#include <QScrollBar>
#include <QTimer>
#include <QVBoxLayout>
#include <QWindow>

#include <algorithm>
#include <limits>

TForm2 *Form2 = nullptr;

namespace {

const QString addCaption = QStringLiteral("Добавить сцену");
const QString saveCaption = QStringLiteral("Сохранить изменения");

constexpr QSize clientSize(590, 564);
constexpr int listWidth = 180;
constexpr int numberEditWidth = 120;
constexpr int buttonHeight = 27;
/// Room for either caption, so that the button stays as it is between the two modes.
constexpr int confirmWidth = 170;

} // namespace

QStringList readTypeList()
{
    const QString fileName = inApplicationFolder(QStringLiteral("Tavrin.txt"));
    std::string bytes;
    if (const std::error_code error = readWholeFile(fileName.toStdU16String(), bytes)) {
        throw UserError(QStringLiteral("Не удалось прочитать список типов сцен из файла «%1»: %2")
                            .arg(fileName, errorReason(error)));
    }
    return linesOf(typeListText(QByteArray::fromStdString(bytes)));
}

TForm2::TForm2(QWidget *owner) : TForm2(owner, readTypeList()) {}

TForm2::TForm2(QWidget *owner, const QStringList &typeList)
    : QDialog(owner, Qt::Dialog | Qt::WindowTitleHint | Qt::WindowSystemMenuHint | Qt::WindowCloseButtonHint
                         | Qt::MSWindowsFixedSizeDialogHint),
      beep(warningBeep), openAddress([](const QString &address) { shellOpen(address.toStdString()); }),
      m_afterDoubleClick(new QTimer(this))
{
    setWindowTitle(QStringLiteral("Параметры сцены"));
    setObjectName(QStringLiteral("Form2"));

    buildControls();
    buildLayout();
    fitToScreen();

    m_afterDoubleClick->setSingleShot(true);
    connect(m_afterDoubleClick, &QTimer::timeout, this, &TForm2::bringUp);

    Memo1.setLines(typeList);
    ListBox1->setItems(typesIn(typeList));
    Form2 = this;
}

TForm2::~TForm2()
{
    if (Form2 == this)
        Form2 = nullptr;
}

void TForm2::buildControls()
{
    const auto group = [this](const char *name, const QString &caption) {
        auto *box = new QGroupBox(caption, this);
        box->setObjectName(QLatin1String(name));
        return box;
    };
    GroupBox1 = group("GroupBox1", QStringLiteral("Временные параметры"));
    GroupBox4 = group("GroupBox4", QStringLiteral("Карта"));
    GroupBox3 = group("GroupBox3", QStringLiteral("Тип сцены"));
    GroupBox2 = group("GroupBox2", QStringLiteral("Описание"));

    // Controls are created in the order that Tab visits them.
    const auto edit = [](const char *name, QGroupBox *box, QLabel *&label, const QString &caption, const QString &hint,
                         Qt::Alignment alignment = Qt::AlignLeft) {
        label = new QLabel(caption, box);
        label->setTextFormat(Qt::PlainText);
        auto *field = new SceneField(box);
        field->setObjectName(QLatin1String(name));
        field->setPlaceholderText(hint);
        field->setAlignment(alignment | Qt::AlignVCenter);
        field->setMaxLength(std::numeric_limits<int>::max());
        field->setAccessibleName(caption);
        label->setBuddy(field);
        return field;
    };
    const auto button = [this](const char *name, const QString &caption, const char *iconName,
                               void (TForm2::*handler)()) {
        auto *control = new QPushButton(icon(iconName), caption, this);
        control->setObjectName(QLatin1String(name));
        control->setMinimumHeight(buttonHeight);
        connect(control, &QPushButton::clicked, this, handler);
        return control;
    };
    const auto listBox = [this](const char *name, const QString &accessibleName) {
        auto *list = new TListBox(GroupBox3);
        list->setObjectName(QLatin1String(name));
        list->setFixedWidth(listWidth);
        list->setAccessibleName(accessibleName);
        return list;
    };

    Edit1 = edit("Edit1", GroupBox1, Label1, QStringLiteral("Начало сцены"), QStringLiteral("0"), Qt::AlignRight);
    Edit2 = edit("Edit2", GroupBox1, Label2, QStringLiteral("Продолжительность"), QStringLiteral("23"), Qt::AlignRight);

    Edit8 = edit("Edit8", GroupBox4, Label8, QStringLiteral("Широта"), QStringLiteral("56.1489315"), Qt::AlignRight);
    Edit9 = edit("Edit9", GroupBox4, Label9, QStringLiteral("Долгота"), QStringLiteral("47.203575"), Qt::AlignRight);
    ComboBox1 = new QComboBox(GroupBox4);
    ComboBox1->setObjectName(QStringLiteral("ComboBox1"));
    // A combo box tells its choice as its name.
    ComboBox1->setAccessibleDescription(QStringLiteral("Картографический сервис"));
    ComboBox1->addItems(mapServices());
    BitBtn2 = button("BitBtn2", QStringLiteral("Указать"), "map", &TForm2::BitBtn2Click);
    BitBtn2->setToolTip(QStringLiteral("Нажмите на кнопку чтобы открыть соответствующий картографический сервис"));
    BitBtn5 = button("BitBtn5", QStringLiteral("Вставить"), "paste", &TForm2::BitBtn5Click);
    BitBtn5->setToolTip(QStringLiteral("Скопируйте адресную строку браузера в буфер обмена и нажмите эту кнопку"));

    ListBox1 = listBox("ListBox1", QStringLiteral("Тип сцены"));
    ListBox2 = listBox("ListBox2", QStringLiteral("Подтип сцены"));
    ListBox3 = listBox("ListBox3", QStringLiteral("Уточнение подтипа сцены"));
    connect(ListBox1, &TListBox::Click, this, &TForm2::ListBox1Click);
    connect(ListBox2, &TListBox::Click, this, &TForm2::ListBox2Click);

    Edit3 = edit("Edit3", GroupBox2, Label3, QStringLiteral("Название"),
                 QStringLiteral("Например: сцена героического поступка"));
    Edit4 = edit("Edit4", GroupBox2, Label4, QStringLiteral("Персонажи"),
                 QStringLiteral("Например: Kaizaf, Король Испании, Королева Испании"));
    Edit5 = edit("Edit5", GroupBox2, Label5, QStringLiteral("Место"), QStringLiteral("Например: деревня Диканька"));
    Edit6 = edit("Edit6", GroupBox2, Label6, QStringLiteral("Время"), QStringLiteral("Например: лето 1953 года"));
    Edit7 = edit("Edit7", GroupBox2, Label7, QStringLiteral("Комментарий"),
                 QStringLiteral("Например: очень динамичная сцена"));

    BitBtn1 = button("BitBtn1", addCaption, "add-scene", &TForm2::BitBtn1Click);
    BitBtn1->setMinimumWidth(confirmWidth);
    BitBtn1->setDefault(true);
    BitBtn3 = button("BitBtn3", QStringLiteral("Очистить"), "clear", &TForm2::BitBtn3Click);
    BitBtn4 = button("BitBtn4", QStringLiteral("Закрыть"), "close", &TForm2::BitBtn4Click);
}

void TForm2::buildLayout()
{
    auto *times = new QHBoxLayout(GroupBox1);
    for (const auto &[label, edit] : {std::pair(Label1, Edit1), std::pair(Label2, Edit2)}) {
        times->addWidget(label);
        edit->setFixedWidth(numberEditWidth);
        times->addWidget(edit);
        times->addSpacing(12);
    }
    times->addStretch();

    auto *map = new QGridLayout(GroupBox4);
    map->addWidget(Label8, 0, 0);
    map->addWidget(Edit8, 0, 1);
    map->addWidget(Label9, 1, 0);
    map->addWidget(Edit9, 1, 1);
    Edit8->setFixedWidth(numberEditWidth);
    Edit9->setFixedWidth(numberEditWidth);
    map->setColumnMinimumWidth(2, 12);
    map->addWidget(ComboBox1, 0, 3, 1, 2);
    map->addWidget(BitBtn2, 1, 3);
    map->addWidget(BitBtn5, 1, 4);
    map->setColumnStretch(3, 1);
    map->setColumnStretch(4, 1);

    auto *types = new QHBoxLayout(GroupBox3);
    types->addWidget(ListBox1);
    types->addStretch();
    types->addWidget(ListBox2);
    types->addStretch();
    types->addWidget(ListBox3);

    auto *description = new QGridLayout(GroupBox2);
    int line = 0;
    for (const auto &[label, edit] : {std::pair(Label3, Edit3), std::pair(Label4, Edit4), std::pair(Label5, Edit5),
                                      std::pair(Label6, Edit6), std::pair(Label7, Edit7)}) {
        description->addWidget(label, line, 0);
        description->addWidget(edit, line++, 1);
    }

    auto *buttons = new QHBoxLayout;
    buttons->addWidget(BitBtn1);
    buttons->addStretch();
    buttons->addWidget(BitBtn3);
    buttons->addWidget(BitBtn4);

    auto *content = new QWidget(this);
    auto *groups = new QVBoxLayout(content);
    groups->addWidget(GroupBox1);
    groups->addWidget(GroupBox4);
    groups->addWidget(GroupBox3, 1);
    groups->addWidget(GroupBox2);
    m_groups = new QScrollArea(this);
    m_groups->setFrameShape(QFrame::NoFrame);
    m_groups->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    m_groups->setFocusPolicy(Qt::NoFocus);
    m_groups->setWidgetResizable(true);
    m_groups->setWidget(content);
    auto *all = new QVBoxLayout(this);
    all->addWidget(m_groups, 1);
    all->addLayout(buttons);

    constexpr int margin = 8;
    constexpr int spacing = 6;
    for (QLayout *layout : {static_cast<QLayout *>(times), static_cast<QLayout *>(map), static_cast<QLayout *>(types),
                            static_cast<QLayout *>(description), static_cast<QLayout *>(groups)}) {
        layout->setContentsMargins(margin, margin, margin, margin);
        layout->setSpacing(spacing);
    }
    groups->setContentsMargins(margin, margin, margin, 0);
    buttons->setContentsMargins(margin, spacing, margin, margin);
    buttons->setSpacing(spacing);
    all->setContentsMargins(0, 0, 0, 0);
    all->setSpacing(0);
}

void TForm2::fitToScreen()
{
    const QRect available = screenOfOwner();
    const QMargins frame = frameMargins();
    QSize size = clientSize;
    size.setHeight(std::min(size.height(), available.height() - frame.top() - frame.bottom()));
    if (size.height() < clientSize.height())
        size.rwidth() += m_groups->verticalScrollBar()->sizeHint().width();
    setFixedSize(size);
}

void TForm2::showEvent(QShowEvent *event)
{
    fitToScreen();
    QDialog::showEvent(event);
}

void TForm2::keyPressEvent(QKeyEvent *event)
{
    const bool enter = event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter;
    // On a button the key is a press of that button.
    const bool again = m_confirmed && content().scene == m_settled.scene;
    if (enter && again && !qobject_cast<QPushButton *>(focusWidget()))
        return;
    QDialog::keyPressEvent(event);
}

void TForm2::ListBox1Click()
{
    ListBox2->setItems({});
    ListBox3->setItems({});
    if (ListBox1->ItemIndex() >= 0)
        ListBox2->setItems(subtypesOf(ListBox1->chosenText(), Memo1.Lines()));
}

void TForm2::ListBox2Click()
{
    ListBox3->setItems({});
    if (ListBox2->ItemIndex() >= 0)
        ListBox3->setItems(lasttypesOf(ListBox2->chosenText(), Memo1.Lines()));
}

void TForm2::BitBtn1Click()
{
    if (!OPENED)
        return;
    if (ListBox1->ItemIndex() < 0) {
        ShowMessage(QStringLiteral("Выберите тип сцены!"));
        return;
    }
    const Scene scene = content().scene;
    const int row = isAdding() ? Form3->history->add(scene) : Form3->history->overwrite(scene);
    m_confirmed = true;
    Form3->bringToFront();
    Form3->StringGrid1->showRow(row);
    // The list comes up in front of everything but the dialog it was filled from, so that a second press of the
    // button does not fall on the list.
    if (isVisible())
        raise();
}

void TForm2::BitBtn2Click()
{
    openAddress(mapStartAddress(ComboBox1->currentIndex()));
}

void TForm2::BitBtn3Click()
{
    Form3->history->changeDialog([this] {
        for (SceneField *edit : {Edit3, Edit4, Edit5, Edit6, Edit7, Edit8, Edit9})
            edit->clear();
        ListBox2->setItems({});
        ListBox3->setItems({});
        ListBox1->setItemIndex(-1);
    });
}

void TForm2::BitBtn4Click()
{
    close();
}

void TForm2::BitBtn5Click()
{
    Memo1.pasteOverAll();
    const std::optional<MapPoint> point = mapPointIn(Memo1.Lines().value(0));
    if (!point) {
        beep();
        return;
    }
    Form3->history->changeDialog([&] {
        Edit8->setText(asSingleLine(point->latitude));
        Edit9->setText(asSingleLine(point->longitude));
    });
}

void TForm2::describeNewScene(const QString &start)
{
    Form3->history->changeDialog([&] {
        DialogState::Content fresh;
        fresh.scene.position = start;
        fresh.scene.lasttype = ListBox3->chosenText();
        fresh.lasttypes = ListBox3->texts();
        setContent(fresh);
        m_settled = content();
        m_confirmed = false;
        setMode(true);
    });
    focusFirst();
    bringUp();
}

void TForm2::showLength(const QString &length)
{
    Edit2->setText(length);
    // Who is describing the scene meanwhile goes on where they are.
    if (!isVisible())
        focusFirst();
    bringUp();
}

void TForm2::fillForEditing(const Scene &scene)
{
    showScene(scene);
    setMode(false);
    focusFirst();
}

void TForm2::showScene(const Scene &scene)
{
    DialogState::Content shown{scene, {}, {}};
    shown.scene.type = shown.scene.subtype = shown.scene.lasttype = QString();
    setContent(shown);
    if (ListBox1->choose(scene.type)) {
        ListBox1Click();
        if (!scene.subtype.isEmpty() && ListBox2->choose(scene.subtype)) {
            ListBox2Click();
            if (!scene.lasttype.isEmpty())
                ListBox3->choose(scene.lasttype);
        }
    }
    m_settled = content();
    m_confirmed = false;
}

bool TForm2::isAdding() const
{
    return BitBtn1->text() == addCaption;
}

void TForm2::setMode(bool adding)
{
    BitBtn1->setText(adding ? addCaption : saveCaption);
    BitBtn1->setIcon(icon(adding ? "add-scene" : "save-changes"));
}

std::array<SceneField *, sceneFields.size()> TForm2::edits() const
{
    return {Edit1, Edit2, nullptr, nullptr, nullptr, Edit3, Edit4, Edit5, Edit6, Edit7, Edit8, Edit9};
}

DialogState::Content TForm2::content() const
{
    DialogState::Content held{{}, ListBox2->texts(), ListBox3->texts()};
    held.scene.type = asCellText(ListBox1->chosenText());
    held.scene.subtype = asCellText(ListBox2->chosenText());
    held.scene.lasttype = asCellText(ListBox3->chosenText());
    std::size_t field = 0;
    for (const SceneField *edit : edits()) {
        if (edit)
            held.scene.*sceneFields[field] = asCellText(edit->text());
        ++field;
    }
    return held;
}

void TForm2::setContent(const DialogState::Content &content)
{
    ListBox1->choose(content.scene.type);
    ListBox2->setItems(content.subtypes);
    ListBox2->choose(content.scene.subtype);
    ListBox3->setItems(content.lasttypes);
    ListBox3->choose(content.scene.lasttype);
    std::size_t field = 0;
    for (SceneField *edit : edits()) {
        if (edit)
            edit->setText(content.scene.*sceneFields[field]);
        ++field;
    }
}

DialogState TForm2::state() const
{
    return {content(), m_settled, isAdding()};
}

void TForm2::setState(const DialogState &state)
{
    setContent(state.content);
    m_settled = state.settled;
    m_confirmed = false;
    setMode(state.adding);
}

void TForm2::settle()
{
    m_settled = content();
    for (SceneField *edit : edits()) {
        if (edit)
            edit->forgetTyping();
    }
}

void TForm2::bringUp()
{
    if (!isVisible())
        move(placedInside(frameToShow(), screenOfOwner()).topLeft());
    present();
}

void TForm2::present()
{
    m_afterDoubleClick->stop();
    show();
    raise();
    activateWindow();
}

void TForm2::focusFirst()
{
    if (ListBox1->ItemIndex() < 0)
        ListBox1->setFocus();
    else
        Edit3->setFocus();
}

void TForm2::bringUpBeside(QPoint pointer)
{
    // As far as a hand moves the pointer between the clicks of a double click.
    constexpr int reach = 24;
    const QRect keepClear(pointer - QPoint(reach, reach), pointer + QPoint(reach, reach));
    const QRect frame = frameToShow();
    if (isVisible() && !frame.intersects(keepClear)) {
        present();
        return;
    }
    // Where programs cannot place their windows nobody knows what this one would cover.
    const bool placeable = !QGuiApplication::platformName().startsWith(QLatin1String("wayland"));
    const std::optional<QRect> place = placedClearOf(keepClear, frame, screenOfOwner());
    if (!placeable || !place) {
        m_afterDoubleClick->start(QApplication::doubleClickInterval());
        return;
    }
    move(place->topLeft());
    present();
}

QRect TForm2::frameToShow() const
{
    if (isVisible())
        return frameGeometry();
    QRect frame = QRect(QPoint(), size()).marginsAdded(frameMargins());
    frame.moveCenter(parentWidget() ? parentWidget()->frameGeometry().center() : screenOfOwner().center());
    return frame;
}

QMargins TForm2::frameMargins() const
{
    // A window that was never shown does not know its frame yet.
    constexpr QMargins usualFrame(4, 32, 4, 4);
    const QWindow *window = windowHandle();
    const QMargins known = window ? window->frameMargins() : QMargins();
    return known.isNull() ? usualFrame : known;
}

QRect TForm2::screenOfOwner() const
{
    const QScreen *screen = parentWidget() ? parentWidget()->screen() : QGuiApplication::primaryScreen();
    return screen->availableGeometry();
}
