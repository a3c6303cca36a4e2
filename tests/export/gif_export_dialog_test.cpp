#include "export_windows.h"
#include "failing_system.h"
#include "gif_witness.h"

#include "export/radio_group.h"

#include <QDir>
#include <QElapsedTimer>
#include <QLabel>
#include <QLayout>
#include <QMenu>
#include <QProgressBar>
#include <QPushButton>
#include <QRadioButton>
#include <QTest>
#include <QTimer>

#include <csignal>

namespace {

const QString finished = "Экспорт завершён";

QByteArray contentOf(const QString &name)
{
    QFile file(name);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("(unreadable)");
}

void writeFile(const QString &name, const QByteArray &bytes)
{
    QFile file(name);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(bytes);
}

void choose(const ExportWindows &windows, int item)
{
    auto *button = windows.dialog->RadioGroup1->findChildren<QRadioButton *>().at(item);
    QTest::mouseClick(button, Qt::LeftButton, {}, QPoint(8, button->height() / 2));
}

} // namespace

class GifExportDialogTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void everyCaptionIsWholeInTheFixedDialog();
    void exportsEveryScene();
    void picturesAreOneSecondApart_data();
    void picturesAreOneSecondApart();
    void whatIsRefusedWritesNothing_data();
    void whatIsRefusedWritesNothing();
    void existingImagesAreKeptOrOverwritten();
    void whatPreventsTheStartIsTold();
    void aFailedSaveStopsUntilItIsCancelled_data();
    void aFailedSaveStopsUntilItIsCancelled();
    void aDeadReaderKeepsTheScenes_data();
    void aDeadReaderKeepsTheScenes();
    void cancellingEndsBetweenScenes_data();
    void cancellingEndsBetweenScenes();
    void thousandsOfScenes();
};

void GifExportDialogTest::everyCaptionIsWholeInTheFixedDialog()
{
    const ExportWindows windows;
    TForm4 *dialog = windows.dialog.get();
    windows.openDialog();
    QCOMPARE(dialog->windowTitle(), QString("Экспорт изображений сцен"));
    QCOMPARE(dialog->minimumSize(), QSize(347, 235));
    QCOMPARE(dialog->maximumSize(), QSize(347, 235));
    QVERIFY(dialog->layout()->minimumSize().width() <= 347);
    QVERIFY(dialog->layout()->minimumSize().height() <= 235);
    for (const auto *control : dialog->findChildren<QAbstractButton *>()) {
        QVERIFY2(control->width() >= control->sizeHint().width() && control->height() >= control->minimumSizeHint().height(),
                 qPrintable(control->text()));
    }
    QCOMPARE(dialog->RadioGroup1->title(), QString("Существующие изображения"));
    QCOMPARE(dialog->RadioGroup1->ItemIndex(), 0);
    QCOMPARE(dialog->StatusBar1[0]->width(), 300);
    QCOMPARE(dialog->Finish1->text(), QString("Finish"));
    const TForm5 *window = windows.window.get();
    windows.window->show();
    for (const auto *control : window->findChildren<QAbstractButton *>())
        QVERIFY2(control->width() >= control->sizeHint().width(), qPrintable(control->text()));
}

