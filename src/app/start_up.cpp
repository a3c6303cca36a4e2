#include "app/start_up.h"

#include "app/application.h"
#include "app/main_window.h"
#include "export/gif_export_dialog.h"
#include "export/sqlite_export_window.h"
#include "help/about_box.h"
#include "scenes/scene_dialog.h"
#include "scenes/scene_list_window.h"
#include "widgets/application_font.h"
#include "widgets/icons.h"
#include "widgets/message_box.h"
#include "widgets/style_manager.h"

#include <QTimer>

#include <exception>

int runProgram(int argc, char **argv)
{
    TApplication application(argc, argv);
    try {
        QApplication::setFont(applicationFont());
        TStyleManager::TrySetStyle(QStringLiteral("Smokey Quartz Kamri"), true);
        TApplication::setApplicationName(QStringLiteral("Таврин"));
        TApplication::setDesktopFileName(QStringLiteral("tavrin"));

        // The main window owns the others, which end with it.
        TForm1 mainWindow;
        Form2 = new TForm2(&mainWindow);
        Form3 = new TForm3(&mainWindow);
        Form4 = new TForm4(&mainWindow);
        Form5 = new TForm5(&mainWindow);
        AboutBox = new TAboutBox(&mainWindow);
        mainWindow.show();
        // The icon is for the frame and the task bar, which can wait for the window itself.
        QTimer::singleShot(0, &application, [] { TApplication::setWindowIcon(icon("tavrin")); });
        TApplication::exec();
    } catch (const std::exception &error) {
        showError(QString::fromUtf8(error.what()));
    }
    return 0;
}
