#include "scene_windows.h"

#include "failing_system.h"
#include "scenes/window_placement.h"

#include <QAction>
#include <QApplication>
#include <QHeaderView>
#include <QLineEdit>
#include <QMenu>
#include <QScreen>
#include <QTest>

#include <sys/stat.h>

class SceneListWindowTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup() { m_windows.reset(); }
    void aClickOpensTheRowAndADoubleClickSeeks();
    void theDialogStaysOutOfTheDoubleClicksWay();
    void theDialogComesUpBesideTheClick();
    void keysMoveAndDraggingSelects();
    void theCurrentRowFollowsTheRowCount();
    void menuCommandsChangeTheList();
    void theContextMenuFitsThePlace();
    void theListIsSavedBesideTheVideoAndReadBack();
    void whatFailsLeavesFileAndList();
    void bulkChangesAreOneChange();

private:
    /// Makes scenes at these positions the list and shows the window.
    void showScenes(const QStringList &positions)
    {
        m_grid->change([&](GridCells &list) { list = listOf(positions); });
        m_windows->list->show();
    }

    std::unique_ptr<SceneWindows> m_windows;
    TStringGrid *m_grid = nullptr;
};

void SceneListWindowTest::init()
{
    m_windows = std::make_unique<SceneWindows>("Диалог\n");
    m_grid = m_windows->grid;
}

void SceneListWindowTest::aClickOpensTheRowAndADoubleClickSeeks()
{
    showScenes({"1", "12.34000009,5"});
    m_windows->openVideo();
    m_windows->system.calls.clear();

    m_windows->clickRow(2);
    QVERIFY(m_windows->dialog->isVisible());
    QCOMPARE(m_windows->dialog->Edit1->text(), QString("12.34000009,5"));
    QVERIFY(m_windows->system.calls.filter("seek").isEmpty());
    QTest::mouseDClick(m_grid->viewport(), Qt::LeftButton, {}, m_windows->pointOf(2));
    QCOMPARE(m_windows->system.calls, QStringList{"seek 123400000"});

    QTest::mouseDClick(m_grid->viewport(), Qt::RightButton, {}, m_windows->pointOf(1));
    QTest::mouseDClick(m_grid->viewport(), Qt::LeftButton, {}, QPoint(300, m_grid->viewport()->height() - 5));
    QCOMPARE(m_windows->system.calls.size(), 1);

    // A number stays in its place and acts as its row.
    QWidget *numbers = m_grid->verticalHeader()->viewport();
    m_windows->dialog->close();
    QTest::mouseClick(numbers, Qt::LeftButton, {}, QPoint(10, m_windows->pointOf(1).y()));
    QCOMPARE(m_grid->Row(), 1);
    QVERIFY(m_windows->dialog->isVisible());
    QTest::mouseDClick(numbers, Qt::LeftButton, {}, QPoint(10, m_windows->pointOf(1).y()));
    QCOMPARE(m_windows->system.calls.last(), QString("seek 10000000"));
    const QPoint before = numbers->mapTo(m_windows->list.get(), QPoint(0, 0));
    m_grid->setCurrentIndex(m_grid->model()->index(0, 11));
    QCOMPARE(numbers->mapTo(m_windows->list.get(), QPoint(0, 0)), before);
    QVERIFY(m_grid->columnViewportPosition(0) < 0);
}

