#include "films/film_maker.h"
#include "films/film_witness.h"
#include "gif_witness.h"
#include "random_seed.h"
#include "started_process.h"

#include "app/main_window.h"
#include "app/start_up.h"
#include "export/gif_export_dialog.h"
#include "export/radio_group.h"
#include "export/sqlite_export_window.h"
#include "help/about_box.h"
#include "player/playback_engine.h"
#include "player/player_state.h"
#include "scenes/scene_dialog.h"
#include "scenes/scene_list_window.h"
#include "scenes/string_grid.h"
#include "widgets/message_box.h"
#include "widgets/open_dialog.h"

#include <QApplication>
#include <QDir>
#include <QLineEdit>
#include <QPushButton>
#include <QRandomGenerator>
#include <QScreen>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>

#include <algorithm>
#include <cmath>
#include <functional>

namespace {

const QStringList groups{
    "-c:v", "libx264",  "-preset", "veryfast",     "-crf",
    "18",   "-pix_fmt", "yuv420p", "-x264-params", "keyint=250:min-keyint=250:scenecut=0:bframes=3:b-adapt=0"};

/// Pictures whose numbers lie in the square that a GIF shows.
const FilmSpec squareFilm{.file = "square.mp4", .size = {400, 400}, .frames = 500, .video = groups};
const FilmSpec wideFilm{.file = "wide.mp4",
                        .size = {360, 360},
                        .frames = 500,
                        .rate = "24000/1001",
                        .video = QStringList{"-vf", "pad=640:360"} + groups,
                        .audio = {}};
const FilmSpec plainFilm{.file = "plain.avi",
                         .size = {320, 320},
                         .frames = 500,
                         .rate = "30/1",
                         .video = {"-vf", "pad=320:400", "-c:v", "mpeg4", "-q:v", "3", "-g", "250"}};

/// A film whose pictures are as large as a GIF's.
FilmSpec markedFilm(const QString &suffix, const QString &rate)
{
    const bool mpeg4 = suffix == "avi";
    const QString video = mpeg4 ? "-c:v mpeg4 -q:v 3 -g 50" : "-c:v mpeg2video -q:v 3 -g 15 -bf 2";
    const bool h264 = suffix == "mp4" || suffix == "mkv";
    return {.file = "marked_" + QString(rate).replace('/', '_') + '.' + suffix,
            .size = {200, 200},
            .rate = rate,
            .video = h264 ? groups : video.split(' ')};
}

/// A key, to the main window; waits for the picture that it asks for, without which the next key would mean another.
void press(Qt::Key key, Qt::KeyboardModifiers modifiers = Qt::ControlModifier)
{
    Form1->activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(Form1));
    QTest::keyClick(Form1, key, modifiers);
    QVERIFY(QTest::qWaitFor(IsSettled, 10'000));
}

/// Does `work` inside the message loop of the window that a key or a click is about to open modally.
void onceOpen(QWidget *window, const std::function<void()> &work)
{
    QTimer::singleShot(0, window, [=] {
        if (window->isVisible())
            work();
        else
            onceOpen(window, work);
    });
}

/// Adds the scene that the scene dialog shows.
void addShownScene(const QString &title)
{
    QVERIFY(Form2->isVisible());
    Form2->ListBox1->setCurrentRow(0);
    Form2->Edit3->setText(title);
    QTest::mouseClick(Form2->BitBtn1, Qt::LeftButton);
}

/// Marks a scene from here on and leaves the film at its end.
void addScene(int seconds)
{
    press(Qt::Key_B);
    for (int i = 0; i < seconds; ++i)
        press(Qt::Key_F6, {});
    press(Qt::Key_E);
    addShownScene("");
}

void addScene(const QString &position, const QString &length, const QString &title)
{
    press(Qt::Key_B);
    Form2->Edit1->setText(position);
    Form2->Edit2->setText(length);
    addShownScene(title);
}

/// The pictures of the film that a GIF shows, -1 for what is none.
QList<int> picturesIn(const QString &gif)
{
    QFile file(gif);
    QList<int> shown;
    if (file.open(QIODevice::ReadOnly)) {
        for (const QImage &picture : gifPictures(file.readAll()))
            shown += paintedFrameNumber(picture).value_or(-1);
    }
    return shown;
}

} // namespace

/// The program from its start to its end, driven inside its own message loop: a film is opened, scenes are marked and
/// described, exported as GIFs and as a database, and what was made is read by other programs.
class WholeRoadTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        setMessageBoxAnswer([this](const QString &text) { m_messages += text; });
        QVERIFY(QTest::qWaitForWindowActive(Form1));
    }

    void exportsShowTheMarkedPictures_data()
    {
        QTest::addColumn<QString>("film");
        QTest::addColumn<double>("rate");
        QTest::newRow("MP4 with B pictures") << makeFilm(squareFilm) << 25.0;
        QTest::newRow("24000/1001, wide") << makeFilm(wideFilm) << 24000.0 / 1001;
        QTest::newRow("AVI, high") << makeFilm(plainFilm) << 30.0;
    }

    void exportsShowTheMarkedPictures()
    {
        QFETCH(const QString, film);
        QFETCH(const double, rate);
        const QTemporaryDir folder;
        const QString opened = open(film, folder);
        QVERIFY(!opened.isEmpty() && PAUSED);
        press(Qt::Key_F6, {});
        press(Qt::Key_F5, {});
        addScene(2);
        addScene(3);
        addScene("12.34", "2.5", "Ночь");
        addScene("3,9", "1", "с запятой");
        addScene("1000", "1", "за концом");
        addScene("5", "0", "пустая");
        press(Qt::Key_S);
        QCOMPARE(exportBy(Qt::Key_G, Form4, Form4->BitBtn1), finished);
        QCOMPARE(exportBy(Qt::Key_L, Form5, Form5->BitBtn2), finished);
        // For same_outcome_test.
        (void)outputOf("sh", {"-c", R"(rm -rf "$2"; mkdir -p "$2"; cp -r "$1".* "$2")", "sh", opened,
                              QString(TAVRIN_OUTCOME_FOLDER) + '/' + QFileInfo(film).fileName()});

        // Every scene's GIF shows the pictures of its moments; what is asked for behind the end is the last picture.
        QStringList expectedRows;
        QStringList files;
        const GridCells &list = Form3->StringGrid1->cells();
        QCOMPARE(list.RowCount(), 7);
        for (int row = 1; row < list.RowCount(); ++row) {
            const Scene scene = sceneAt(list, row);
            const QString name = scene.position + '_' + scene.length + ".gif";
            const QString gif = opened + ".images/" + name;
            const double start = scene.position == "3,9" ? 3 : scene.position.toDouble();
            QList<int> expected;
            for (int second = 0; second < std::ceil(scene.length.toDouble()); ++second)
                expected += std::min(499, static_cast<int>(rate * (start + second)));
            QCOMPARE(picturesIn(gif), expected);
            files += name;
            expectedRows += QString("%1|%2|%3|%4").arg(row).arg(scene.title).arg(start).arg(QFileInfo(gif).size());
        }
        const QByteArray rows = outputOf(
            "sqlite3", {opened + ".db", "select id, title, printf('%.15g', position), length(image) from scenes"});
        QCOMPARE(QString::fromUtf8(rows).split('\n', Qt::SkipEmptyParts), expectedRows);

        // Nothing else lies beside the film.
        const auto everythingIn = [](const QString &path) {
            return QDir(path).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot);
        };
        files.sort();
        QCOMPARE(everythingIn(opened + ".images"), files);
        const QString own = QFileInfo(opened).fileName();
        QCOMPARE(everythingIn(folder.path()), QStringList({own, own + ".db", own + ".images", own + ".scenes"}));
    }

    void aMarkIsItsPictureEverywhere_data()
    {
        QTest::addColumn<FilmSpec>("film");
        for (const char *rate :
             {"24000/1001", "24/1", "25/1", "30000/1001", "30/1", "48/1", "50/1", "60000/1001", "60/1"})
            for (const char *suffix : {"mp4", "mkv", "mpg", "ts", "avi"})
                QTest::addRow("%s %s", rate, suffix) << markedFilm(suffix, rate);
    }

    /// On the screen, after a double click on its row, at its GIF's beginning and by its start's product with the rate.
    void aMarkIsItsPictureEverywhere()
    {
        QFETCH(const FilmSpec, film);
        const QTemporaryDir folder;
        const QString opened = open(makeFilm(film), folder);
        QVERIFY(!opened.isEmpty() && PAUSED);
        QRandomGenerator random(randomSeed());
        QList<int> marked;
        for (int mark = qEnvironmentVariableIsSet("TAVRIN_THOROUGH") ? 40 : 3; mark > 0; --mark) {
            SetPosition(random.bounded(static_cast<qint64>(Duration)));
            marked += shownPicture();
            press(Qt::Key_B);
            Form2->Edit2->setText("1");
            addShownScene("");
        }
        QCOMPARE(exportBy(Qt::Key_G, Form4, Form4->BitBtn1), finished);
        const QStringList parts = film.rate.split('/');
        const double rate = parts[0].toDouble() / parts[1].toDouble();
        TStringGrid *grid = Form3->StringGrid1;
        QCOMPARE(grid->RowCount(), marked.size() + 1);
        for (int row = 1; row < grid->RowCount(); ++row) {
            grid->showRow(row);
            const QPoint place = grid->visualRect(grid->model()->index(row - 1, 0)).center();
            QTest::mouseDClick(grid->viewport(), Qt::LeftButton, {}, place);
            const int picture = shownPicture();
            const QString start = sceneAt(grid->cells(), row).position;
            const QList<int> inGif = picturesIn(opened + ".images/" + start + "_1.gif");
            const QList<int> named{picture, inGif.value(0), static_cast<int>(rate * start.toDouble())};
            QCOMPARE(named, QList<int>(3, marked[row - 1]));
        }
    }

    void troubleCostsNoScene_data()
    {
        QTest::addColumn<QString>("message");
        QTest::newRow("the reader is killed") << "неожиданно завершилась";
        QTest::newRow("the reader is stopped for ten seconds") << "";
        QTest::newRow("the film is deleted") << "";
    }

    /// Trouble comes when the first of three scenes is done; once it has passed, an export makes all of them.
    void troubleCostsNoScene()
    {
        const QString trouble = QTest::currentDataTag();
        QFETCH(const QString, message);
        const QTemporaryDir folder;
        const QString opened = open(makeFilm(squareFilm), folder);
        for (const char *position : {"1", "9", "3"})
            addScene(position, "2", "");
        const StartedProcess reader("FrameReader");
        QVERIFY(reader.isFound());

        const auto cause = connect(Form4, &QWidget::windowTitleChanged, this, [&](const QString &title) {
            if (!title.endsWith("1 из 3"))
                return;
            if (trouble.endsWith("killed"))
                reader.kill();
            if (trouble.endsWith("deleted"))
                QFile::remove(opened);
            if (trouble.endsWith("seconds"))
                reader.stopForTenSeconds();
        });
        const QStringList messages = exportBy(Qt::Key_G, Form4, Form4->BitBtn1);
        disconnect(cause);
        QCOMPARE(messages.size(), message.isEmpty() ? 1 : 2);
        QCOMPARE(messages.last(), finished[0]);
        QVERIFY2(messages[0].contains(message), qPrintable(messages[0]));
        QCOMPARE(Form3->StringGrid1->RowCount(), 4);
        if (!QFile::exists(opened))
            QVERIFY(QFile::copy(makeFilm(squareFilm), opened));

        Form4->RadioGroup1->setItemIndex(1);
        QCOMPARE(exportBy(Qt::Key_G, Form4, Form4->BitBtn1), finished);
        for (const int start : {1, 9, 3})
            QCOMPARE(picturesIn(opened + QString(".images/%1_2.gif").arg(start)),
                     QList<int>({start * 25, start * 25 + 25}));
    }

    void cleanupTestCase()
    {
        setMessageBoxAnswer({});
        setOpenDialogAnswer({});
    }

