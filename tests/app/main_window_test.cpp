#include "fake_graph.h"

#include "app/application.h"
#include "app/main_window.h"
#include "app/progress_bar.h"
#include "export/gif_export_dialog.h"
#include "export/sqlite_export_window.h"
#include "help/about_box.h"
#include "help/help_commands.h"
#include "scenes/scene_dialog.h"
#include "scenes/scene_list_window.h"
#include "util/application_folder.h"
#include "util/user_error.h"
#include "widgets/message_box.h"

#include <QDir>
#include <QFile>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMenu>
#include <QMenuBar>
#include <QPushButton>
#include <QScreen>
#include <QSlider>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>

namespace {

FakeGraphSystem *fakeSystem = nullptr;

std::unique_ptr<GraphSystem> makeFakeSystem(QWidget *)
{
    auto system = std::make_unique<FakeGraphSystem>();
    fakeSystem = system.get();
    return system;
}

void writeFile(const QString &path, const QByteArray &bytes)
{
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(bytes);
}

} // namespace

/// The main window with the scene windows, driven by key and mouse events over a media library without media.
class MainWindowTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();
    void menusHaveTheirCaptionsAndShortcuts();
    void cancellingTheDialogChangesNothing();
    void theFirstOpenBuildsTheGraphTwice();
    void anUnreadableListKeepsTheVideoBefore();
    void aPartlyReadListReplacesNoFile();
    void theOpenedVideoIsShown();
    void everyStepReachesTheEngine_data();
    void everyStepReachesTheEngine();
    void shortcutsWorkWhileTextIsTyped();
    void withoutAVideoNothingHappens();
    void playAndPauseAlternate();
    void speedBarSetsTheRate();
    void aRefusedRatePutsTheBarBack();
    void volumeBarSetsTheLevelAndShowsTheDevices();
    void progressBarSeeksAndHints();
    void tickShowsPositionAndFrame();
    void fittingKeepsToTheScreen();
    void helpIsAskedOfTheDesktop();
    void theExportsComeOnlyWithAVideo();
    void marksFillTheDialog();
    void anEndBeforeTheStartBeeps();
    void uncaughtErrorsAreShownAndTheProgramGoesOn();
    void closingEndsTheSceneWindowsToo();

private:
    void openVideo();
    /// Whether the shortcut brings the dialog and Escape closes it.
    [[nodiscard]] static bool comesModally(const char *keys, QDialog *dialog);
    /// Presses the shortcut in the active window.
    static void press(const QKeySequence &keys, QWidget *window = Form1);

    std::unique_ptr<QTemporaryDir> m_folder;
    QString m_film;
    QStringList m_boxes;
    int m_beeps = 0;
    std::unique_ptr<TForm1> m_window;
};

void MainWindowTest::init()
{
    m_folder = std::make_unique<QTemporaryDir>();
    m_film = m_folder->filePath("фильм.avi");
    writeFile(m_film, "film");
    VideoPath.clear();
    INITIALIZED = false;
    m_boxes.clear();
    m_beeps = 0;
    setMessageBoxAnswer([this](const QString &text) { m_boxes << text; });
    setOpenDialogAnswer([this] { return std::optional(m_film); });

    m_window = std::make_unique<TForm1>(makeFakeSystem);
    CurPath = TAVRIN_BIN_FOLDER;
    Form2 = new TForm2(m_window.get());
    Form3 = new TForm3(m_window.get());
    m_window->beep = [this] { ++m_beeps; };
    m_window->show();
    QVERIFY(QTest::qWaitForWindowActive(m_window.get()));
}

void MainWindowTest::cleanup()
{
    m_window.reset();
    setMessageBoxAnswer({});
    setOpenDialogAnswer({});
}

void MainWindowTest::openVideo()
{
    press(QKeySequence("Ctrl+O"));
    QVERIFY(OPENED);
    fakeSystem->calls.clear();
}

bool MainWindowTest::comesModally(const char *keys, QDialog *dialog)
{
    bool came = false;
    QTimer::singleShot(200, dialog, [&] {
        came = dialog->isVisible() && dialog->isModal() && dialog->isActiveWindow();
        QTest::keyClick(dialog, Qt::Key_Escape);
    });
    press(QKeySequence(keys));
    return came && !dialog->isVisible();
}

void MainWindowTest::press(const QKeySequence &keys, QWidget *window)
{
    window->activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(window));
    QTest::keySequence(window->focusWidget() ? window->focusWidget() : window, keys);
}