void GifExportDialogTest::exportsEveryScene()
{
    // The read without an answer takes what is there.
    ExportWindows windows({"read@2 silent"});
    windows.addScene("1.5", "3.0");
    windows.addScene("0", "1");
    windows.addScene("12,5", "0.01");
    QCOMPARE(windows.dialog->Timer1->interval(), 100);
    QStringList captions;
    connect(windows.dialog.get(), &QWidget::windowTitleChanged, this, [&](const QString &title) { captions += title; });
    windows.exportGifs();

    QCOMPARE(windows.takeMessages(), QStringList{finished});
    QVERIFY(!windows.dialog->isVisible());
    QVERIFY(!windows.dialog->Timer1->isActive());
    QVERIFY(BUSY2);
    QCOMPARE(captions, QStringList({"Экспорт изображений сцен: 1 из 3", "Экспорт изображений сцен: 2 из 3",
                                    "Экспорт изображений сцен: 3 из 3"}));
    QCOMPARE(windows.dialog->ProgressBar1->value(), 3);
    QCOMPARE(windows.imageFiles(), QStringList({"0_1.gif", "1.5_3.0.gif", "12,5_0.01.gif"}));
    QCOMPARE(windows.framesIn("1.5_3.0"), QList<int>({37, 62, 87}));
    QCOMPARE(windows.framesIn("0_1"), QList<int>({0}));
    QCOMPARE(windows.framesIn("12,5_0.01"), QList<int>({300}));

    // Shown again, the dialog is back at its beginning.
    windows.dialog->StatusBar1[0]->setText("left over");
    windows.dialog->show();
    QCOMPARE(windows.dialog->windowTitle(), QString("Экспорт изображений сцен"));
    QCOMPARE(windows.dialog->ProgressBar1->value(), 0);
    QCOMPARE(windows.dialog->ProgressBar1->maximum(), 3);
    QVERIFY(windows.dialog->StatusBar1[0]->text().isEmpty() && windows.dialog->BitBtn1->isEnabled());
    QCOMPARE(windows.reader.commands(),
             QStringList({"open " + windows.windows.path("film.avi"), "bufupdate", "frames 1", "bufupdate", "read 37",
                          "read 62", "read 87", "read 0", "read 300", "close"}));
}

void GifExportDialogTest::picturesAreOneSecondApart_data()
{
    QTest::addColumn<QString>("position");
    QTest::addColumn<QString>("length");
    QTest::addColumn<QList<int>>("frames");
    QTest::newRow("whole seconds") << "0" << "3.0" << QList<int>{0, 25, 50};
    QTest::newRow("rounded up") << "0" << "2.5" << QList<int>{0, 25, 50};
    QTest::newRow("a start between frames") << "0.5" << "2" << QList<int>{12, 37};
    QTest::newRow("sums that are no binary fractions") << "0.1" << "3" << QList<int>{2, 27, 52};
    QTest::newRow("letters") << "начало" << "1с" << QList<int>{0};
    QTest::newRow("beyond the end") << "1000" << "2" << QList<int>{25000, 25025};
    QTest::newRow("length 0") << "1" << "0" << QList<int>{};
    QTest::newRow("negative length") << "1" << "-5" << QList<int>{};
    QTest::newRow("nan is no number") << "1" << "nan" << QList<int>{};
    QTest::newRow("the empty list's blank row") << "" << "" << QList<int>{};
    QTest::newRow("a start that a second is lost in") << "1e300" << "5" << QList<int>{};
    QTest::newRow("no start at all") << "1e999" << "5" << QList<int>{};
}

void GifExportDialogTest::picturesAreOneSecondApart()
{
    QFETCH(const QString, position);
    QFETCH(const QString, length);
    QFETCH(const QList<int>, frames);
    ExportWindows windows;
    windows.addScene(position, length);
    windows.exportGifs();
    QCOMPARE(windows.takeMessages(), QStringList{finished});
    const QString name = position + '_' + length;
    const GifStructure gif = gifStructure(contentOf(windows.gif(name)));
    QVERIFY(gif.whole);
    QCOMPARE(gif.screen, QSize(200, 200));
    QCOMPARE(qsizetype(gif.frames.size()), frames.size());
    if (!frames.isEmpty())
        QCOMPARE(windows.framesIn(name), frames);
}

void GifExportDialogTest::whatIsRefusedWritesNothing_data()
{
    QTest::addColumn<QString>("position");
    QTest::addColumn<QString>("length");
    QTest::newRow("upwards") << "../../evil" << "1";
    QTest::newRow("a folder") << "1" << "x/y";
    QTest::newRow("backslash") << "..\\evil" << "1";
    QTest::newRow("drive") << "C:evil" << "1";
    QTest::newRow("stream") << "1" << "2:hidden";
    QTest::newRow("nul") << QString("a") + QChar(0) + "b" << "1";
    QTest::newRow("endless") << "0" << "1e300";
    QTest::newRow("infinite") << "1e300" << "1e999";
    QTest::newRow("more than a day") << "0" << "86400.5";
}

