#include "scene_windows.h"

#include "failing_system.h"
#include "scenes/window_placement.h"
#include "util/user_error.h"

#include <QAction>
#include <QApplication>
#include <QHeaderView>
#include <QLineEdit>
#include <QMenu>
#include <QScreen>
#include <QTest>

#include <sys/stat.h>

namespace {

Scene sceneAtPosition(const QString &position)
{
    Scene scene;
    scene.position = position;
    return scene;
}

QString refusalOf(const std::function<void()> &command)
{
    try {
        command();
    } catch (const UserError &error) {
        return error.text();
    }
    return {};
}

} // namespace

class SceneListWindowTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup() { m_windows.reset(); }
    void theWindowIsLaidOut();
    void aClickOpensTheRowAndADoubleClickSeeks();
    void theDialogStaysOutOfTheDoubleClicksWay_data();
    void theDialogStaysOutOfTheDoubleClicksWay();
    void theDialogComesUpBesideTheClick();
    void withoutAVideoADoubleClickSeeksNothing();
    void draggingSelectsAndOpensNothing();
    void arrowsMoveAndEnterOpens();
    void numbersStayInPlaceAndActAsTheirRows();
    void theCurrentRowFollowsTheRowCount();
    void aRowJustAddedIsShownWhole();
    void menuCommandsChangeTheList();
    void theContextMenuFitsThePlace();
    void theListIsSavedBesideTheVideoAndReadBack();
    void withoutAVideoNothingIsSaved();
    void unreadableFilesLeaveTheList_data();
    void unreadableFilesLeaveTheList();
    void failedSavesLeaveFileAndList();
    void bulkChangesAreOneChange();

private:
    std::unique_ptr<SceneWindows> m_windows;
    TStringGrid *m_grid = nullptr;
};

void SceneListWindowTest::init()
{
    m_windows = std::make_unique<SceneWindows>("Диалог\n");
    m_grid = m_windows->grid;
}

void SceneListWindowTest::theWindowIsLaidOut()
{
    TForm3 *list = m_windows->list.get();
    list->show();
    QCOMPARE(list->windowTitle(), QString("Список сцен"));
    QCOMPARE(list->size(), QSize(991, 375));
    QCOMPARE(m_grid->geometry().topLeft(), QPoint(3, 3));
    QCOMPARE(m_grid->width(), 985);
    const QStringList headers{"№",         "Начало", "Период", "Тип сцены",   "Тип сцены", "Тип сцены", "Название",
                              "Персонажи", "Место",  "Время",  "Комментарий", "Широта",    "Долгота"};
    const QList<int> widths{40, 60, 60, 100, 100, 100, 150, 150, 150, 150, 150, 80, 80};
    for (int column = 0; column < sceneColumnCount; ++column) {
        QCOMPARE(m_grid->cell(column, 0), headers[column]);
        QCOMPARE(column == 0 ? m_grid->verticalHeader()->width() : m_grid->columnWidth(column - 1), widths[column]);
    }
    QCOMPARE(m_grid->rowHeight(0), 18);
    QCOMPARE(m_windows->rows(), QStringList{"||||||||||||"});
    QVERIFY(m_windows->list->windowFlags().testFlag(Qt::Dialog) && list->parentWidget() == &m_windows->owner);
}

void SceneListWindowTest::aClickOpensTheRowAndADoubleClickSeeks()
{
    m_windows->openVideo();
    m_windows->addRow(sceneAtPosition("1"));
    m_windows->addRow(sceneAtPosition("12.34"));
    m_windows->list->show();
    m_windows->system.calls.clear();

    m_windows->clickRow(2);
    QVERIFY(m_windows->dialog->isVisible());
    QCOMPARE(m_windows->dialog->Edit1->text(), QString("12.34"));
    QVERIFY(m_windows->system.calls.filter("seek").isEmpty());
    QTest::mouseDClick(m_grid->viewport(), Qt::LeftButton, {}, m_windows->pointOf(2));
    QCOMPARE(m_windows->system.calls, QStringList{"seek 123400000"});

    QTest::mouseDClick(m_grid->viewport(), Qt::RightButton, {}, m_windows->pointOf(1));
    QTest::mouseDClick(m_grid->viewport(), Qt::LeftButton, {}, QPoint(300, m_grid->viewport()->height() - 5));
    QCOMPARE(m_windows->system.calls.size(), 1);
}

