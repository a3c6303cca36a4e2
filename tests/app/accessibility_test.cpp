#include "fake_graph.h"

#include "app/main_window.h"
#include "export/gif_export_dialog.h"
#include "export/sqlite_export_window.h"
#include "help/about_box.h"
#include "scenes/scene_dialog.h"
#include "scenes/scene_list_window.h"
#include "util/application_folder.h"
#include "widgets/application_font.h"
#include "widgets/style_manager.h"

#include <QAccessible>
#include <QApplication>
#include <QDebug>
#include <QGroupBox>
#include <QPushButton>
#include <QRadioButton>
#include <QStyleOption>
#include <QTest>

/// What the six windows tell those who cannot see them, what a keyboard reaches, and whether what is seen is whole.
class AccessibilityTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void tabReachesEveryControlAndItTellsItsName();
    void everyCaptionOfTheMainWindowFits();

private:
    std::unique_ptr<TForm1> m_main;
};

namespace {

/// The controls of the window that take the keyboard from Tab.
QList<QWidget *> controlsOf(QWidget *window)
{
    QList<QWidget *> controls = window->findChildren<QWidget *>();
    controls.removeIf([window](const QWidget *control) {
        return control->window() != window || !(control->focusPolicy() & Qt::TabFocus) || !control->isVisible() ||
               !control->isEnabled() || control->focusProxy();
    });
    return controls;
}

} // namespace

void AccessibilityTest::initTestCase()
{
    QVERIFY(TStyleManager::TrySetStyle(QStringLiteral("Smokey Quartz Kamri")));
    QApplication::setFont(applicationFont());
    m_main = std::make_unique<TForm1>(
        [](QWidget *) -> std::unique_ptr<GraphSystem> { return std::make_unique<FakeGraphSystem>(); });
    CurPath = TAVRIN_BIN_FOLDER;
    Form2 = new TForm2(m_main.get());
    Form3 = new TForm3(m_main.get());
    Form4 = new TForm4(m_main.get());
    Form5 = new TForm5(m_main.get());
    AboutBox = new TAboutBox(m_main.get());
    m_main->show();
    QAccessible::setActive(true);
}

void AccessibilityTest::tabReachesEveryControlAndItTellsItsName()
{
    // Each window with the fewest controls it may have.
    const std::pair<QWidget *, int> windows[] = {{Form1, 12}, {Form2, 18}, {Form3, 1},
                                                 {Form4, 3},  {Form5, 3},  {AboutBox, 2}};
    for (const auto &[window, fewest] : windows) {
        window->show();
        window->activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(window));
        QVERIFY(!QAccessible::queryAccessibleInterface(window)->text(QAccessible::Name).isEmpty());
        QList<QWidget *> missing = controlsOf(window);
        QVERIFY2(missing.size() >= fewest, qPrintable(window->windowTitle()));
        for (QWidget *control : missing) {
            QAccessibleInterface *spoken = QAccessible::queryAccessibleInterface(control);
            const QString name = spoken ? spoken->text(QAccessible::Name) : QString();
            // A sign such as ">" is no name.
            QVERIFY2(std::any_of(name.cbegin(), name.cend(), [](QChar c) { return c.isLetter(); }) &&
                         spoken->role() != QAccessible::NoRole && spoken->role() != QAccessible::Client,
                     qPrintable(window->windowTitle() + QDebug::toString(control)));
        }
        // Of a group of radio buttons Tab reaches the chosen one, arrows the others.
        missing.removeIf([](const QWidget *control) {
            const auto *choice = qobject_cast<const QRadioButton *>(control);
            return choice && !choice->isChecked();
        });
        for (qsizetype presses = 2 * missing.size() + 2; presses > 0 && !missing.isEmpty(); --presses) {
            missing.removeOne(window->focusWidget());
            QTest::keyClick(window->focusWidget() ? window->focusWidget() : window, Qt::Key_Tab);
        }
        QVERIFY2(missing.isEmpty(), qPrintable(window->windowTitle() + QDebug::toString(missing)));
        if (window != Form1)
            window->hide();
    }
}

void AccessibilityTest::everyCaptionOfTheMainWindowFits()
{
    const auto buttons = Form1->findChildren<QPushButton *>();
    QVERIFY(buttons.size() >= 10);
    for (const QPushButton *button : buttons) {
        QStyleOptionButton option;
        option.initFrom(button);
        const QRect room = button->style()->subElementRect(QStyle::SE_PushButtonContents, &option, button);
        QVERIFY2(option.fontMetrics.horizontalAdvance(button->text()) <= room.width(), qPrintable(button->text()));
    }
    Form1->GroupBox1->setTitle(QStringLiteral("Скорость: 5.5"));
    Form1->GroupBox3->setTitle(QStringLiteral("Громкость: 100%"));
    for (const QGroupBox *group : Form1->findChildren<QGroupBox *>()) {
        QStyleOptionGroupBox option;
        option.initFrom(group);
        option.text = group->title();
        const QRect room =
            group->style()->subControlRect(QStyle::CC_GroupBox, &option, QStyle::SC_GroupBoxLabel, group);
        QVERIFY2(option.fontMetrics.horizontalAdvance(option.text) <= room.width(), qPrintable(option.text));
    }
}

QTEST_MAIN(AccessibilityTest)
#include "accessibility_test.moc"