void GifExportDialogTest::whatIsRefusedWritesNothing()
{
    QFETCH(const QString, position);
    QFETCH(const QString, length);
    ExportWindows windows;
    QVERIFY(QDir().mkpath(windows.images() + "/x"));
    windows.addScene(position, length);
    const auto everything = [&] {
        return QDir(windows.windows.folder.path()).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot);
    };
    const QStringList before = everything();
    windows.exportGifs();
    const QStringList messages = windows.takeMessages();
    QCOMPARE(messages.size(), qsizetype{1});
    QVERIFY2(messages[0].startsWith("Не удалось сохранить GIF в файл «"), qPrintable(messages[0]));
    QCOMPARE(everything(), before);
    QCOMPARE(windows.imageFiles(), QStringList{"x"});
    QVERIFY(QDir(windows.images() + "/x").isEmpty());
}

void GifExportDialogTest::existingImagesAreKeptOrOverwritten()
{
    ExportWindows windows;
    windows.addScene("0", "1");
    windows.addScene("1", "1");
    QVERIFY(QDir().mkpath(windows.images()));
    writeFile(windows.gif("0_1"), "mine");
    windows.exportGifs();
    QCOMPARE(windows.takeMessages(), QStringList{finished});
    QCOMPARE(contentOf(windows.gif("0_1")), QByteArray("mine"));
    QCOMPARE(windows.framesIn("1_1"), QList<int>{25});
    QCOMPARE(windows.dialog->windowTitle(), QString("Экспорт изображений сцен: 2 из 2"));

    windows.openDialog();
    choose(windows, 1);
    QCOMPARE(windows.dialog->RadioGroup1->ItemIndex(), 1);
    windows.exportGifs();
    QCOMPARE(windows.takeMessages(), QStringList{finished});
    QCOMPARE(windows.framesIn("0_1"), QList<int>{0});
    // What is no file is no image.
    QVERIFY(QFile::remove(windows.gif("1_1")) && QDir().mkdir(windows.gif("1_1")));
    windows.openDialog();
    choose(windows, 0);
    windows.exportGifs();
    QVERIFY(windows.takeMessages().value(0).endsWith("под этим именем есть папка"));
}

void GifExportDialogTest::whatPreventsTheStartIsTold()
{
    {
        ExportWindows windows({"open silent"});
        windows.addScene("0", "1");
        windows.exportGifs();
        QCOMPARE(windows.takeMessages(), QStringList{"Ошибка открытия файла!"});
        QVERIFY(windows.dialog->isVisible() && windows.dialog->BitBtn1->isEnabled());
        QVERIFY(!windows.dialog->Timer1->isActive() && !QFileInfo::exists(windows.images()));
    }
    ExportWindows windows;
    windows.addScene("0", "1");
    const auto refusalWith = [&](const QString &folder, const QString &reason) {
        windows.exportGifs();
        QCOMPARE(windows.takeMessages(),
                 QStringList{"Не удалось создать папку изображений «" + folder + "»: " + reason});
        QVERIFY(windows.dialog->BitBtn1->isEnabled() && !windows.dialog->Timer1->isActive());
    };
    writeFile(windows.images(), "mine");
    refusalWith(windows.images(), "под этим именем есть файл");
    QCOMPARE(contentOf(windows.images()), QByteArray("mine"));
    const QString video = std::exchange(VideoPath, windows.windows.path("gone/film.avi"));
    refusalWith(windows.windows.path("gone/film.avi.images"), "нет такого файла или папки");
    // Not into whatever folder the program was started in.
    for (const QString &nowhere : {QString(), QString("film.avi")}) {
        VideoPath = nowhere;
        windows.exportGifs();
        QCOMPARE(windows.takeMessages(), QStringList{"Неизвестно, в какой папке лежит видео «" + nowhere + "»"});
    }

    // Once the way is free the next press exports.
    VideoPath = video;
    QVERIFY(QFile::remove(windows.images()));
    windows.exportGifs();
    QCOMPARE(windows.takeMessages(), QStringList{finished});
    QCOMPARE(windows.framesIn("0_1"), QList<int>{0});
}