void SceneListWindowTest::theDialogStaysOutOfTheDoubleClicksWay_data()
{
    QTest::addColumn<QRect>("frame");
    QTest::addColumn<QPoint>("pointer");
    QTest::addColumn<QRect>("available");
    QTest::addColumn<bool>("possible");
    const QRect laptop(0, 30, 1366, 738);
    const QRect centred(384, 80, 598, 600);
    for (const int x : {10, 383, 600, 683, 742, 900, 1356}) {
        for (const int y : {40, 300, 760})
            QTest::addRow("pointer at %d, %d", x, y) << centred << QPoint(x, y) << laptop << true;
    }
    QTest::newRow("second screen") << QRect(2000, 100, 598, 600) << QPoint(2200, 300) << QRect(1366, 0, 1280, 1024)
                                   << true;
    QTest::newRow("partly outside") << QRect(1200, 600, 598, 600) << QPoint(10, 10) << laptop << true;
    QTest::newRow("small screen, pointer in its middle") << QRect(100, 60, 598, 600) << QPoint(500, 380)
                                                         << QRect(0, 0, 1024, 768) << false;
    QTest::newRow("too small a screen") << QRect(0, 0, 598, 600) << QPoint(790, 590) << QRect(0, 0, 800, 590)
                                        << false;
}

void SceneListWindowTest::theDialogStaysOutOfTheDoubleClicksWay()
{
    QFETCH(QRect, frame);
    QFETCH(QPoint, pointer);
    QFETCH(QRect, available);
    const QRect keepClear(pointer - QPoint(24, 24), pointer + QPoint(24, 24));
    const std::optional<QRect> place = placedClearOf(keepClear, frame, available);
    QTEST(place.has_value(), "possible");
    if (place) {
        QVERIFY(available.contains(*place) && !place->intersects(keepClear));
        QCOMPARE(place->size(), frame.size());
        if (!frame.intersects(keepClear) && available.contains(frame))
            QCOMPARE(*place, frame);
    }
    const QRect inside = placedInside(frame, available);
    QVERIFY(inside.left() >= available.left() && inside.top() >= available.top());
}