void SceneListWindowTest::theDialogStaysOutOfTheDoubleClicksWay()
{
    const QRect laptop(0, 30, 1366, 738);
    const QRect centred(384, 80, 598, 600);
    const auto compare = [](const QRect &frame, QPoint pointer, const QRect &available, bool possible) {
        const QRect keepClear(pointer - QPoint(24, 24), pointer + QPoint(24, 24));
        const std::optional<QRect> place = placedClearOf(keepClear, frame, available);
        QCOMPARE(place.has_value(), possible);
        if (place) {
            QVERIFY(available.contains(*place) && !place->intersects(keepClear));
            QCOMPARE(place->size(), frame.size());
            if (!frame.intersects(keepClear) && available.contains(frame))
                QCOMPARE(*place, frame);
        }
        const QRect inside = placedInside(frame, available);
        QVERIFY(inside.left() >= available.left() && inside.top() >= available.top());
    };
    for (const int x : {10, 383, 600, 683, 742, 900, 1356}) {
        for (const int y : {40, 300, 760})
            compare(centred, {x, y}, laptop, true);
    }
    compare({2000, 100, 598, 600}, {2200, 300}, {1366, 0, 1280, 1024}, true);
    compare({1200, 600, 598, 600}, {10, 10}, laptop, true);
    // A small screen with the pointer in its middle, and too small a screen.
    compare({100, 60, 598, 600}, {500, 380}, {0, 0, 1024, 768}, false);
    compare({0, 0, 598, 600}, {790, 590}, {0, 0, 800, 590}, false);
}

void SceneListWindowTest::theDialogComesUpBesideTheClick()
{
    showScenes({"1"});
    TForm2 *dialog = m_windows->dialog.get();
    const QRect screen = m_windows->owner.screen()->availableGeometry();
    m_windows->list->move(screen.topLeft());
    const auto clicked = [this] { return m_grid->viewport()->mapToGlobal(m_windows->pointOf(1)); };
    m_windows->clickRow(1);
    QVERIFY(dialog->isVisible());
    QVERIFY(!dialog->frameGeometry().contains(clicked()) && screen.contains(dialog->frameGeometry()));

    // Where it is not in the way it stays, and where it is it goes.
    const QPoint aside = dialog->pos() + QPoint(0, 20);
    dialog->move(aside);
    m_windows->clickRow(1);
    QCOMPARE(dialog->pos(), aside);
    dialog->move(screen.topLeft());
    m_windows->clickRow(1);
    QVERIFY(!dialog->frameGeometry().contains(clicked()));

    // In the middle of a small screen there is no place beside the pointer.
    dialog->close();
    m_windows->list->move(screen.center() - m_windows->pointOf(1) - QPoint(43, 43));
    m_windows->clickRow(1);
    QCOMPARE(dialog->Edit1->text(), QString("1"));
    QVERIFY(!dialog->isVisible());
    QTRY_VERIFY(dialog->isVisible());
}

void SceneListWindowTest::keysMoveAndDraggingSelects()
{
    showScenes({"1", "2", "3"});
    for (const Qt::Key key : {Qt::Key_Down, Qt::Key_Down, Qt::Key_Up, Qt::Key_3})
        QTest::keyClick(m_grid, key);
    QCOMPARE(m_grid->Row(), 2);

    const QPoint first = m_windows->pointOf(1);
    const QPoint last = m_windows->pointOf(3) + QPoint(100, 0);
    QTest::mousePress(m_grid->viewport(), Qt::LeftButton, {}, first);
    QTest::mouseMove(m_grid->viewport(), (first + last) / 2);
    QTest::mouseMove(m_grid->viewport(), last);
    QTest::mouseRelease(m_grid->viewport(), Qt::LeftButton, {}, last);
    QCOMPARE(m_grid->selectionModel()->selectedIndexes().size(), 9);
    QTest::mousePress(m_grid->viewport(), Qt::LeftButton, {}, last - QPoint(100, 0));
    QTest::mouseRelease(m_grid->viewport(), Qt::LeftButton, {}, last);
    QTest::mouseClick(m_grid->viewport(), Qt::LeftButton, Qt::ShiftModifier, last);
    QTest::mouseClick(m_grid->viewport(), Qt::LeftButton, {}, QPoint(300, m_grid->viewport()->height() - 5));
    // Beside the last column there is no row to click.
    m_windows->list->resize(1500, 375);
    QTest::mouseClick(m_grid->viewport(), Qt::LeftButton, {}, QPoint(m_grid->viewport()->width() - 5, last.y()));
    QVERIFY(!m_windows->dialog->isVisible());

    m_grid->setRow(2);
    QTest::keyClick(m_grid, Qt::Key_Return);
    QVERIFY(m_windows->dialog->isVisible());
    QCOMPARE(m_windows->dialog->Edit1->text(), QString("2"));
}

