#include "fake_graph.h"

#include "app/main_window.h"
#include "export/gif_export_dialog.h"
#include "export/sqlite_export_window.h"
#include "help/about_box.h"
#include "scenes/scene_dialog.h"
#include "scenes/scene_list_window.h"
#include "util/application_folder.h"

#include <QAccessible>
#include <QRadioButton>
#include <QTest>

/// What the six windows tell those who cannot see them, and what a keyboard reaches.
class AccessibilityTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void everyControlTellsItsNameAndRole_data();
    void everyControlTellsItsNameAndRole();
    void tabReachesEveryControl_data();
    void tabReachesEveryControl();

private:
    /// One row a window.
    void listWindows() const;
    /// The controls of the window that take the keyboard from Tab.
    static QList<QWidget *> controlsOf(QWidget *window);

    std::unique_ptr<TForm1> m_main;
};

namespace {

std::unique_ptr<GraphSystem> makeFakeSystem(QWidget *)
{
    return std::make_unique<FakeGraphSystem>();
}

QString describe(const QWidget *control)
{
    return QStringLiteral("%1 %2").arg(QLatin1String(control->metaObject()->className()), control->objectName());
}

} // namespace

void AccessibilityTest::initTestCase()
{
    m_main = std::make_unique<TForm1>(makeFakeSystem);
    CurPath = TAVRIN_BIN_FOLDER;
    Form2 = new TForm2(m_main.get());
    Form3 = new TForm3(m_main.get());
    Form4 = new TForm4(m_main.get());
    Form5 = new TForm5(m_main.get());
    AboutBox = new TAboutBox(m_main.get());
    m_main->show();
    QAccessible::setActive(true);
}

void AccessibilityTest::listWindows() const
{
    QTest::addColumn<QWidget *>("window");
    QTest::addColumn<int>("fewest");
    const auto row = [](const char *name, QWidget *window, int fewest) { QTest::newRow(name) << window << fewest; };
    row("main window", Form1, 12);
    row("scene dialog", Form2, 18);
    row("scene list", Form3, 1);
    row("GIF export", Form4, 3);
    row("SQLite export", Form5, 3);
    row("about box", AboutBox, 2);
}

QList<QWidget *> AccessibilityTest::controlsOf(QWidget *window)
{
    QList<QWidget *> controls = window->findChildren<QWidget *>();
    controls.removeIf([window](const QWidget *control) {
        return control->window() != window || !(control->focusPolicy() & Qt::TabFocus) || !control->isVisible() ||
               !control->isEnabled() || control->focusProxy();
    });
    return controls;
}

void AccessibilityTest::everyControlTellsItsNameAndRole_data()
{
    listWindows();
}

void AccessibilityTest::everyControlTellsItsNameAndRole()
{
    QFETCH(QWidget *, window);
    QFETCH(int, fewest);
    window->show();
    QVERIFY(!QAccessible::queryAccessibleInterface(window)->text(QAccessible::Name).isEmpty());
    const QList<QWidget *> controls = controlsOf(window);
    QVERIFY2(controls.size() >= fewest, qPrintable(QString::number(controls.size())));
    for (const QWidget *control : controls) {
        QAccessibleInterface *spoken = QAccessible::queryAccessibleInterface(const_cast<QWidget *>(control));
        QVERIFY2(spoken, qPrintable(describe(control)));
        const QString name = spoken->text(QAccessible::Name);
        // A sign such as ">" is no name.
        QVERIFY2(std::any_of(name.cbegin(), name.cend(), [](QChar c) { return c.isLetter(); }),
                 qPrintable(describe(control)));
        QVERIFY2(spoken->role() != QAccessible::NoRole && spoken->role() != QAccessible::Client,
                 qPrintable(describe(control)));
    }
    if (window != Form1)
        window->hide();
}

void AccessibilityTest::tabReachesEveryControl_data()
{
    listWindows();
}

void AccessibilityTest::tabReachesEveryControl()
{
    QFETCH(QWidget *, window);
    window->show();
    window->activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(window));
    QList<QWidget *> missing = controlsOf(window);
    // Of a group of radio buttons Tab reaches the chosen one, arrows the others.
    missing.removeIf([](const QWidget *control) {
        const auto *choice = qobject_cast<const QRadioButton *>(control);
        return choice && !choice->isChecked();
    });
    for (qsizetype presses = 2 * missing.size() + 2; presses > 0 && !missing.isEmpty(); --presses) {
        if (QWidget *reached = window->focusWidget())
            missing.removeOne(reached);
        QTest::keyClick(window->focusWidget() ? window->focusWidget() : window, Qt::Key_Tab);
    }
    QVERIFY2(missing.isEmpty(), missing.isEmpty() ? "" : qPrintable(describe(missing.first())));
    if (window != Form1)
        window->hide();
}

QTEST_MAIN(AccessibilityTest)
#include "accessibility_test.moc"
