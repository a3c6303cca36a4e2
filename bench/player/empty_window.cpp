// The least a window program on the same framework can be; start-up is measured against it.

#include <QApplication>
#include <QMainWindow>

int main(int argc, char *argv[])
{
    const QApplication application(argc, argv);
    QMainWindow window;
    window.resize(1214, 720);
    window.show();
    return QApplication::exec();
}
