#include "export/gif_export_dialog.h"

#include "export/left_out_scenes.h"
#include "export/radio_group.h"
#include "export/scene_gif.h"
#include "export/status_panel.h"
#include "platform/file_name.h"
#include "player/player_state.h"
#include "scenes/scene.h"
#include "scenes/scene_list_window.h"
#include "util/application_folder.h"
#include "util/error_reason.h"
#include "util/film_files.h"
#include "util/numbers.h"
#include "util/user_error.h"
#include "widgets/icons.h"
#include "widgets/message_box.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QHBoxLayout>
#include <QMenu>
#include <QProgressBar>
#include <QPushButton>
#include <QScopedValueRollback>
#include <QShowEvent>
#include <QStatusBar>
#include <QTimer>
#include <QVBoxLayout>

#include <filesystem>

TForm4 *Form4 = nullptr;
FRAME_READER *FR = nullptr;
bool BUSY2 = false;
std::int32_t SCENE = 0;

namespace {

const QString dialogCaption = QStringLiteral("Экспорт изображений сцен");

constexpr QSize clientSize(347, 235);
constexpr int buttonHeight = 27;
constexpr int panel1Width = 34;
constexpr int tickMilliseconds = 100;

/// The index of RadioGroup1's item.
constexpr int keepExisting = 0;

/// The last data row of the scene list.
int lastRow()
{
    return Form3->StringGrid1->RowCount() - 1;
}

void makeFolder(const QString &folder)
{
    if (QFileInfo(folder).isDir())
        return;
    std::error_code error;
    const bool occupied = QFileInfo::exists(folder);
    const QString name = QString::fromStdString(openableName(folder.toStdString()));
    if (!occupied && std::filesystem::create_directory(name.toStdU16String(), error))
        return;
    throw UserError(QStringLiteral("Не удалось создать папку изображений «%1»: %2")
                        .arg(folder, occupied ? QStringLiteral("под этим именем есть файл") : errorReason(error)));
}

} // namespace

TForm4::TForm4(QWidget *owner)
    : QDialog(owner, Qt::Dialog | Qt::WindowTitleHint | Qt::WindowSystemMenuHint | Qt::WindowCloseButtonHint
                         | Qt::MSWindowsFixedSizeDialogHint),
      m_reader(std::make_unique<FRAME_READER>())
{
    setWindowTitle(dialogCaption);
    setObjectName(QStringLiteral("Form4"));
    setModal(true);
    buildControls();
    buildLayout();
    setFixedSize(clientSize);

    FR = m_reader.get();
    FR->SetShareName(QStringLiteral("TAVRIN"));
    FR->SetEXE(inApplicationFolder(QStringLiteral(TAVRIN_FRAME_READER_NAME)));
    FR->Run();
    Form4 = this;
}

TForm4::~TForm4()
{
    if (Form4 == this) {
        Form4 = nullptr;
        FR = nullptr;
    }
}

void TForm4::buildControls()
{
    const auto button = [this](const char *name, const char *iconName, const QString &caption,
                               void (TForm4::*handler)()) {
        auto *control = new QPushButton(icon(iconName), caption, this);
        control->setObjectName(QLatin1String(name));
        control->setMinimumHeight(buttonHeight);
        connect(control, &QPushButton::clicked, this, handler);
        return control;
    };
    RadioGroup1 = new TRadioGroup(QStringLiteral("Существующие изображения"),
                                  {QStringLiteral("Оставлять"), QStringLiteral("Перезаписывать")}, this);
    RadioGroup1->setObjectName(QStringLiteral("RadioGroup1"));
    ProgressBar1 = new QProgressBar(this);
    ProgressBar1->setObjectName(QStringLiteral("ProgressBar1"));
    ProgressBar1->setTextVisible(false);
    ProgressBar1->setAccessibleName(dialogCaption);
    BitBtn1 = button("BitBtn1", "export-gif", QStringLiteral("Создать GIF анимации сцен"), &TForm4::BitBtn1Click);
    BitBtn1->setDefault(true);
    BitBtn3 = button("BitBtn3", "close", QStringLiteral("Отмена"), &TForm4::BitBtn3Click);
    for (StatusPanel *&panel : StatusBar1)
        panel = new StatusPanel(this);
    StatusBar1[0]->setAlignment(Qt::AlignCenter);

    Timer1 = new QTimer(this);
    Timer1->setInterval(tickMilliseconds);
    connect(Timer1, &QTimer::timeout, this, &TForm4::Timer1Timer);

    PopupMenu1 = new QMenu(this);
    Finish1 = PopupMenu1->addAction(QStringLiteral("Finish"), this, &TForm4::Finish1Click);
}