void SceneListWindowTest::theCurrentRowFollowsTheRowCount()
{
    m_windows->list->show();
    for (const int rows : {100, 101, 10}) {
        m_grid->setRowCount(rows);
        m_grid->showRow(rows - 1);
        QVERIFY(m_grid->viewport()->rect().contains(m_grid->visualRect(m_grid->model()->index(rows - 2, 0))));
        QCOMPARE(m_grid->Row(), 1);
    }
    m_grid->setRow(9);
    m_grid->setRowCount(5);
    QCOMPARE(m_grid->Row(), 4);
    m_grid->setRow(100);
    QCOMPARE(m_grid->Row(), 4);
    m_grid->setRow(-1);
    QCOMPARE(m_grid->Row(), 1);
}

void SceneListWindowTest::menuCommandsChangeTheList()
{
    showScenes({"3", "1", "2"});
    TForm3 *list = m_windows->list.get();
    list->N13->trigger();
    QCOMPARE(m_windows->rows(), QStringList({"1|1|||||2||||||", "2|2|||||3||||||", "3|3|||||1||||||"}));
    m_grid->setRow(2);
    list->N10->trigger();
    QCOMPARE(m_windows->rows(), QStringList({"1|1|||||2||||||", "2|3|||||1||||||"}));
    QCOMPARE(m_grid->Row(), 2);
    list->N10->trigger();
    list->N10->trigger();
    QCOMPARE(m_windows->rows(), QStringList{"||||||||||||"});
    showScenes({"4", "5"});
    list->N12->trigger();
    QCOMPARE(m_windows->rows(), QStringList{"||||||||||||"});
}

void SceneListWindowTest::theContextMenuFitsThePlace()
{
    showScenes({"1", "2"});
    const auto commandsAt = [](QWidget *widget, QPoint point) {
        QTest::mouseClick(widget, Qt::RightButton, {}, point);
        QContextMenuEvent event(QContextMenuEvent::Mouse, point, widget->mapToGlobal(point));
        QApplication::sendEvent(widget, &event);
        auto *menu = qobject_cast<QMenu *>(QApplication::activePopupWidget());
        if (!menu)
            return QList<QAction *>();
        menu->close();
        return menu->actions();
    };
    TForm3 *list = m_windows->list.get();
    const QList<QAction *> whole{list->Save1, list->Open1, list->N13};
    const auto compareRow = [&](const QList<QAction *> &commands, int row) {
        QVERIFY(commands.size() > whole.size() && commands.contains(list->N10) && commands.contains(list->N12));
        QCOMPARE(m_grid->Row(), row);
    };
    compareRow(commandsAt(m_grid->viewport(), m_windows->pointOf(2)), 2);
    compareRow(commandsAt(m_grid->verticalHeader()->viewport(), QPoint(5, m_windows->pointOf(1).y())), 1);
    QCOMPARE(commandsAt(m_grid->viewport(), QPoint(300, m_grid->viewport()->height() - 5)), whole);
    QCOMPARE(commandsAt(m_grid->horizontalHeader()->viewport(), QPoint(100, 5)), whole);
    QCOMPARE(commandsAt(list, QPoint(1, 1)), whole);
    QVERIFY(!m_windows->dialog->isVisible());
}

