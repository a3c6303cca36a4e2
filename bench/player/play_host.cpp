// The program itself, in which somebody opens the film named on the command line as soon as it has started. When the
// window has taken the film's shape, the size of the picture is printed as "width height".

#include "app/main_window.h"
#include "app/start_up.h"
#include "widgets/open_dialog.h"

#include <QApplication>
#include <QTimer>

#include <chrono>
#include <cstdio>

namespace {

void tellPictureSize()
{
    std::printf("%d %d\n", Form1->Panel3->width(), Form1->Panel3->height());
    std::fflush(stdout);
}

void openFilm()
{
    // The main window is shown last, right before the message loop.
    if (!Form1 || !Form1->isVisible()) {
        constexpr std::chrono::milliseconds again(20);
        QTimer::singleShot(again, qApp, &openFilm);
        return;
    }
    setOpenDialogAnswer([] { return QApplication::arguments().at(1); });
    Form1->N3Click();
    constexpr std::chrono::seconds fitted(4);
    QTimer::singleShot(fitted, qApp, &tellPictureSize);
}

} // namespace

Q_COREAPP_STARTUP_FUNCTION(openFilm)

int main(int argc, char *argv[])
{
    return runProgram(argc, argv);
}