void MainWindowTest::menusHaveTheirCaptionsAndShortcuts()
{
    QStringList lines;
    for (const QAction *menu : m_window->menuBar()->actions()) {
        lines << menu->text();
        for (const QAction *item : menu->menu()->actions())
            lines << (item->isSeparator() ? QString("-") : item->text() + '|' + item->shortcut().toString());
    }
    const QStringList expected{
        "Файл", "Открыть|Ctrl+O", "-", "Сохранить|Ctrl+S", "Экспорт сцен в GIF|Ctrl+G",
        "Экспорт сцен в SQLite|Ctrl+L", "-", "Выход|",
        "Выделение", "Начало|Ctrl+B", "Конец|Ctrl+E",
        "Навигация", "Назад на 1 минуту|F2", "Назад на 1 секунду|F3", "Назад на 1 кадр|F4", "-",
        "Вперёд на 1 кадр|F5", "Впрерёд на 1 секунду|F6", "Вперёд на 1 минуту|F7", "-",
        "Воспроизведение|Ctrl+P", "-", "Перемотать на начало|Ctrl+R",
        "Помощь", "Справка|F1", "-", "Сетевая справка (обновляется)|Shift+F1", "-", "О программе|Ctrl+F1"};
    QCOMPARE(lines, expected);
}

void MainWindowTest::cancellingTheDialogChangesNothing()
{
    setOpenDialogAnswer([] { return std::optional<QString>(); });
    press(QKeySequence("Ctrl+O"));
    QVERIFY(!OPENED);
    QVERIFY(!INITIALIZED);
    QVERIFY(VideoPath.isEmpty());
    QVERIFY(!Form3->isVisible());
    QVERIFY(fakeSystem->calls.isEmpty());
}

void MainWindowTest::theFirstOpenBuildsTheGraphTwice()
{
    openVideo();
    QCOMPARE(fakeSystem->graphsBuilt, 2);
    QVERIFY(Form3->isVisible());
    press(QKeySequence("Ctrl+O"));
    QCOMPARE(fakeSystem->graphsBuilt, 3);
    QCOMPARE(fakeSystem->graphsAlive, 1);
}

void MainWindowTest::anUnreadableListKeepsTheVideoBefore()
{
    openVideo();
    const QString second = m_folder->filePath("второй.avi");
    writeFile(second, "film");
    writeFile(second + ".scenes", "<scenes><scene><title>A & B</title></scene></scenes>");
    setOpenDialogAnswer([&] { return std::optional(second); });
    Form3->StringGrid1->setCell(6, 1, "осталось");
    // The error goes up to the event loop, which shows it.
    QTimer::singleShot(0, m_window.get(), [this] { m_window->N3Click(); });
    QTRY_COMPARE(m_boxes.size(), 1);
    QCOMPARE(VideoPath, QDir::toNativeSeparators(m_film));
    QVERIFY(OPENED);
    QCOMPARE(Form3->StringGrid1->cell(6, 1), QString("осталось"));
    // Saving now writes beside the film that is open, and the unreadable list stays for its owner to mend.
    press(QKeySequence("Ctrl+S"));
    QVERIFY(QFile::exists(m_film + ".scenes"));
    QFile unreadable(second + ".scenes");
    QVERIFY(unreadable.open(QIODevice::ReadOnly));
    QVERIFY(unreadable.readAll().contains("A & B"));
}

void MainWindowTest::aPartlyReadListReplacesNoFile()
{
    openVideo();
    Form3->StringGrid1->setCell(0, 1, "1");
    press(QKeySequence("Ctrl+S"));
    const auto bytesOf = [](const QString &path) {
        QFile file(path);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    };
    const QByteArray saved = bytesOf(m_film + ".scenes");
    QVERIFY(!saved.isEmpty());

    const QString second = m_folder->filePath("второй.avi");
    const QByteArray nested = "<scenes><scene><title>A</title></scene><scene><title><b/></title></scene></scenes>";
    writeFile(second, "film");
    writeFile(second + ".scenes", nested);
    setOpenDialogAnswer([&] { return std::optional(second); });
    QTimer::singleShot(0, m_window.get(), [this] { m_window->N3Click(); });
    QTRY_COMPARE(m_boxes.size(), 1);
    QCOMPARE(Form3->StringGrid1->cell(6, 1), QString("A"));
    press(QKeySequence("Ctrl+S"));
    QCOMPARE(bytesOf(m_film + ".scenes"), saved);
    QCOMPARE(bytesOf(second + ".scenes"), nested);
}

