#include "fake_graph.h"
#include "films/film_maker.h"

#include "app/application.h"
#include "app/main_window.h"
#include "app/progress_bar.h"
#include "export/gif_export_dialog.h"
#include "export/sqlite_export_window.h"
#include "help/about_box.h"
#include "help/help_commands.h"
#include "scenes/scene_dialog.h"
#include "scenes/scene_list_window.h"
#include "scenes/scenes_file.h"
#include "util/application_folder.h"
#include "widgets/application_font.h"
#include "widgets/message_box.h"
#include "widgets/style_manager.h"

#include <QAccessible>
#include <QDebug>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QRadioButton>
#include <QScreen>
#include <QSlider>
#include <QStyleOption>
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

/// Claims every key for itself, as text fields on some desktops claim Ctrl+E.
class GreedyEdit final : public QLineEdit {
    using QLineEdit::QLineEdit;
    bool event(QEvent *event) override
    {
        event->accept();
        return event->type() == QEvent::ShortcutOverride || QLineEdit::event(event);
    }
};

} // namespace

/// The main window with the other windows, driven by key and mouse events over a media library without media.
class MainWindowTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        m_folder = std::make_unique<QTemporaryDir>();
        m_film = QDir::toNativeSeparators(m_folder->filePath("фильм.avi"));
        writeFile(m_film, {});
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
        Form4 = new TForm4(m_window.get());
        Form5 = new TForm5(m_window.get());
        AboutBox = new TAboutBox(m_window.get());
        m_window->beep = [this] { ++m_beeps; };
        m_window->show();
        QVERIFY(QTest::qWaitForWindowActive(m_window.get()));
    }

    void cleanup()
    {
        m_window.reset();
        setMessageBoxAnswer({});
        setOpenDialogAnswer({});
    }

    void aListThatCannotBeReadReplacesNoFile()
    {
        openFilm();
        Form3->StringGrid1->setCell(TitleColumn, 1, "прежняя");
        const QString second = QDir::toNativeSeparators(m_folder->filePath("второй.avi"));
        writeFile(second, {});
        const QByteArray list = "<scenes><scene><title>A & B</title></scene></scenes>";
        writeFile(second + ".scenes", list);
        setOpenDialogAnswer([&] { return std::optional(second); });
        // The error goes up to the event loop, which shows it.
        QTimer::singleShot(0, m_window.get(), &TForm1::N3Click);
        QTRY_COMPARE(m_boxes.size(), 1);
        // The list still belongs to the film that is open; the unreadable one stays for its owner to mend.
        press("Ctrl+S");
        QVERIFY(contentOf(m_film + ".scenes").contains("прежняя"));
        QCOMPARE(contentOf(second + ".scenes"), list);

        // A list in the shape of a saved one can be read line by line, and is a change like others.
        Form3->StringGrid1->setCell(TitleColumn, 1, "A & B");
        writeFile(second + ".scenes", scenesXml(Form3->StringGrid1->cells()));
        Form3->StringGrid1->setCell(TitleColumn, 1, "прежняя");
        setMessageBoxAnswer({});
        QStringList buttons;
        QTimer boxes;
        connect(&boxes, &QTimer::timeout, this, [&] {
            if (auto *box = qobject_cast<QMessageBox *>(QApplication::activeModalWidget())) {
                for (const QAbstractButton *button : box->buttons())
                    buttons += button->text();
                // First Enter, which takes no offer.
                if (buttons.size() == 2)
                    QTest::keyClick(box, Qt::Key_Return);
                else
                    QTest::mouseClick(box->buttons().constLast(), Qt::LeftButton);
            }
        });
        boxes.start(20);
        for (const char *title : {"прежняя", "A & B"}) {
            QTimer::singleShot(0, m_window.get(), &TForm1::N3Click);
            QTRY_COMPARE(buttons.size(), title[0] == 'A' ? 4 : 2);
            QTRY_COMPARE(Form3->StringGrid1->cell(TitleColumn, 1), QString(title));
        }
        QVERIFY(buttons.constLast() == "Прочитать построчно" && VideoPath == second);
        QTRY_COMPARE(m_window->windowTitle(), "Таврин - " + second);
        press("Ctrl+Z");
        QCOMPARE(Form3->StringGrid1->cell(TitleColumn, 1), QString("прежняя"));
        press("Ctrl+Shift+Z");
        QCOMPARE(Form3->StringGrid1->cell(TitleColumn, 1), QString("A & B"));

        // A film that does not open leaves nothing of the one before on the window, and saving says why it cannot.
        boxes.stop();
        setMessageBoxAnswer([this](const QString &text) { m_boxes << text; });
        setOpenDialogAnswer([this] { return std::optional(m_film); });
        fakeSystem->statuses["render"] = -1;
        press("Ctrl+O");
        QTRY_COMPARE(m_window->windowTitle(), QString("Таврин"));
        QVERIFY(m_window->StatusBar1[0]->text().isEmpty() && m_window->StatusBar1[4]->text() == "Фильм не открыт");
        press("Ctrl+S");
        QCOMPARE(m_window->StatusBar1[4]->text(), QString("Фильм не открыт: список не сохранить"));
    }

    void theOpenedFilmIsShown()
    {
        openFilm();
        // The first graph of all is built twice.
        QVERIFY(fakeSystem->graphsBuilt == 2 && fakeSystem->graphsAlive == 1 && Form3->isVisible());
        QCOMPARE(m_window->windowTitle(), "Таврин - " + m_film);
        fakeSystem->position = 399'600'000;
        m_window->Timer1Timer();
        QStringList texts;
        for (const QLabel *panel : m_window->StatusBar1)
            texts += panel->text();
        QCOMPARE(texts, QStringList({"Продолжительность: 0:01:30 (90 sec)", "Положение: 0:00:39 (39 sec)",
                                     "1280x720@25", "Кадр:  999", ""}));
        QVERIFY(CurFrame == 999 && CurTime == "0:00:39 (39 sec)");
        QVERIFY(m_window->ProgressBar1->Max() == 90 && m_window->ProgressBar1->value() == 39);
        press("Ctrl+O");
        QVERIFY(fakeSystem->graphsBuilt == 3 && fakeSystem->graphsAlive == 1);
    }

    void everyStepReachesTheEngine()
    {
        openFilm();
        const struct {
            QPushButton *button;
            const char *keys;
            const char *seek;
        } steps[] = {
            {m_window->BitBtn1, "Ctrl+R", "seek 0"},     {m_window->BitBtn2, "F2", "seek 0"},
            {m_window->BitBtn3, "F3", "seek 490000000"}, {m_window->BitBtn4, "F4", "seek 499600000"},
            {m_window->BitBtn6, "F5", "seek 500400000"}, {m_window->BitBtn7, "F6", "seek 510000000"},
            {m_window->BitBtn8, "F7", "seek 904999999"},
        };
        for (const auto &[button, keys, seek] : steps) {
            fakeSystem->calls.clear();
            fakeSystem->position = 500'000'000;
            QTest::mouseClick(button, Qt::LeftButton);
            fakeSystem->position = 500'000'000;
            press(keys);
            QCOMPARE(fakeSystem->calls, QStringList({seek, seek}));
            QVERIFY(!PAUSED);
        }
    }

    void withoutAFilmNothingHappens()
    {
        setOpenDialogAnswer([] { return std::optional<QString>(); }); // the user has cancelled
        for (const char *keys : {"Ctrl+O", "Ctrl+S", "Ctrl+G", "Ctrl+L", "Ctrl+B", "Ctrl+E", "F2", "F3", "F4", "F5",
                                 "F6", "F7", "Ctrl+P", "Ctrl+R"})
            press(keys);
        QTest::mouseClick(m_window->ProgressBar1, Qt::LeftButton);
        QTest::keyClick(m_window->TrackBar1, Qt::Key_Right);
        m_window->Timer1Timer();
        m_window->Timer2Timer();
        QVERIFY(fakeSystem->calls.isEmpty() && !OPENED && !INITIALIZED && VideoPath.isEmpty());
        QVERIFY(!Form2->isVisible() && !Form3->isVisible() && !Form4->isVisible() && !Form5->isVisible());
        QVERIFY(m_window->GroupBox1->title() == "Скорость: 1.5" && m_boxes.isEmpty() && m_beeps == 0);
    }

    void playAndPauseAlternate()
    {
        openFilm();
        const auto shown = [this] {
            return m_window->N22->text() + m_window->BitBtn5->text() + m_window->BitBtn5->accessibleName();
        };
        QCOMPARE(shown(), QString("Пауза[]Пауза"));
        QTest::mouseClick(m_window->BitBtn5, Qt::LeftButton);
        QCOMPARE(shown(), QString("Воспроизведение>Воспроизведение"));
        press("Ctrl+P");
        QCOMPARE(shown(), QString("Пауза[]Пауза"));
        QCOMPARE(fakeSystem->calls, QStringList({"pause", "run"}));
        QTest::keyClick(m_window->BitBtn5, Qt::Key_Return);
        QVERIFY(PAUSED);
        press("F10");
        QVERIFY(QApplication::activePopupWidget());
        QTest::keyClick(QApplication::activePopupWidget(), Qt::Key_Escape);
    }

    void theScreenStaysAwakeWhileTheFilmRuns()
    {
        struct Held : AwakeScreen {
            explicit Held(int &heldNow) : count(heldNow) { ++count; }
            ~Held() override { --count; }
            int &count;
        };
        int held = 0;
        m_window->holdScreen = [&held](const auto &, const auto &) { return std::make_unique<Held>(held); };
        const std::pair<std::function<void()>, int> steps[] = {
            {[] {}, 0},
            {[this] { openFilm(); }, 1},
            {[this] { m_window->Pause1Click(); }, 0},
            {[this] { m_window->Play1Click(); }, 1},
            {[] { SetPosition(Duration); }, 0},
            {[] { SetPosition(0); }, 1},
            {[this] { m_window->Stop1Click(); }, 0},
        };
        for (const auto &[step, expected] : steps) {
            step();
            m_window->Timer1Timer();
            m_window->Timer1Timer();
            QCOMPARE(held, expected);
        }
    }

    void theBarsSetRateLevelAndPosition()
    {
        TProgressBar *bar = m_window->ProgressBar1;
        QTest::mouseMove(bar, QPoint(bar->width() - 1, 5));
        QCOMPARE(bar->toolTip(), QString("0:01:40 ( 100 sec)"));
        m_window->TrackBar3->setValue(50);
        QVERIFY(fakeSystem->level.left == 32767 && fakeSystem->level.right == 32767);
        fakeSystem->level = {};
        openFilm();
        QVERIFY(fakeSystem->level.left == 32767 && fakeSystem->level.right == 32767);
        fakeSystem->level.left = 16384;
        m_window->Timer1Timer();
        QCOMPARE(m_window->GroupBox3->title(), QString("Громкость: 25%"));

        for (const Qt::MouseButton button : {Qt::LeftButton, Qt::RightButton}) {
            QTest::mousePress(bar, button, Qt::NoModifier, QPoint(bar->width() - 1, 5));
            QTest::mousePress(bar, button, Qt::NoModifier, QPoint(0, 5));
        }
        QCOMPARE(fakeSystem->calls.filter("seek"),
                 QStringList({"seek 900000000", "seek 0", "seek 900000000", "seek 0"}));
        QTest::mouseMove(bar, QPoint(0, 6));
        QTRY_COMPARE(bar->toolTip(), QString("0:00:00 (0 sec)"));

        fakeSystem->calls.clear();
        QTest::keyClick(m_window->TrackBar1, Qt::Key_Home);
        QCOMPARE(fakeSystem->calls, QStringList({"pause", "rate", "run"}));
        QCOMPARE(m_window->GroupBox1->title(), QString("Скорость: 0.1"));
        QTest::keyClick(m_window->TrackBar1, Qt::Key_End);
        QCOMPARE(fakeSystem->rate, 6.0);
        // The next film starts at rate 1 again, and a refused rate puts the bar back.
        press("Ctrl+O");
        QVERIFY(m_window->TrackBar1->value() == 0 && fakeSystem->rate == 1.0);
        fakeSystem->refusedRate = 6.0;
        QTest::keyClick(m_window->TrackBar1, Qt::Key_End);
        QCOMPARE(m_boxes, QStringList({"Error set rate"}));
        QCOMPARE(m_window->GroupBox1->title(), QString("Скорость: 1"));
        QVERIFY(m_window->TrackBar1->value() == 0 && fakeSystem->running);
    }

    void fittingKeepsToTheScreen()
    {
        fakeSystem->width = 16;
        fakeSystem->height = 4320;
        openFilm();
        m_window->Timer2Timer();
        QVERIFY(m_window->frameGeometry().height() <= m_window->screen()->availableGeometry().height());
        // 1920 x 1080 at 200 %, less what a frame takes.
        QVERIFY(m_window->minimumSizeHint().width() <= 950 && m_window->minimumSizeHint().height() <= 480);

        m_window->resize(1000, 600);
        fakeSystem->width = 2000;
        fakeSystem->height = 500;
        press("Ctrl+O");
        QCoreApplication::processEvents(); // the status bar takes its height
        m_window->Timer2Timer();
        QCOMPARE(m_window->Panel3->height(), m_window->Panel3->width() / 4);

        m_window->showMaximized();
        QTRY_VERIFY(m_window->isMaximized());
        srcHeight = 1000;
        const QSize maximized = m_window->size();
        m_window->Timer2Timer();
        QVERIFY(m_window->size() == maximized && !m_window->Timer2->isActive());
    }

    void helpIsAskedOfTheDesktop()
    {
        QStringList asked;
        setShellOpenAnswer([&](const QString &address) { asked << address; });
        press("F1");
        press("Shift+F1");
        setShellOpenAnswer({});
        QVERIFY(asked.size() == 2 && asked[0] == inApplicationFolder("Tavrin.chm") && asked[1].startsWith("https://"));

        bool came = false;
        QTimer::singleShot(0, AboutBox, [&] {
            came = QTest::qWaitForWindowActive(AboutBox);
            AboutBox->close();
        });
        press("Ctrl+F1");
        QVERIFY(came);
    }

    void marksFillTheDialogWhileTextIsTyped()
    {
        openFilm();
        fakeSystem->position = 123'402'780;
        QTest::mouseClick(m_window->BitBtn10, Qt::LeftButton);
        QVERIFY(Form2->isVisible() && !PAUSED);
        QCOMPARE(Form2->Edit1->text(), QString("12.34"));
        GreedyEdit edit(Form2);
        edit.show();
        edit.setFocus();
        fakeSystem->position = 156'780'000;
        press("F5", Form2);
        QCOMPARE(fakeSystem->calls, QStringList({"seek 157180000"}));
        fakeSystem->position = 156'780'000;
        press("Ctrl+E", Form2);
        QVERIFY(PAUSED);
        QCOMPARE(Form2->Edit2->text(), QString("3.33"));
        // A start that the user corrects counts; an end before it is told by a sound alone.
        Form2->Edit1->setText("15");
        QTest::mouseClick(m_window->BitBtn11, Qt::LeftButton);
        QCOMPARE(Form2->Edit2->text(), QString("0.67"));
        Form2->hide();
        Form2->Edit1->setText("20");
        QTest::mouseClick(m_window->BitBtn11, Qt::LeftButton);
        QCOMPARE(Form2->Edit2->text(), QString("0.67"));
        QVERIFY(m_beeps == 1 && !Form2->isVisible());
    }

    void heldKeysOnlyStep()
    {
        openFilm();
        const auto hold = [](QWidget *widget, Qt::Key key, Qt::KeyboardModifiers modifiers) {
            for (const bool repeated : {false, true, true})
                QTest::simulateEvent(widget, true, key, modifiers, {}, repeated);
            QTest::simulateEvent(widget, false, key, modifiers, {}, false);
        };
        hold(m_window.get(), Qt::Key_F5, {});
        QCOMPARE(fakeSystem->calls.size(), 3);
        hold(m_window.get(), Qt::Key_P, Qt::ControlModifier);
        QCOMPARE(fakeSystem->calls.mid(3), QStringList{"pause"});

        Form2->describeNewScene("1");
        Form2->ListBox1->setCurrentRow(0);
        for (QWidget *widget : {static_cast<QWidget *>(Form2->Edit3), static_cast<QWidget *>(Form2->BitBtn1)})
            hold(widget, Qt::Key_Return, {});
        QCOMPARE(Form3->StringGrid1->RowCount(), 3);
    }

    void closingEndsTheSceneWindowsToo()
    {
        openFilm();
        Form2->show();
        QTimer::singleShot(0, m_window.get(), &QWidget::close);
        QCOMPARE(QApplication::exec(), 0);
        m_window.reset();
        QVERIFY(!Form1 && !Form2 && !Form3 && !AboutBox && !OPENED);
    }

    void tabReachesEveryControlAndItTellsItsName()
    {
        QAccessible::setActive(true);
        // Each window with the fewest controls it may have.
        const std::pair<QWidget *, int> windows[] = {{Form2, 18}, {Form3, 1},    {Form4, 3},
                                                     {Form5, 3},  {AboutBox, 2}, {Form1, 12}};
        for (const auto &[window, fewest] : windows) {
            window->show();
            window->activateWindow();
            QVERIFY(QTest::qWaitForWindowActive(window));
            QVERIFY(!QAccessible::queryAccessibleInterface(window)->text(QAccessible::Name).isEmpty());
            QList<QWidget *> missing = window->findChildren<QWidget *>();
            missing.removeIf([window](const QWidget *control) {
                // Of a group of radio buttons Tab reaches the chosen one, arrows the others.
                const auto *choice = qobject_cast<const QRadioButton *>(control);
                return control->window() != window || !(control->focusPolicy() & Qt::TabFocus) || control->focusProxy()
                       || !control->isVisible() || !control->isEnabled() || (choice && !choice->isChecked());
            });
            QVERIFY2(missing.size() >= fewest, qPrintable(window->windowTitle()));
            for (QWidget *control : missing) {
                QAccessibleInterface *spoken = QAccessible::queryAccessibleInterface(control);
                const QString name = spoken ? spoken->text(QAccessible::Name) : QString();
                // A sign such as ">" is no name.
                QVERIFY2(std::any_of(name.cbegin(), name.cend(), [](QChar c) { return c.isLetter(); })
                             && spoken->role() != QAccessible::NoRole && spoken->role() != QAccessible::Client,
                         qPrintable(window->windowTitle() + QDebug::toString(control)));
            }
            for (qsizetype presses = 2 * missing.size() + 2; presses > 0 && !missing.isEmpty(); --presses) {
                missing.removeOne(window->focusWidget());
                QTest::keyClick(window->focusWidget() ? window->focusWidget() : window, Qt::Key_Tab);
            }
            QVERIFY2(missing.isEmpty(), qPrintable(window->windowTitle() + QDebug::toString(missing)));
            window->hide();
        }
    }

    void everyCaptionFits()
    {
        Form1->GroupBox1->setTitle("Скорость: 5.5");
        Form1->GroupBox3->setTitle("Громкость: 100%");
        for (QWidget *window : std::initializer_list<QWidget *>{Form4, Form5, AboutBox})
            window->show();
        int captions = 0;
        const auto compare = [&](const QWidget *control, const QString &caption, int room) {
            if (!control->isVisible() || caption.isEmpty())
                return;
            ++captions;
            const QSize text = control->fontMetrics().size(Qt::TextSingleLine, caption);
            QVERIFY2(text.width() <= room && text.height() <= control->height()
                         && control->parentWidget()->rect().contains(control->geometry()),
                     qPrintable(caption));
        };
        const QStyle *style = QApplication::style();
        for (const QLabel *label : Form1->findChildren<QLabel *>())
            compare(label, label->text(), label->contentsRect().width());
        for (const QAbstractButton *button : Form1->findChildren<QAbstractButton *>()) {
            QStyleOptionButton option;
            option.initFrom(button);
            const bool isChoice = qobject_cast<const QRadioButton *>(button) != nullptr;
            const auto part = isChoice ? QStyle::SE_RadioButtonContents : QStyle::SE_PushButtonContents;
            const int icon = button->icon().isNull() ? 0 : button->iconSize().width();
            compare(button, button->text(), style->subElementRect(part, &option, button).width() - icon);
        }
        for (const QGroupBox *group : Form1->findChildren<QGroupBox *>()) {
            QStyleOptionGroupBox option;
            option.initFrom(group);
            option.text = group->title();
            option.subControls = QStyle::SC_GroupBoxLabel;
            const auto label = style->subControlRect(QStyle::CC_GroupBox, &option, QStyle::SC_GroupBoxLabel, group);
            compare(group, option.text, label.width());
        }
        QVERIFY(captions > 25);
    }

private:
    void openFilm()
    {
        press("Ctrl+O");
        QVERIFY(OPENED);
        fakeSystem->calls.clear();
    }

    /// Presses the shortcut in the active window.
    static void press(const char *keys, QWidget *window = Form1)
    {
        window->activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(window));
        QTest::keySequence(window->focusWidget() ? window->focusWidget() : window, QKeySequence(keys));
    }

    std::unique_ptr<QTemporaryDir> m_folder;
    QString m_film;
    QStringList m_boxes;
    int m_beeps = 0;
    std::unique_ptr<TForm1> m_window;
};

int main(int argc, char **argv)
{
    TApplication application(argc, argv);
    TApplication::setFont(applicationFont());
    TStyleManager::TrySetStyle(QStringLiteral("Smokey Quartz Kamri"), true);
    MainWindowTest test;
    return QTest::qExec(&test, argc, argv);
}
#include "main_window_test.moc"
