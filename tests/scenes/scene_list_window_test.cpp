#include "scene_windows.h"

#include "failing_system.h"
#include "random_seed.h"
#include "scenes/find_bar.h"
#include "scenes/list_history.h"

#include <QAction>
#include <QApplication>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QPushButton>
#include <QScreen>
#include <QStatusBar>
#include <QTest>
#include <QToolTip>

#include <random>

class SceneListWindowTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup() { m_windows.reset(); }
    void aClickOpensTheRowAndADoubleClickSeeks();
    void theDialogComesUpBesideTheClick();
    void keysMoveAndDraggingSelects();
    void menuCommandsChangeTheList();
    void theContextMenuFitsThePlace();
    void theListIsSavedBesideTheVideoAndReadBack();
    void whatFailsLeavesFileAndList();
    void theDialogShowsTheRowThatItOverwrites();
    void everyChangeCanBeTakenBackAndMadeAgain();
    void typingIsTakenBackFirst();
    void theStatusBarTellsHowThingsStand();
    void keysFindAndSeek();

private:
    /// Makes scenes at these positions the list and shows the window.
    void showScenes(const QStringList &positions)
    {
        m_grid->change([&](GridCells &list) { list = listOf(positions); });
        m_windows->list->show();
    }

    /// The text of the status bar's place with this name.
    [[nodiscard]] QString told(const char *name) const
    {
        return m_windows->list->StatusBar1->findChild<QLabel *>(QLatin1String(name))->text();
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
    // Without a film nothing is saved and nothing read.
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

    m_windows->list->Save1Click();
    const QByteArray own = m_windows->content(longest + ".scenes");

    // What another program has written meanwhile is replaced, but not lost.
    m_windows->write(longest + ".scenes", "<scenes><scene><title>foreign</title></scene></scenes>");
    m_windows->list->Save1Click();
    QVERIFY(told("Fact").contains("Ctrl+Shift+Z") && m_windows->content(longest + ".scenes") == own);
    m_windows->list->Redo->trigger();
    QCOMPARE(m_windows->rows(), QStringList{"1||||||foreign||||||"});
    m_windows->list->Undo->trigger();
    m_windows->write(longest + ".scenes", "no list");
    m_windows->list->Save1Click();
    QVERIFY(told("Fact").contains("заменены") && m_windows->content(longest + ".scenes") == own);

    // A film without a list leaves the rows, which are saved under its name then.
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
    const QString scenesFile = VideoPath + ".scenes";
    const QString folder = m_windows->folder.path();
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
    QVERIFY(QFile::setPermissions(folder, QFile::Permissions(0x5555)) && QFile::setPermissions(scenesFile, {}));
    {
        const AsOrdinaryUser user;
        refused(&TForm3::Save1Click, "нет прав доступа");
        refused(&TForm3::Open1Click, "нет прав доступа");
    }
    QVERIFY(QFile::setPermissions(folder, QFile::Permissions(0x7755))
            && QFile::setPermissions(scenesFile, QFile::Permissions(0x6644)));
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

void SceneListWindowTest::theDialogShowsTheRowThatItOverwrites()
{
    m_windows->openVideo();
    TForm3 *list = m_windows->list.get();
    TForm2 *dialog = m_windows->dialog.get();
    QWidget *cells = m_grid->viewport();
    const auto pointOf = [this](int row) { return m_windows->pointOf(row); };
    const std::pair<const char *, std::function<void()>> gestures[] = {
        {"right click and Esc",
         [&] {
             QTest::mouseClick(cells, Qt::RightButton, {}, pointOf(3));
             QContextMenuEvent event(QContextMenuEvent::Mouse, pointOf(3), cells->mapToGlobal(pointOf(3)));
             QApplication::sendEvent(cells, &event);
             QTest::keyClick(QApplication::activePopupWidget(), Qt::Key_Escape);
         }},
        {"right click on the number",
         [&] {
             QTest::mouseClick(m_grid->verticalHeader()->viewport(), Qt::RightButton, {}, QPoint(5, pointOf(3).y()));
         }},
        {"Ctrl+click", [&] { QTest::mouseClick(cells, Qt::LeftButton, Qt::ControlModifier, pointOf(3)); }},
        {"Shift+click", [&] { QTest::mouseClick(cells, Qt::LeftButton, Qt::ShiftModifier, pointOf(3)); }},
        {"drag",
         [&] {
             QTest::mousePress(cells, Qt::LeftButton, {}, pointOf(3));
             QTest::mouseMove(cells, pointOf(3) + QPoint(60, 0));
             QTest::mouseRelease(cells, Qt::LeftButton, {}, pointOf(3) + QPoint(60, 0));
         }},
        {"Down", [&] { QTest::keyClick(m_grid, Qt::Key_Down); }},
        {"End", [&] { QTest::keyClick(m_grid, Qt::Key_End, Qt::ControlModifier); }},
        {"click", [&] { m_windows->clickRow(3); }},
        {"click on the same row", [&] { m_windows->clickRow(1); }},
        {"find",
         [&] {
             list->Find->trigger();
             QTest::keyClicks(list->findBar->edit, "20");
         }},
        {"sort", [&] { list->N13->trigger(); }},
        {"delete", [&] { list->N10->trigger(); }},
        {"clear", [&] { list->N12->trigger(); }},
        {"read", [&] { list->Open1->trigger(); }},
        {"scene start", [&] { dialog->describeNewScene("7"); }},
        {"empty", [&] { QTest::mouseClick(dialog->BitBtn3, Qt::LeftButton); }},
    };
    for (const bool hidden : {false, true}) {
        for (const auto &[name, gesture] : gestures) {
            list->N12Click();
            for (const char *position : {"30", "10", "20"})
                m_windows->addRow(
                    sceneWith({{&Scene::position, position}, {&Scene::type, "Диалог"}, {&Scene::title, position}}));
            m_windows->write("film.avi.scenes", "<scenes><scene><position>9</position></scene></scenes>");
            list->show();
            m_windows->clickRow(1);
            QTRY_VERIFY(dialog->isVisible());
            QTest::keyClicks(dialog->Edit7, "typed");
            dialog->setVisible(!hidden);
            gesture();
            if (!dialog->isAdding() && dialog->ListBox1->ItemIndex() >= 0) {
                QCOMPARE(dialog->Edit1->text(), m_grid->cell(PositionColumn, m_grid->Row()));
                QStringList others = m_windows->rows();
                QTest::mouseClick(dialog->BitBtn1, Qt::LeftButton);
                others[m_grid->Row() - 1] = m_windows->rows().at(m_grid->Row() - 1);
                QCOMPARE(m_windows->rows(), others);
            }
            // The text is there again, for the scene that it was typed for.
            for (int steps = 0; steps < 3 && dialog->Edit7->text() != "typed"; ++steps)
                list->history->undo();
            QVERIFY2(dialog->Edit7->text() == "typed" && !dialog->isAdding(), name);
            QCOMPARE(m_grid->cell(PositionColumn, m_grid->Row()), QString("30"));
        }
    }
}

void SceneListWindowTest::everyChangeCanBeTakenBackAndMadeAgain()
{
    m_windows->openVideo();
    TForm3 *list = m_windows->list.get();
    TForm2 *dialog = m_windows->dialog.get();
    list->show();
    std::mt19937 random(randomSeed());
    const auto upTo = [&random](int count) { return static_cast<int>(random() % static_cast<unsigned>(count)); };
    const auto confirm = [&] {
        dialog->ListBox1->choose("Диалог");
        QTest::mouseClick(dialog->BitBtn1, Qt::LeftButton);
    };
    // The model is a copy of the whole list for every state that it has had.
    std::vector<QStringList> states{m_windows->rows()};
    std::size_t at = 0;
    const auto go = [&](bool back) {
        const bool possible = back ? at > 0 : at + 1 < states.size();
        // Texts of the dialog are steps too.
        for (int steps = 0; possible && steps < 20 && m_windows->rows() == states[at]; ++steps)
            back ? list->history->undo() : list->history->redo();
        if (possible)
            at = back ? at - 1 : at + 1;
        QCOMPARE(m_windows->rows(), states[at]);
    };
    // A text that something takes the place of is a new step, after which there is none to make again.
    const auto leaveText = [&] {
        if (dialog->state().isChanged())
            states.resize(at + 1);
    };
    for (int i = 0; i < 60; ++i) {
        const int choice = upTo(12);
        leaveText();
        m_grid->setRow(1 + upTo(m_grid->RowCount() - 1));
        if (choice < 3) {
            dialog->describeNewScene(QString::number(upTo(50)));
            confirm();
        } else if (choice < 5) {
            list->StringGrid1Click();
            dialog->Edit3->setText(QString::number(i));
            // Not every text is saved.
            if (upTo(2) == 0)
                confirm();
        } else if (choice == 5) {
            list->N10Click();
        } else if (choice == 6) {
            list->N13Click();
        } else if (choice == 7 && upTo(3) == 0) {
            list->N12Click();
        } else if (choice == 8 && upTo(2) == 0) {
            m_windows->write("film.avi.scenes",
                             "<scenes><scene/><scene><title>" + QByteArray::number(i) + "</title></scene></scenes>");
            list->Open1Click();
        } else if (!dialog->state().isChanged() && at + 1 < states.size() && upTo(2) == 0) {
            go(false);
        } else {
            go(true);
        }
        if (m_windows->rows() != states[at]) {
            states.resize(at + 1);
            states.push_back(m_windows->rows());
            ++at;
        }
        if (!dialog->isAdding() && !dialog->state().isChanged())
            QCOMPARE(dialog->Edit3->text(), m_grid->cell(TitleColumn, m_grid->Row()));
    }
    leaveText();
    while (at > 0)
        go(true);
    while (at + 1 < states.size())
        go(false);

    // A hundred steps.
    list->N12Click();
    for (int i = 0; i < 130; ++i)
        list->history->add(sceneWith({{&Scene::title, QString::number(i)}}));
    for (int i = 0; i < 130; ++i)
        list->history->undo();
    QCOMPARE(m_grid->RowCount(), 31);

    // Fewer where they keep much memory, but one at the least. The rows share their text, so that the test keeps little.
    const QString megabytes = QString(1'000'000, 'x');
    const auto replaceBy = [&](int rows, int number) {
        GridCells cells(sceneColumnCount);
        cells.setRowCount(rows + 1);
        for (int row = 1; row <= rows; ++row)
            for (int column = PositionColumn; column < sceneColumnCount; ++column)
                cells.setCell(column, row, megabytes);
        cells.setCell(NumberColumn, 1, QString::number(number));
        list->history->replace(std::move(cells), {});
    };
    const auto undoAll = [&] {
        for (int i = 0; i < 10; ++i)
            list->history->undo();
        return m_grid->cell(NumberColumn, 1);
    };
    dialog->describeNewScene("1");
    for (int number = 101; number <= 105; ++number)
        replaceBy(10, number);
    QCOMPARE(undoAll(), QString("103"));
    replaceBy(50, 106);
    list->N12Click();
    QCOMPARE(undoAll(), QString("106"));
}

void SceneListWindowTest::typingIsTakenBackFirst()
{
    m_windows->openVideo();
    TForm2 *dialog = m_windows->dialog.get();
    m_windows->addRow(sceneWith({{&Scene::position, "1"}, {&Scene::type, "Диалог"}, {&Scene::title, "a"}}));
    m_windows->list->show();
    const auto press = [dialog](Qt::KeyboardModifiers more = {}) {
        dialog->activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(dialog));
        QTest::keyClick(dialog->focusWidget(), Qt::Key_Z, Qt::ControlModifier | more);
    };
    m_windows->clickRow(1);
    dialog->Edit3->setFocus();
    QTest::keyClick(dialog->Edit3, Qt::Key_End);
    QTest::keyClicks(dialog->Edit3, "b");
    QTest::keyClick(dialog->Edit3, Qt::Key_Return);
    QCOMPARE(m_grid->cell(TitleColumn, 1), QString("ab"));
    QTest::keyClicks(dialog->Edit3, "c");
    press();
    QVERIFY(dialog->Edit3->text() == "ab" && m_grid->cell(TitleColumn, 1) == "ab");
    // The field that has the focus has nothing left of its own.
    dialog->Edit4->setFocus();
    press();
    QCOMPARE(m_grid->cell(TitleColumn, 1), QString("a"));
    QCOMPARE(dialog->Edit3->text(), QString("ab"));
    press(Qt::ShiftModifier);
    QCOMPARE(m_grid->cell(TitleColumn, 1), QString("ab"));
    press();
    // With Enter the text that came back is saved again.
    QTest::keyClick(dialog->Edit4, Qt::Key_Return);
    QCOMPARE(m_grid->cell(TitleColumn, 1), QString("ab"));
}