void MainWindowTest::theOpenedVideoIsShown()
{
    QCOMPARE(m_window->windowTitle(), QString("Таврин"));
    openVideo();
    QCOMPARE(m_window->windowTitle(), "Таврин - " + m_film);
    QCOMPARE(m_window->StatusBar1[0]->text(), QString("Продолжительность: 0:01:30 (90 sec)"));
    QCOMPARE(m_window->StatusBar1[2]->text(), QString("1280x720@25"));
    QCOMPARE(m_window->ProgressBar1->Max(), 90);
    QCOMPARE(m_window->BitBtn5->text(), QString("[]"));
    QCOMPARE(m_window->BitBtn5->accessibleName(), QString("Пауза"));
    QCOMPARE(fakeSystem->level.left, std::uint16_t(65535));
}

void MainWindowTest::everyStepReachesTheEngine_data()
{
    QTest::addColumn<QPushButton * TForm1::*>("button");
    QTest::addColumn<QString>("shortcut");
    QTest::addColumn<QString>("seek");
    const auto row = [](const char *name, QPushButton *TForm1::*button, const char *keys, const char *seek) {
        QTest::newRow(name) << button << QString(keys) << QString(seek);
    };
    row("to the start", &TForm1::BitBtn1, "Ctrl+R", "seek 0");
    row("back a minute", &TForm1::BitBtn2, "F2", "seek 0");
    row("back a second", &TForm1::BitBtn3, "F3", "seek 490000000");
    row("back a frame", &TForm1::BitBtn4, "F4", "seek 499600000");
    row("forward a frame", &TForm1::BitBtn6, "F5", "seek 500400000");
    row("forward a second", &TForm1::BitBtn7, "F6", "seek 510000000");
    row("forward a minute", &TForm1::BitBtn8, "F7", "seek 904999999");
}

void MainWindowTest::everyStepReachesTheEngine()
{
    QFETCH(QPushButton * TForm1::*, button);
    QFETCH(QString, shortcut);
    QFETCH(QString, seek);
    openVideo();
    fakeSystem->position = 500'000'000;
    QTest::mouseClick(m_window.get()->*button, Qt::LeftButton);
    QCOMPARE(fakeSystem->calls, QStringList({seek}));
    fakeSystem->calls.clear();
    fakeSystem->position = 500'000'000;
    press(QKeySequence(shortcut));
    QCOMPARE(fakeSystem->calls, QStringList({seek}));
    QVERIFY(!PAUSED);
}

void MainWindowTest::shortcutsWorkWhileTextIsTyped()
{
    openVideo();
    fakeSystem->position = 20'000'000;
    press(QKeySequence("Ctrl+B"));
    QVERIFY(Form2->isVisible());
    Form2->Edit3->setFocus();
    Form2->Edit3->setText("название");
    fakeSystem->position = 50'000'000;
    press(QKeySequence("Ctrl+E"), Form2);
    QCOMPARE(Form2->Edit2->text(), QString("3"));
    QCOMPARE(Form2->Edit3->text(), QString("название"));
    fakeSystem->calls.clear();
    press(QKeySequence("F5"), Form2);
    QCOMPARE(fakeSystem->calls, QStringList({"seek 50400000"}));
}

void MainWindowTest::withoutAVideoNothingHappens()
{
    for (const char *keys : {"Ctrl+S", "Ctrl+G", "Ctrl+L", "Ctrl+B", "Ctrl+E", "F2", "F3", "F4", "F5", "F6", "F7",
                             "Ctrl+P", "Ctrl+R"})
        press(QKeySequence(keys));
    QTest::mouseClick(m_window->ProgressBar1, Qt::LeftButton);
    QTest::keyClick(m_window->TrackBar1, Qt::Key_Right);
    m_window->Timer1Timer();
    m_window->Timer2Timer();
    QVERIFY(fakeSystem->calls.isEmpty());
    QVERIFY(!Form2->isVisible());
    QCOMPARE(m_window->GroupBox1->title(), QString("Скорость: 1.5"));
    QVERIFY(m_boxes.isEmpty());
    QCOMPARE(m_beeps, 0);
}

void MainWindowTest::playAndPauseAlternate()
{
    openVideo();
    QCOMPARE(m_window->N22->text(), QString("Пауза"));
    QTest::mouseClick(m_window->BitBtn5, Qt::LeftButton);
    QVERIFY(PAUSED);
    QCOMPARE(m_window->BitBtn5->text(), QString(">"));
    QCOMPARE(m_window->N22->text(), QString("Воспроизведение"));
    QCOMPARE(m_window->BitBtn5->accessibleName(), QString("Воспроизведение"));
    press(QKeySequence("Ctrl+P"));
    QVERIFY(!PAUSED);
    QCOMPARE(m_window->BitBtn5->text(), QString("[]"));
    QCOMPARE(fakeSystem->calls, QStringList({"pause", "run"}));
}