void SceneListWindowTest::theDialogComesUpBesideTheClick()
{
    m_windows->addRow(sceneAtPosition("1"));
    TForm2 *dialog = m_windows->dialog.get();
    const QRect screen = m_windows->owner.screen()->availableGeometry();
    m_windows->list->move(screen.topLeft());
    m_windows->list->show();
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

void SceneListWindowTest::withoutAVideoADoubleClickSeeksNothing()
{
    m_windows->addRow(sceneAtPosition("1"));
    m_windows->list->show();
    QTest::mouseDClick(m_grid->viewport(), Qt::LeftButton, {}, m_windows->pointOf(1));
    QCOMPARE(m_windows->system.calls, QStringList());
}

void SceneListWindowTest::draggingSelectsAndOpensNothing()
{
    for (const char *position : {"1", "2", "3"})
        m_windows->addRow(sceneAtPosition(position));
    m_windows->list->show();
    QTest::mousePress(m_grid->viewport(), Qt::LeftButton, {}, m_windows->pointOf(1));
    QTest::mouseMove(m_grid->viewport(), m_windows->pointOf(2) + QPoint(100, 0));
    QTest::mouseMove(m_grid->viewport(), m_windows->pointOf(3) + QPoint(100, 0));
    QTest::mouseRelease(m_grid->viewport(), Qt::LeftButton, {}, m_windows->pointOf(3) + QPoint(100, 0));
    QCOMPARE(m_grid->selectionModel()->selectedIndexes().size(), 9);
    QTest::mouseClick(m_grid->viewport(), Qt::LeftButton, Qt::ShiftModifier, m_windows->pointOf(3));
    QTest::mouseClick(m_grid->viewport(), Qt::LeftButton, {}, QPoint(300, m_grid->viewport()->height() - 5));
    QVERIFY(!m_windows->dialog->isVisible());
}

void SceneListWindowTest::arrowsMoveAndEnterOpens()
{
    for (const char *position : {"1", "2", "3"})
        m_windows->addRow(sceneAtPosition(position));
    m_windows->list->show();
    QTest::keyClick(m_grid, Qt::Key_Down);
    QTest::keyClick(m_grid, Qt::Key_Down);
    QTest::keyClick(m_grid, Qt::Key_Up);
    QTest::keyClick(m_grid, Qt::Key_3);
    QCOMPARE(m_grid->Row(), 2);
    QVERIFY(!m_windows->dialog->isVisible());
    QTest::keyClick(m_grid, Qt::Key_Return);
    QVERIFY(m_windows->dialog->isVisible());
    QCOMPARE(m_windows->dialog->Edit1->text(), QString("2"));
}

void SceneListWindowTest::numbersStayInPlaceAndActAsTheirRows()
{
    m_windows->openVideo();
    for (const char *position : {"1", "2", "3"})
        m_windows->addRow(sceneAtPosition(position));
    m_windows->list->show();
    m_windows->system.calls.clear();
    QWidget *numbers = m_grid->verticalHeader()->viewport();
    const QPoint third(10, m_windows->pointOf(3).y());
    QTest::mouseClick(numbers, Qt::LeftButton, {}, third);
    QCOMPARE(m_grid->Row(), 3);
    QVERIFY(m_windows->dialog->isVisible());
    QCOMPARE(m_windows->dialog->Edit1->text(), QString("3"));
    QTest::mouseDClick(numbers, Qt::LeftButton, {}, third);
    QCOMPARE(m_windows->system.calls, QStringList{"seek 30000000"});

    const QPoint before = numbers->mapTo(m_windows->list.get(), QPoint(0, 0));
    m_grid->setCurrentIndex(m_grid->model()->index(0, 11));
    QCOMPARE(numbers->mapTo(m_windows->list.get(), QPoint(0, 0)), before);
    QVERIFY(m_grid->columnViewportPosition(0) < 0);
}

void SceneListWindowTest::theCurrentRowFollowsTheRowCount()
{
    m_grid->setRowCount(10);
    QCOMPARE(m_grid->Row(), 1);
    m_grid->setRow(9);
    QCOMPARE(m_grid->Row(), 9);
    m_grid->setRowCount(5);
    QCOMPARE(m_grid->Row(), 4);
    m_grid->setRow(100);
    QCOMPARE(m_grid->Row(), 4);
    m_grid->setRow(-1);
    m_grid->setRowCount(0);
    QCOMPARE(m_grid->Row(), 1);
    QCOMPARE(m_grid->RowCount(), 2);
}

void SceneListWindowTest::aRowJustAddedIsShownWhole()
{
    m_windows->list->show();
    for (const int rows : {100, 101, 102}) {
        m_grid->setRowCount(rows);
        m_grid->showRow(rows - 1);
        const QRect shown = m_grid->visualRect(m_grid->model()->index(rows - 2, 0));
        QVERIFY(m_grid->viewport()->rect().contains(shown));
        QCOMPARE(m_grid->Row(), 1);
    }
}

void SceneListWindowTest::menuCommandsChangeTheList()
{
    for (const char *position : {"3", "1", "2"})
        m_windows->addRow(sceneAtPosition(position));
    TForm3 *list = m_windows->list.get();
    list->N13->trigger();
    QCOMPARE(m_windows->rows(), QStringList({"1|1|||||||||||", "2|2|||||||||||", "3|3|||||||||||"}));
    m_grid->setRow(2);
    list->N10->trigger();
    QCOMPARE(m_windows->rows(), QStringList({"1|1|||||||||||", "2|3|||||||||||"}));
    QCOMPARE(m_grid->Row(), 2);
    list->N10->trigger();
    list->N10->trigger();
    QCOMPARE(m_windows->rows(), QStringList{"||||||||||||"});
    m_windows->addRow(sceneAtPosition("4"));
    m_windows->addRow(sceneAtPosition("5"));
    list->N12->trigger();
    QCOMPARE(m_windows->rows(), QStringList{"||||||||||||"});
}

void SceneListWindowTest::theContextMenuFitsThePlace()
{
    m_windows->addRow(sceneAtPosition("1"));
    m_windows->addRow(sceneAtPosition("2"));
    m_windows->list->show();
    const auto captionsAt = [this](QWidget *widget, QPoint point) {
        QTest::mouseClick(widget, Qt::RightButton, {}, point);
        QContextMenuEvent event(QContextMenuEvent::Mouse, point, widget->mapToGlobal(point));
        QApplication::sendEvent(widget, &event);
        QStringList captions;
        if (auto *menu = qobject_cast<QMenu *>(QApplication::activePopupWidget())) {
            for (const QAction *action : menu->actions())
                captions += action->isSeparator() ? "-" : action->text();
            menu->close();
        }
        return captions;
    };
    const QStringList whole{"Save", "Open", "Сортировка записей"};
    const QStringList row{"Save", "Open", "Сортировка записей", "-", "Удалить запись", "-", "Очистить таблицу"};
    QCOMPARE(captionsAt(m_grid->viewport(), m_windows->pointOf(2)), row);
    QCOMPARE(m_grid->Row(), 2);
    QCOMPARE(captionsAt(m_grid->verticalHeader()->viewport(), QPoint(5, m_windows->pointOf(1).y())), row);
    QCOMPARE(m_grid->Row(), 1);
    QCOMPARE(captionsAt(m_grid->viewport(), QPoint(300, m_grid->viewport()->height() - 5)), whole);
    QCOMPARE(captionsAt(m_grid->horizontalHeader()->viewport(), QPoint(100, 5)), whole);
    QCOMPARE(captionsAt(m_windows->list.get(), QPoint(1, 1)), whole);
    QVERIFY(!m_windows->dialog->isVisible());
}

void SceneListWindowTest::theListIsSavedBesideTheVideoAndReadBack()
{
    // As long as a name can be with the ending of the scenes file.
    const QString video = QString::fromUtf8("-фильм #1% 🎬").leftJustified(239, 'x').chopped(15) + ".avi";
    const QString longest = video.chopped(4) + QString(248 - static_cast<int>(video.toUtf8().size()), 'y') + ".avi";
    QCOMPARE(longest.toUtf8().size(), 248);
    m_windows->openVideo(longest);
    m_windows->list->Open1Click();
    QCOMPARE(m_windows->rows(), QStringList{"||||||||||||"});
    m_windows->addRow(sceneAtPosition("0"));
    m_windows->addRow(sceneAtPosition("0.5"));
    m_windows->list->Save1->trigger();
    const QByteArray saved = m_windows->content(longest + ".scenes");
    QVERIFY(saved.contains("<position>0.5</position>"));

    m_windows->list->N12Click();
    m_windows->list->Open1->trigger();
    QCOMPARE(m_windows->rows(), QStringList({"1||||||||||||", "2|0.5|||||||||||"}));
    QVERIFY(m_windows->list->XMLDocument1.Active());

    // A video without a list leaves the rows, which are saved under its name then.
    m_windows->openVideo("other.avi");
    m_windows->list->Open1Click();
    m_windows->list->Save1Click();
    QVERIFY(m_windows->content("other.avi.scenes").contains("<position>0.5</position>"));

    // The blank row of the empty list is a scene in the file.
    m_windows->list->N12Click();
    m_windows->list->Save1Click();
    m_windows->list->Open1Click();
    QCOMPARE(m_windows->rows(), QStringList{"1||||||||||||"});
}

void SceneListWindowTest::withoutAVideoNothingIsSaved()
{
    VideoPath = m_windows->path("film.avi");
    m_windows->list->Save1Click();
    QVERIFY(!QFile::exists(m_windows->path("film.avi.scenes")));
    VideoPath.clear();
    m_windows->list->Open1Click();
    QCOMPARE(m_windows->rows(), QStringList{"||||||||||||"});
}

void SceneListWindowTest::unreadableFilesLeaveTheList_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<int>("mode");
    QTest::addColumn<QString>("reason");
    QTest::newRow("ill-formed") << QByteArray("<scenes><scene>&</scene></scenes>") << 0644 << "строка 1";
    QTest::newRow("other root") << QByteArray("<scene/>") << 0644 << "«scene»";
    QTest::newRow("no permission") << QByteArray("<scenes/>") << 0000 << "нет прав доступа";
}

