#include "app/start_up.h"

#include "app/application.h"
#include "app/main_window.h"
#include "export/gif_export_dialog.h"
#include "export/sqlite_export_window.h"
#include "help/about_box.h"
#include "platform/font_list.h"
#include "scenes/scene_dialog.h"
#include "scenes/scene_list_window.h"
#include "widgets/application_font.h"
#include "widgets/disk_wait.h"
#include "widgets/message_box.h"
#include "widgets/style_manager.h"

#include <QEvent>
#include <QEventLoop>
#include <QPixmap>
#include <QTimer>

#include <chrono>
#include <exception>
#include <thread>

namespace {

/// Returns when the window has painted itself, or after a moment without that; what the user does meanwhile waits.
void awaitPainted(QWidget &window)
{
    class PaintWatch final : public QObject {
    public:
        bool eventFilter(QObject *, QEvent *event) override
        {
            if (event->type() == QEvent::Paint)
                loop.quit();
            return false;
        }
        QEventLoop loop;
    } watch;
    window.installEventFilter(&watch);
    constexpr auto longest = std::chrono::milliseconds(500);
    QTimer::singleShot(longest, &watch.loop, &QEventLoop::quit);
    watch.loop.exec(QEventLoop::ExcludeUserInputEvents);
}

} // namespace

int runProgram(int argc, char **argv)
{
    const std::jthread fonts = readFontList();
    TApplication application(argc, argv);
    try {
        QApplication::setFont(applicationFont());
        TStyleManager::TrySetStyle(QStringLiteral("Smokey Quartz Kamri"), true);
        TApplication::setApplicationName(QStringLiteral("Таврин"));
        TApplication::setDesktopFileName(QStringLiteral("tavrin"));

        // The main window owns the others, which end with it. Without the list of scene types it does not appear.
        TForm1 mainWindow;
        const QStringList typeList = readTypeList();
        mainWindow.show();
        awaitPainted(mainWindow);
        Form2 = new TForm2(&mainWindow, typeList);
        Form3 = new TForm3(&mainWindow);
        Form4 = new TForm4(&mainWindow);
        Form5 = new TForm5(&mainWindow);
        AboutBox = new TAboutBox(&mainWindow);
        // The icon is for the frame and the task bar, which can wait.
        TApplication::setWindowIcon(QPixmap(QStringLiteral(":/app-icon/tavrin.png"), "PNG"));
        if (mainWindow.isVisible())
            TApplication::exec();
        DiskWait::endSoon();
    } catch (const std::exception &error) {
        showError(QString::fromUtf8(error.what()));
    }
    return 0;
}