void SceneListWindowTest::theListIsSavedBesideTheVideoAndReadBack()
{
    // As long as a name can be with the ending of the scenes file.
    const QString start = "-фильм #1% 🎬";
    const QString longest = start + QString(244 - static_cast<int>(start.toUtf8().size()), 'x') + ".avi";
    // Without a video nothing is saved and nothing read.
    VideoPath = m_windows->path(longest);
    m_windows->list->Save1Click();
    QVERIFY(!QFile::exists(VideoPath + ".scenes"));
    VideoPath.clear();
    m_windows->list->Open1Click();

    m_windows->openVideo(longest);
    m_windows->list->Open1Click();
    QCOMPARE(m_windows->rows(), QStringList{"||||||||||||"});
    showScenes({"0", "0.5"});
    m_windows->list->Save1->trigger();
    const QByteArray saved = m_windows->content(longest + ".scenes");
    QVERIFY(saved.contains("<position>0.5</position>"));
    m_windows->list->N12Click();
    m_windows->list->Open1->trigger();
    QCOMPARE(m_windows->rows(), QStringList({"1||||||1||||||", "2|0.5|||||2||||||"}));

    // A video without a list leaves the rows, which are saved under its name then.
    m_windows->openVideo("other.avi");
    m_windows->list->Open1Click();
    m_windows->list->Save1Click();
    QVERIFY(m_windows->content("other.avi.scenes").contains("<position>0.5</position>"));
}

void SceneListWindowTest::whatFailsLeavesFileAndList()
{
    m_windows->openVideo();
    m_windows->write("film.avi.scenes", "old");
    showScenes(QStringList(1000, "1"));
    const QStringList before = m_windows->rows();
    const QByteArray scenesFile = QFile::encodeName(VideoPath + ".scenes");
    const QByteArray folder = QFile::encodeName(m_windows->folder.path());
    const auto refused = [this](void (TForm3::*command)(), const char *reason) {
        const QString text = refusalOf([&] { (m_windows->list.get()->*command)(); });
        QVERIFY2(text.contains(VideoPath + ".scenes") && text.contains(reason), qPrintable(text));
        QVERIFY(!QGuiApplication::overrideCursor());
    };
    refused(&TForm3::Open1Click, "строка 1");
    {
        const FullDisk disk(10'000);
        refused(&TForm3::Save1Click, "слишком велик");
    }
    QVERIFY(chmod(folder, 0555) == 0 && chmod(scenesFile, 0) == 0);
    {
        const AsOrdinaryUser user;
        refused(&TForm3::Save1Click, "нет прав доступа");
        refused(&TForm3::Open1Click, "нет прав доступа");
    }
    QVERIFY(chmod(folder, 0755) == 0 && chmod(scenesFile, 0644) == 0);
    QCOMPARE(m_windows->content("film.avi.scenes"), QByteArray("old"));
    QCOMPARE(m_windows->rows(), before);

    // A list read in part is kept from the file that it would spoil.
    const QByteArray nested = "<scenes><scene/><scene><title><b/></title></scene><scene/></scenes>";
    m_windows->write("film.avi.scenes", nested);
    refused(&TForm3::Open1Click, "в сцене 2");
    m_windows->list->Save1Click();
    QCOMPARE(m_windows->content("film.avi.scenes"), nested);

    m_windows->openVideo("folder");
    QVERIFY(QDir(m_windows->folder.path()).mkdir("folder.scenes"));
    refused(&TForm3::Save1Click, "папка");
}

void SceneListWindowTest::bulkChangesAreOneChange()
{
    QByteArray xml = "<scenes>";
    for (int i = 0; i < 5000; ++i)
        xml += "<scene><position>" + QByteArray::number(5000 - i) + "</position></scene>";
    m_windows->write("film.avi.scenes", xml + "</scenes>");
    VideoPath = m_windows->path("film.avi");
    int changes = 0;
    connect(m_grid->model(), &QAbstractItemModel::dataChanged, this, [&changes] { ++changes; });
    connect(m_grid->model(), &QAbstractItemModel::rowsInserted, this, [&changes] { ++changes; });
    m_windows->list->Open1Click();
    QCOMPARE(m_grid->RowCount(), 5001);
    QCOMPARE(changes, 2);
    m_windows->list->N13Click();
    QCOMPARE(changes, 3);
    QCOMPARE(m_grid->cell(PositionColumn, 1), QString("1"));
    m_windows->list->N10Click();
    QCOMPARE(changes, 4);
}

QTEST_MAIN(SceneListWindowTest)
#include "scene_list_window_test.moc"