void GifExportDialogTest::aFailedSaveStopsUntilItIsCancelled_data()
{
    QTest::addColumn<QString>("position");
    QTest::addColumn<QString>("fault");
    QTest::addColumn<QString>("reason");
    QTest::newRow("full disk") << "1" << "full" << "файл слишком велик";
    QTest::newRow("folder that refuses") << "1" << "read-only" << "нет прав доступа";
    QTest::newRow("long name") << QString(300, '1') << "" << "слишком длинное имя файла";
    QTest::newRow("folder gone") << "1" << "gone" << "нет такого файла или папки";
}

void GifExportDialogTest::aFailedSaveStopsUntilItIsCancelled()
{
    QFETCH(const QString, position);
    QFETCH(const QString, fault);
    QFETCH(const QString, reason);
    ExportWindows windows;
    windows.addScene(position, "9");
    windows.addScene("2", "1");
    windows.openDialog();
    windows.dialog->Timer1->setInterval(50);
    QTest::mouseClick(windows.dialog->BitBtn1, Qt::LeftButton);
    QVERIFY(windows.dialog->Timer1->isActive());
    QFile old(windows.gif(position + "_9"));
    {
        std::unique_ptr<FullDisk> disk;
        std::unique_ptr<AsOrdinaryUser> user;
        if (fault == "full")
            disk = std::make_unique<FullDisk>(1000);
        if (fault == "gone")
            QVERIFY(QDir().rmdir(windows.images()));
        if (fault == "read-only") {
            QFile::setPermissions(windows.windows.folder.path(), QFile::Permissions(0x7777));
            QFile::setPermissions(windows.images(), QFile::Permissions(0x5555));
            user = std::make_unique<AsOrdinaryUser>();
        }
        QTRY_COMPARE(windows.windows.messages.size(), qsizetype{1});
    }
    QCOMPARE(windows.takeMessages(), QStringList{"Не удалось сохранить GIF в файл «" + windows.gif(position + "_9") + "»: " + reason});
    QCOMPARE(windows.imageFiles(), QStringList());

    // Later ticks do nothing.
    QVERIFY(windows.dialog->Timer1->isActive() && BUSY2);
    QTest::qWait(200);
    QCOMPARE(windows.takeMessages(), QStringList());
    QCOMPARE(SCENE, 1);
    QTest::mouseClick(windows.dialog->BitBtn3, Qt::LeftButton);
    QCOMPARE(windows.takeMessages(), QStringList{finished});
    QVERIFY(!windows.dialog->isVisible() && !windows.dialog->Timer1->isActive());
    QVERIFY(!FR->opened());
}

void GifExportDialogTest::aDeadReaderKeepsTheScenes_data()
{
    QTest::addColumn<QStringList>("script");
    QTest::newRow("missing") << QStringList{"missing"};
    QTest::newRow("before the film is open") << QStringList{"open@1 die"};
    QTest::newRow("during a read") << QStringList{"read@2 die"};
    QTest::newRow("between two scenes") << QStringList{"read@3 last"};
    QTest::newRow("while idle") << QStringList{"kill"};
}