void SceneListWindowTest::theStatusBarTellsHowThingsStand()
{
    TForm3 *list = m_windows->list.get();
    const auto tells = [this](const char *fact) {
        m_windows->list->followFilm();
        return told("State").contains(QString::fromUtf8(fact));
    };
    QVERIFY(tells("Сцен: 0") && tells("Фильм не открыт: список не сохранить"));
    list->Save1Click();
    QCOMPARE(told("Fact"), QString("Фильм не открыт: список не сохранить"));
    m_windows->openVideo();
    QVERIFY(!tells("Фильм"));
    m_windows->dialog->describeNewScene("1");
    QTRY_VERIFY(tells("Описывается новая сцена"));
    m_windows->dialog->ListBox1->choose("Диалог");
    QTest::mouseClick(m_windows->dialog->BitBtn1, Qt::LeftButton);
    list->Save1Click();
    QVERIFY(tells("Сцен: 1") && tells("film.avi.scenes") && tells("Сохранён") && told("Fact") == "Список сохранён");
    m_windows->clickRow(1);
    QTRY_VERIFY(tells("Редактируется сцена 1"));
    m_windows->dialog->Edit3->setText("R&D");
    QTest::mouseClick(m_windows->dialog->BitBtn1, Qt::LeftButton);
    list->Save1Click();
    for (const char *part : {"сцены 1", "«Название»", "«&»"})
        QVERIFY2(told("Fact").contains(part), qPrintable(told("Fact")));
    m_windows->dialog->close();
    QTRY_VERIFY(!tells("Редактируется"));
    m_windows->openVideo("other.avi");
    QVERIFY(tells("Список пришёл с другим фильмом: film.avi"));
    list->Save1Click();
    QVERIFY(!tells("с другим фильмом"));
    Teardown();
    QVERIFY(tells("Фильм не открыт: список не сохранить"));
}