void MainWindowTest::speedBarSetsTheRate()
{
    openVideo();
    QTest::keyClick(m_window->TrackBar1, Qt::Key_Home);
    QCOMPARE(fakeSystem->calls, QStringList({"pause", "rate", "run"}));
    QCOMPARE(m_window->GroupBox1->title(), QString("Скорость: 0.1"));
    QTest::keyClick(m_window->TrackBar1, Qt::Key_End);
    QCOMPARE(fakeSystem->rate, 6.0);
    QCOMPARE(m_window->GroupBox1->title(), QString("Скорость: 6"));
    // The next video starts at rate 1 again.
    press(QKeySequence("Ctrl+O"));
    QCOMPARE(m_window->TrackBar1->value(), 0);
    QCOMPARE(fakeSystem->rate, 1.0);
}

void MainWindowTest::aRefusedRatePutsTheBarBack()
{
    openVideo();
    fakeSystem->refusedRate = 6.0;
    QTest::keyClick(m_window->TrackBar1, Qt::Key_End);
    QCOMPARE(m_boxes, QStringList({"Error set rate"}));
    QCOMPARE(m_window->TrackBar1->value(), 0);
    QCOMPARE(m_window->GroupBox1->title(), QString("Скорость: 1"));
    QVERIFY(fakeSystem->running);
}

void MainWindowTest::volumeBarSetsTheLevelAndShowsTheDevices()
{
    m_window->TrackBar3->setValue(50);
    QCOMPARE(fakeSystem->level.left, std::uint16_t(32767));
    QCOMPARE(fakeSystem->level.right, std::uint16_t(32767));
    openVideo();
    QCOMPARE(fakeSystem->level.left, std::uint16_t(32767));
    fakeSystem->level.left = 16384;
    m_window->Timer1Timer();
    QCOMPARE(m_window->GroupBox3->title(), QString("Громкость: 25%"));
}

void MainWindowTest::progressBarSeeksAndHints()
{
    TProgressBar *bar = m_window->ProgressBar1;
    QTest::mouseMove(bar, QPoint(bar->width() - 1, 5));
    QCOMPARE(bar->toolTip(), QString("0:01:40 ( 100 sec)"));
    openVideo();
    for (const Qt::MouseButton button : {Qt::LeftButton, Qt::RightButton}) {
        fakeSystem->calls.clear();
        QTest::mousePress(bar, button, Qt::NoModifier, QPoint(bar->width() - 1, 5));
        QCOMPARE(fakeSystem->calls, QStringList({"seek 900000000"}));
    }
    QTest::mousePress(bar, Qt::LeftButton, Qt::NoModifier, QPoint(0, 5));
    QCOMPARE(fakeSystem->calls.last(), QString("seek 0"));
    QTest::mouseMove(bar, QPoint(0, 6));
    QTRY_COMPARE(bar->toolTip(), QString("0:00:00 (0 sec)"));
}

void MainWindowTest::tickShowsPositionAndFrame()
{
    openVideo();
    fakeSystem->position = 399'600'000;
    m_window->Timer1Timer();
    QCOMPARE(m_window->StatusBar1[1]->text(), QString("Положение: 0:00:39 (39 sec)"));
    QCOMPARE(m_window->StatusBar1[3]->text(), QString("Кадр:  999"));
    QCOMPARE(m_window->ProgressBar1->value(), 39);
    QCOMPARE(CurFrame, std::int64_t(999));
    QCOMPARE(CurTime, QString("0:00:39 (39 sec)"));
    QVERIFY(m_window->StatusBar1[4]->text().isEmpty());
}

void MainWindowTest::fittingKeepsToTheScreen()
{
    openVideo();
    m_window->resize(1000, 600);
    fakeSystem->width = 2000;
    fakeSystem->height = 500;
    press(QKeySequence("Ctrl+O"));
    m_window->Timer2Timer();
    QCOMPARE(m_window->Panel3->height(), m_window->Panel3->width() / 4);

    fakeSystem->width = 16;
    fakeSystem->height = 4320;
    press(QKeySequence("Ctrl+O"));
    m_window->Timer2Timer();
    QVERIFY(m_window->frameGeometry().height() <= m_window->screen()->availableGeometry().height());

    m_window->showMaximized();
    QTRY_VERIFY(m_window->isMaximized());
    m_window->Timer2Timer();
    QVERIFY(m_window->isMaximized());
    QVERIFY(!m_window->Timer2->isActive());
}