void TForm4::buildLayout()
{
    constexpr int margin = 8;
    auto *buttons = new QHBoxLayout;
    buttons->addWidget(BitBtn1, 1);
    buttons->addWidget(BitBtn3);

    auto *controls = new QVBoxLayout;
    controls->setContentsMargins(margin, margin, margin, 0);
    controls->setSpacing(margin);
    controls->addWidget(RadioGroup1, 1);
    controls->addWidget(ProgressBar1);
    controls->addLayout(buttons);

    auto *statusBar = new QStatusBar(this);
    statusBar->setSizeGripEnabled(false);
    // The first panel gives way to a long text in the second one.
    StatusBar1[1]->setMinimumWidth(panel1Width);
    statusBar->addWidget(StatusBar1[0], 1);
    statusBar->addWidget(StatusBar1[1]);

    auto *all = new QVBoxLayout(this);
    all->setContentsMargins(0, 0, 0, 0);
    all->addLayout(controls, 1);
    all->addWidget(statusBar);
}

void TForm4::showEvent(QShowEvent *event)
{
    if (!event->spontaneous())
        FormShow();
    QDialog::showEvent(event);
}

void TForm4::FormShow()
{
    ProgressBar1->setValue(0);
    for (StatusPanel *panel : StatusBar1) {
        panel->clear();
        panel->setToolTip({});
    }
    setWindowTitle(dialogCaption);
    ProgressBar1->setMaximum(lastRow());
    BitBtn1->setEnabled(true);
}

void TForm4::BitBtn1Click()
{
    if (FR->hasEnded())
        FR->Run();
    if (FR->opened())
        FR->Close();
    if (!FR->Open(VideoPath)) {
        ShowMessage(QStringLiteral("Ошибка открытия файла!"));
        return;
    }
    FR->SetFramesBuf(1);
    FR->ResizeVideoBuf();
    makeFolder(imagesFolderOf(VideoPath));
    showLeftOutScenes();
    m_cancelled = false;
    BUSY2 = false;
    SCENE = 1;
    BitBtn1->setEnabled(false);
    Timer1->start();
}

void TForm4::Timer1Timer()
{
    if (BUSY2)
        return;
    BUSY2 = true;
    const Scene scene = sceneAt(Form3->StringGrid1->cells(), SCENE);
    const QString file = gifFileOf(VideoPath, scene.position, scene.length);
    if (const QString refusal = refusalOfGifName(scene.position, scene.length); !refusal.isEmpty())
        throwSaveError(file, refusal);

    const bool keeps = RadioGroup1->ItemIndex() == keepExisting && QFileInfo(file).isFile();
    if (!keeps && !makeGif(file, leadingNumber(scene.position), leadingNumber(scene.length))) {
        ShowMessage(QStringLiteral("Get data error!"));
        Finish1Click();
        return;
    }
    setWindowTitle(QStringLiteral("%1: %2 из %3").arg(dialogCaption).arg(SCENE).arg(lastRow()));
    ProgressBar1->setValue(SCENE);
    ++SCENE;
    if (m_cancelled || SCENE > lastRow())
        Finish1Click();
    else
        BUSY2 = false;
}

bool TForm4::makeGif(const QString &file, double start, double length)
{
    const QScopedValueRollback making(m_makesGif, true);
    m_unpainted.start();
    const bool made =
        writeSceneGif(*FR, file, start, length, [this](int picture, int pictures) { showPicture(picture, pictures); });
    StatusBar1[1]->clear();
    return made;
}

void TForm4::showLeftOutScenes()
{
    const GridCells &list = Form3->StringGrid1->cells();
    QString text = scenesWithoutGif(list);
    if (listIsEmpty(list))
        text = QStringLiteral("В списке нет сцен");
    else if (!text.isEmpty())
        text.prepend(QStringLiteral("Без GIF строки: "));
    StatusBar1[0]->setToolTip(text);
    StatusBar1[0]->setText(text.replace(QLatin1Char('\n'), QStringLiteral("; ")));
}

/// Tells which picture is made. The window is painted a few times a second, but the user's keys and clicks wait for the
/// end of the scene.
void TForm4::showPicture(int picture, int pictures)
{
    constexpr int paintMilliseconds = 100;
    if (!m_unpainted.hasExpired(paintMilliseconds))
        return;
    StatusBar1[1]->setText(QStringLiteral("%1 из %2").arg(picture).arg(pictures));
    QCoreApplication::processEvents(QEventLoop::ExcludeUserInputEvents);
    repaint();
    m_unpainted.start();
}

void TForm4::BitBtn3Click()
{
    // A screen reader presses buttons while the user's own input waits.
    if (m_makesGif) {
        m_cancelled = true;
        return;
    }
    if (Timer1->isActive())
        Finish1Click();
    else
        QDialog::reject();
}

void TForm4::reject()
{
    BitBtn3Click();
}

void TForm4::Finish1Click()
{
    Timer1->stop();
    if (FR->opened())
        FR->Close();
    ShowMessage(QStringLiteral("Экспорт завершён"));
    done(QDialog::Accepted);
}