void SceneListWindowTest::unreadableFilesLeaveTheList()
{
    QFETCH(QByteArray, bytes);
    QFETCH(int, mode);
    QFETCH(QString, reason);
    m_windows->addRow(sceneAtPosition("1"));
    const QStringList before = m_windows->rows();
    m_windows->write("film.avi.scenes", bytes);
    VideoPath = m_windows->path("film.avi");
    QVERIFY(chmod(qPrintable(VideoPath + ".scenes"), static_cast<mode_t>(mode)) == 0);
    QVERIFY(chmod(qPrintable(m_windows->folder.path()), 0755) == 0);
    QString refusal;
    {
        const AsOrdinaryUser user;
        refusal = refusalOf([this] { m_windows->list->Open1Click(); });
    }
    QVERIFY2(refusal.contains(VideoPath + ".scenes") && refusal.contains(reason), qPrintable(refusal));
    QCOMPARE(m_windows->rows(), before);
    QVERIFY(!QGuiApplication::overrideCursor());
}

void SceneListWindowTest::failedSavesLeaveFileAndList()
{
    m_windows->openVideo();
    m_windows->write("film.avi.scenes", "old");
    for (int i = 0; i < 1000; ++i)
        m_windows->addRow(sceneAtPosition(QString::number(i)));
    const QStringList before = m_windows->rows();
    const auto refusal = [this] { return refusalOf([this] { m_windows->list->Save1Click(); }); };
    {
        const FullDisk disk(10'000);
        const QString text = refusal();
        QVERIFY2(text.contains("film.avi.scenes") && text.contains("слишком велик"), qPrintable(text));
    }
    QVERIFY(chmod(qPrintable(m_windows->folder.path()), 0555) == 0);
    {
        const AsOrdinaryUser user;
        const QString text = refusal();
        QVERIFY2(text.contains("film.avi.scenes") && text.contains("нет прав доступа"), qPrintable(text));
    }
    QVERIFY(chmod(qPrintable(m_windows->folder.path()), 0755) == 0);
    QCOMPARE(m_windows->content("film.avi.scenes"), QByteArray("old"));
    QCOMPARE(m_windows->rows(), before);

    VideoPath = m_windows->path("folder");
    QVERIFY(QDir(m_windows->folder.path()).mkdir("folder.scenes"));
    QVERIFY(refusal().contains("папка"));
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