private:
    /// Opens a copy of the film in the folder; the path of the copy.
    QString open(const QString &film, const QTemporaryDir &folder)
    {
        const QString opened = folder.filePath("фильм 'a' " + QFileInfo(film).fileName());
        setOpenDialogAnswer([opened] { return std::optional(opened); });
        if (!QFile::copy(film, opened))
            return {};
        press(Qt::Key_O);
        if (!OPENED || !QTest::qWaitFor([] { return GetPosition() > 0; }))
            return {};
        press(Qt::Key_P);
        press(Qt::Key_R);
        Form3->N12Click();
        return opened;
    }

    /// The number that the picture in the main window carries, once what was asked for is there.
    static int shownPicture()
    {
        if (!QTest::qWaitFor(IsSettled, 10'000))
            return -1;
        QCoreApplication::processEvents();
        QWidget *panel = Form1->Panel3;
        if (GraphName() != QStringLiteral("DirectShow"))
            return paintedFrameNumber(panel->grab().toImage()).value_or(-1);
        // Its pictures are on the screen only, where the scene windows lie over them.
        const bool isListShown = Form3->isVisible();
        Form3->hide();
        int number = -1;
        (void)QTest::qWaitFor([&] {
            Form2->hide(); // which may come up late
            number = paintedFrameNumber(panel->screen()->grabWindow(panel->winId()).toImage()).value_or(-1);
            return number >= 0;
        });
        Form3->setVisible(isListShown);
        return number;
    }

    /// Opens the window by its key, clicks the button and returns the messages; the window is closed behind an error.
    QStringList exportBy(Qt::Key key, QWidget *window, QPushButton *button)
    {
        onceOpen(window, [button] { QTest::mouseClick(button, Qt::LeftButton); });
        QTimer watch;
        connect(&watch, &QTimer::timeout, this, [&] {
            if (!m_messages.isEmpty() && window->isVisible())
                QTest::keyClick(window, Qt::Key_Escape);
        });
        watch.start(50);
        press(key);
        return std::exchange(m_messages, {});
    }

    QStringList m_messages;
    const QStringList finished{"Экспорт завершён"};
};

namespace {

int outcome = 1;

/// The program makes its own application object; once all its windows are there, the test runs inside its message loop.
void scheduleTest()
{
    QTimer::singleShot(10, qApp, [] {
        if (!AboutBox) {
            scheduleTest();
            return;
        }
        WholeRoadTest test;
        outcome = QTest::qExec(&test, QCoreApplication::arguments());
        QApplication::closeAllWindows();
    });
}
Q_COREAPP_STARTUP_FUNCTION(scheduleTest)

} // namespace

int main(int argc, char **argv)
{
    const int ended = runProgram(argc, argv);
    return outcome != 0 ? outcome : ended;
}
#include "whole_road_test.moc"