void GifExportDialogTest::aDeadReaderKeepsTheScenes()
{
    QFETCH(const QStringList, script);
    ExportWindows windows(script);
    windows.addScene("1", "3");
    windows.addScene("8", "1");
    windows.addScene("9", "1");
    const QStringList rows = windows.windows.rows();
    if (script.contains("missing")) {
        QVERIFY(QFile::remove(windows.reader.exe()));
        windows.dialog.reset();
        windows.dialog = std::make_unique<TForm4>(&windows.windows.owner);
        windows.exportGifs();
        QCOMPARE(windows.takeMessages(),
                 QStringList{"Не удалось запустить программу чтения кадров «" + windows.reader.exe() + "»"});
        windows.reader.install();
    } else if (script.contains("kill")) {
        // It is idle after an export, and the next one starts another.
        windows.exportGifs();
        QCOMPARE(windows.takeMessages(), QStringList{finished});
        QCOMPARE(kill(windows.reader.process(), SIGKILL), 0);
        QTRY_VERIFY(FR->hasEnded());
        QVERIFY(QDir(windows.images()).removeRecursively());
    } else {
        QElapsedTimer clock;
        clock.start();
        windows.exportGifs();
        QVERIFY2(clock.elapsed() < 2000, qPrintable(QString::number(clock.elapsed())));
        const QStringList messages = windows.takeMessages();
        QCOMPARE(messages.size(), qsizetype{1});
        QVERIFY2(messages[0].contains("FrameReader") && messages[0].contains("завершилась"), qPrintable(messages[0]));
        for (const QString &file : windows.imageFiles())
            QVERIFY(gifStructure(contentOf(windows.images() + '/' + file)).whole);
        if (windows.dialog->Timer1->isActive()) {
            QTest::keyClick(windows.dialog.get(), Qt::Key_Escape);
            QCOMPARE(windows.takeMessages(), QStringList{finished});
        }
    }
    windows.reader.setScript({});
    windows.exportGifs();
    QCOMPARE(windows.takeMessages(), QStringList{finished});
    QCOMPARE(windows.windows.rows(), rows);
    QCOMPARE(windows.framesIn("1_3"), QList<int>({25, 50, 75}));
    QCOMPARE(windows.framesIn("9_1"), QList<int>({225}));
}

void GifExportDialogTest::cancellingEndsBetweenScenes_data()
{
    QTest::addColumn<QString>("how");
    QTest::addColumn<int>("after");
    QTest::newRow("the button, before the first scene is done") << "button" << 0;
    QTest::newRow("escape") << "escape" << 1;
    QTest::newRow("closing the window") << "window" << 3;
}

void GifExportDialogTest::cancellingEndsBetweenScenes()
{
    QFETCH(const QString, how);
    QFETCH(const int, after);
    ExportWindows windows;
    for (int i = 0; i < 8; ++i)
        windows.addScene(QString::number(i), "2");
    windows.openDialog();
    windows.dialog->Timer1->setInterval(30);
    QTest::mouseClick(windows.dialog->BitBtn1, Qt::LeftButton);
    QTRY_VERIFY(SCENE > after);
    if (how == "button")
        QTest::mouseClick(windows.dialog->BitBtn3, Qt::LeftButton);
    else if (how == "escape")
        QTest::keyClick(windows.dialog.get(), Qt::Key_Escape);
    else
        windows.dialog->close();
    QCOMPARE(windows.takeMessages(), QStringList{finished});
    QVERIFY(!windows.dialog->isVisible() && !windows.dialog->Timer1->isActive() && !FR->opened());
    const QStringList files = windows.imageFiles();
    QVERIFY(files.size() < 8);
    for (int i = 0; i < files.size(); ++i)
        QCOMPARE(windows.framesIn(QString("%1_2").arg(i)), QList<int>({i * 25, i * 25 + 25}));

    // Without an export it just closes; then it can be started again.
    windows.openDialog();
    QTest::keyClick(windows.dialog.get(), Qt::Key_Escape);
    QVERIFY(!windows.dialog->isVisible());
    windows.exportGifs();
    QCOMPARE(windows.takeMessages(), QStringList{finished});
    QCOMPARE(windows.imageFiles().size(), qsizetype{8});
}

void GifExportDialogTest::thousandsOfScenes()
{
    ExportWindows windows;
    windows.windows.grid->change([](GridCells &list) {
        for (int i = 0; i < 2000; ++i) {
            Scene scene;
            scene.position = QString::number(i);
            scene.length = "0";
            setScene(list, rowForNewScene(list), scene);
        }
    });
    windows.exportGifs();
    QCOMPARE(windows.takeMessages(), QStringList{finished});
    QCOMPARE(windows.imageFiles().size(), qsizetype{2000});
    QCOMPARE(windows.dialog->windowTitle(), QString("Экспорт изображений сцен: 2000 из 2000"));
}

int main(int argc, char **argv)
{
    FallibleApplication application(argc, argv);
    GifExportDialogTest test;
    return QTest::qExec(&test, argc, argv);
}
#include "gif_export_dialog_test.moc"