void SceneListWindowTest::keysFindAndSeek()
{
    m_windows->openVideo();
    int second = 2;
    for (const char *title : {"Замок", "мост", "ЗАМОК <b>", "река"})
        m_windows->addRow(sceneWith(
            {{&Scene::position, QString::number(second++)}, {&Scene::length, "1.5"}, {&Scene::comment, title}}));
    TForm3 *list = m_windows->list.get();
    list->show();
    list->activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(list));
    const auto press = [](Qt::Key key, Qt::KeyboardModifiers with = {}) {
        QTest::keyClick(QApplication::focusWidget(), key, with);
    };
    m_grid->setFocus();
    press(Qt::Key_F, Qt::ControlModifier);
    list->findBar->edit->insert("замо");
    QTest::keyClicks(list->findBar->edit, "x");
    QVERIFY(told("Fact").contains("Не найдено"));
    QTest::keyClick(list->findBar->edit, Qt::Key_Backspace);
    QVERIFY(list->findBar->edit->hasFocus() && m_grid->Row() == 1);
    for (const int row : {3, 1}) {
        press(Qt::Key_Return);
        QCOMPARE(m_grid->Row(), row);
    }
    press(Qt::Key_Return, Qt::ShiftModifier);
    QCOMPARE(m_grid->Row(), 3);
    m_windows->system.calls.clear();
    press(Qt::Key_Return, Qt::ControlModifier);
    QCOMPARE(m_windows->system.calls, QStringList{"seek 40000000"});
    QTest::keyClicks(list->findBar->edit, "!");
    QVERIFY(m_grid->Row() == 3 && told("Fact").contains("Не найдено"));
    press(Qt::Key_Escape);
    QVERIFY(!list->findBar->isVisible() && m_grid->hasFocus() && !m_windows->dialog->isVisible());

    // Of the scenes that play the one that began last is tinted.
    for (const auto &[moment, row] :
         {std::pair(0, 0), std::pair(20'000'000, 1), std::pair(34'999'999, 2), std::pair(65'000'000, 0)}) {
        ::pos = moment;
        list->followFilm();
        QCOMPARE(m_grid->playingRow(), row);
    }

    // A cut text is whole in the hint, and never markup.
    const auto hintAt = [this](int row, int column) {
        QToolTip::hideText();
        const QPoint point = m_grid->visualRect(m_grid->model()->index(row - 1, column - 1)).center();
        QHelpEvent event(QEvent::ToolTip, point, m_grid->viewport()->mapToGlobal(point));
        QApplication::sendEvent(m_grid->viewport(), &event);
        return QToolTip::text();
    };
    m_grid->setCell(TitleColumn, 1, "<b>" + QString("слово ").repeated(30));
    QVERIFY(hintAt(1, LengthColumn).isEmpty());
    QVERIFY2(hintAt(1, TitleColumn).contains("&lt;b&gt;"), qPrintable(QToolTip::text()));
}

QTEST_MAIN(SceneListWindowTest)
#include "scene_list_window_test.moc"
