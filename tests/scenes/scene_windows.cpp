#include "scene_windows.h"

#include "util/application_folder.h"
#include "widgets/message_box.h"

#include <QFile>
#include <QTest>

SceneWindows::SceneWindows(const QByteArray &typeList)
{
    // Without a folder of its own a test would leave its files in the current one.
    if (!folder.isValid())
        qFatal("%s", qPrintable(folder.errorString()));
    write(QStringLiteral("Tavrin.txt"), typeList);
    CurPath = folder.path();
    setMessageBoxAnswer([this](const QString &text) { messages += text; });
    initializeEngine(system, *this);
    owner.setGeometry(0, 0, 700, 500);
    dialog = std::make_unique<TForm2>(&owner);
    dialog->beep = [this] { ++beeps; };
    dialog->openAddress = [this](const QString &address) { openedAddresses += address; };
    list = std::make_unique<TForm3>(&owner);
    grid = list->StringGrid1;
}

SceneWindows::~SceneWindows()
{
    releaseEngine();
    setMessageBoxAnswer({});
    VideoPath.clear();
}

void SceneWindows::openVideo(const QString &name)
{
    VideoPath = path(name);
    QVERIFY(QFile(VideoPath).open(QIODevice::Append));
    Open(VideoPath);
    QVERIFY(OPENED);
}

QByteArray SceneWindows::content(const QString &name) const
{
    QFile file(path(name));
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("(unreadable)");
}

void SceneWindows::write(const QString &name, const QByteArray &bytes) const
{
    QFile file(path(name));
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(bytes);
}

void SceneWindows::addRow(const Scene &scene) const
{
    grid->change([&](GridCells &cells) { setScene(cells, rowForNewScene(cells), scene); });
}

QPoint SceneWindows::pointOf(int row) const
{
    return grid->visualRect(grid->model()->index(row - 1, 0)).center();
}

void SceneWindows::clickRow(int row) const
{
    QTest::mouseClick(grid->viewport(), Qt::LeftButton, Qt::NoModifier, pointOf(row));
}
