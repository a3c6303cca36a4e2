#include "fake_graph.h"

#include "app/main_window.h"
#include "scenes/scene_dialog.h"
#include "scenes/scene_list_window.h"
#include "util/application_folder.h"

#include <QApplication>
#include <QClipboard>
#include <QElapsedTimer>
#include <QLineEdit>
#include <QProcess>
#include <QTest>

#include <csignal>
#include <cstdio>

/// The windows on an X display whose clipboard another program holds, which hangs.
class HungClipboardTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void aFieldDoesNotWaitForIt()
    {
        QProcess owner;
        owner.start(QCoreApplication::applicationFilePath(), {"own"});
        QVERIFY(owner.waitForReadyRead());

        TForm1 window([](QWidget *) -> std::unique_ptr<GraphSystem> { return std::make_unique<FakeGraphSystem>(); });
        int beeps = 0;
        window.beep = [&beeps] { ++beeps; };
        CurPath = TAVRIN_BIN_FOLDER;
        Form2 = new TForm2(&window);
        Form3 = new TForm3(&window);
        Form2->show();
        QVERIFY(QTest::qWaitForWindowExposed(Form2));
        QLineEdit *title = Form2->Edit3;
        QTest::keyClick(title, Qt::Key_V, Qt::ControlModifier);
        QCOMPARE(title->text(), QString("из другой программы"));

        QCOMPARE(kill(static_cast<pid_t>(owner.processId()), SIGSTOP), 0);
        const auto millisecondsOf = [](const auto &action) {
            QElapsedTimer clock;
            clock.start();
            action();
            return clock.elapsed();
        };
        const qint64 frameworks = millisecondsOf([] { static_cast<void>(QGuiApplication::clipboard()->text()); });
        title->setText("своё");
        const qint64 ours = millisecondsOf([&] { QTest::keyClick(title, Qt::Key_V, Qt::ControlModifier); });
        QVERIFY2(ours < frameworks / 2, qPrintable(QString("%1 ms of %2").arg(ours).arg(frameworks)));
        QVERIFY(title->text() == "своё" && beeps == 1);
        owner.kill();
        owner.waitForFinished();
    }
};

int main(int argc, char *argv[])
{
    QApplication application(argc, argv);
    if (application.arguments().contains("own")) {
        QGuiApplication::clipboard()->setText("из другой программы");
        QCoreApplication::processEvents();
        std::puts("mine");
        std::fflush(stdout);
        return QApplication::exec();
    }
    HungClipboardTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "hung_clipboard_test.moc"