void MainWindowTest::helpIsAskedOfTheDesktop()
{
    QStringList asked;
    setShellOpenAnswer([&](const QString &address) { asked << address; });
    press(QKeySequence("F1"));
    press(QKeySequence("Shift+F1"));
    setShellOpenAnswer({});
    QCOMPARE(asked.size(), 2);
    QCOMPARE(asked[0], inApplicationFolder("Tavrin.chm"));
    QVERIFY(asked[1].startsWith("https://"));

    AboutBox = new TAboutBox(m_window.get());
    QVERIFY(comesModally("Ctrl+F1", AboutBox));
}

void MainWindowTest::theExportsComeOnlyWithAVideo()
{
    Form4 = new TForm4(m_window.get());
    Form5 = new TForm5(m_window.get());
    press(QKeySequence("Ctrl+G"));
    press(QKeySequence("Ctrl+L"));
    QVERIFY(!Form4->isVisible() && !Form5->isVisible());
    openVideo();
    QVERIFY(comesModally("Ctrl+G", Form4));
    QVERIFY(comesModally("Ctrl+L", Form5));

    // From the one to the other and back.
    QTimer::singleShot(0, Form5, [] { QTest::mouseClick(Form5->BitBtn1, Qt::LeftButton); });
    QTimer::singleShot(200, Form4, [] {
        QVERIFY(Form4->isActiveWindow());
        QTest::keyClick(Form4, Qt::Key_Escape);
        QVERIFY(!Form4->isVisible() && Form5->isVisible());
        QTest::keyClick(Form5, Qt::Key_Escape);
    });
    Form5->exec();
    QVERIFY(m_boxes.isEmpty());
}

void MainWindowTest::marksFillTheDialog()
{
    openVideo();
    Form2->Edit3->setText("старое");
    fakeSystem->position = 123'456'780;
    QTest::mouseClick(m_window->BitBtn10, Qt::LeftButton);
    QVERIFY(Form2->isVisible());
    QVERIFY(!PAUSED);
    QCOMPARE(Form2->Edit1->text(), QString("12.34"));
    QVERIFY(Form2->Edit2->text().isEmpty());
    QVERIFY(Form2->Edit3->text().isEmpty());
    QCOMPARE(Form2->BitBtn1->text(), QString("Добавить сцену"));
    fakeSystem->position = 156'780'000;
    QTest::mouseClick(m_window->BitBtn11, Qt::LeftButton);
    QVERIFY(PAUSED);
    QCOMPARE(Form2->Edit2->text(), QString("3.33"));
    // A start that the user corrects counts.
    Form2->Edit1->setText("15");
    QTest::mouseClick(m_window->BitBtn11, Qt::LeftButton);
    QCOMPARE(Form2->Edit2->text(), QString("0.67"));
}

void MainWindowTest::anEndBeforeTheStartBeeps()
{
    openVideo();
    Form2->Edit1->setText("20");
    Form2->Edit2->setText("7");
    fakeSystem->position = 100'000'000;
    QTest::mouseClick(m_window->BitBtn11, Qt::LeftButton);
    QCOMPARE(m_beeps, 1);
    QVERIFY(PAUSED);
    QCOMPARE(Form2->Edit2->text(), QString("7"));
    QVERIFY(!Form2->isVisible());
}

void MainWindowTest::uncaughtErrorsAreShownAndTheProgramGoesOn()
{
    QTimer::singleShot(0, m_window.get(), [] { throw UserError("не вышло"); });
    QTRY_COMPARE(m_boxes, QStringList({"не вышло"}));
    QVERIFY(m_window->isVisible());
}

void MainWindowTest::closingEndsTheSceneWindowsToo()
{
    openVideo();
    Form2->show();
    bool ended = false;
    connect(qApp, &QCoreApplication::aboutToQuit, this, [&] { ended = true; });
    QTimer::singleShot(0, m_window.get(), &QWidget::close);
    QCOMPARE(QApplication::exec(), 0);
    QVERIFY(ended);
    m_window.reset();
    QCOMPARE(Form1, nullptr);
    QCOMPARE(Form2, nullptr);
    QCOMPARE(Form3, nullptr);
    QVERIFY(!OPENED);
}

int main(int argc, char **argv)
{
    TApplication application(argc, argv);
    MainWindowTest test;
    return QTest::qExec(&test, argc, argv);
}
#include "main_window_test.moc"
