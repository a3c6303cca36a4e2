#include "export_windows.h"
#include "failing_system.h"

#include "export/radio_group.h"

#include <QDir>
#include <QElapsedTimer>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QTest>
#include <QTimer>

class GifExportDialogTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void everyCaptionIsWholeInTheFixedDialogs();
    void exportsEveryScene();
    void whatIsRefusedWritesNothing_data();
    void whatIsRefusedWritesNothing();
    void existingImagesAreKeptOrOverwritten();
    void aFilmThatDoesNotOpenIsTold();
    void aFolderThatCannotBeMadeIsTold();
    void aFailedSaveStopsUntilItIsCancelled_data();
    void aFailedSaveStopsUntilItIsCancelled();
    void aDeadReaderKeepsTheScenes_data();
    void aDeadReaderKeepsTheScenes();
    void cancellingEndsBetweenScenes_data();
    void cancellingEndsBetweenScenes();
    void aThousandScenesAreNotTooMany();
};

void GifExportDialogTest::everyCaptionIsWholeInTheFixedDialogs()
{
    const ExportWindows windows;
    for (QDialog *dialog : std::initializer_list<QDialog *>{windows.dialog.get(), windows.window.get()}) {
        dialog->show();
        for (const auto *control : dialog->findChildren<QAbstractButton *>()) {
            const QSize least(control->sizeHint().width(), control->minimumSizeHint().height());
            QVERIFY2(control->size().expandedTo(least) == control->size(), qPrintable(control->text()));
        }
    }
}

/// A picture for each second that a scene begins; numbers are read as far as they go.
void GifExportDialogTest::exportsEveryScene()
{
    struct Exported {
        QString position, length;
        QList<int> frames;
    };
    const Exported scenes[]{
        {"1.5", "3.0", {37, 62, 87}},
        {"12,5", "0.01", {300}},
        {"1.16", "2.5", {29, 54, 79}}, // a little less than 29 as a double
        {"0.1", "3", {2, 27, 52}},
        {"начало", "1с", {0}},
        {"1000", "2", {25000, 25025}},
        {"1", "0", {}},
        {"1", "-5", {}},
        {"1", "nan", {}},
        {"1e300", "5", {}}, // a second is lost in such a start
        {"1e999", "5", {}},
    };
    // The read without an answer takes what is there.
    ExportWindows windows({"read@2 silent"});
    QStringList captions;
    QStringList files;
    for (const Exported &scene : scenes) {
        windows.addScene(scene.position, scene.length);
        captions += QString("Экспорт изображений сцен: %1 из 11").arg(captions.size() + 1);
        files += scene.position + '_' + scene.length;
    }
    QStringList shown;
    connect(windows.dialog.get(), &QWidget::windowTitleChanged, this, [&](const QString &title) { shown += title; });
    QCOMPARE(windows.exportGifs(), finished);
    QVERIFY(!windows.dialog->isVisible() && !windows.dialog->Timer1->isActive());
    QCOMPARE(shown, captions);
    QCOMPARE(windows.dialog->ProgressBar1->value(), 11);
    for (int i = 0; i < 11; ++i)
        QCOMPARE(windows.framesIn(files[i]), scenes[i].frames);
    QCOMPARE(windows.imageFiles().size(), files.size());

    // Shown again, the dialog is back at its beginning.
    windows.dialog->show();
    QCOMPARE(windows.dialog->windowTitle(), QString("Экспорт изображений сцен"));
    QCOMPARE(windows.dialog->ProgressBar1->value(), 0);
    QVERIFY(windows.dialog->BitBtn1->isEnabled());
}

void GifExportDialogTest::whatIsRefusedWritesNothing_data()
{
    QTest::addColumn<QString>("position");
    QTest::addColumn<QString>("length");
    QTest::newRow("upwards") << "../../evil" << "1";
    QTest::newRow("a folder") << "1" << "x/y";
    QTest::newRow("backslash") << "..\\evil" << "1";
    QTest::newRow("stream") << "1" << "2:hidden";
    QTest::newRow("nul") << QString("a") + QChar(0) + "b" << "1";
    QTest::newRow("half a character") << QString(QChar(0xD800)) << "1";
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
    const QStringList messages = windows.exportGifs();
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
    windows.windows.write("film.avi.images/0_1.gif", "mine");
    QCOMPARE(windows.exportGifs(), finished);
    QCOMPARE(windows.windows.content("film.avi.images/0_1.gif"), QByteArray("mine"));
    QCOMPARE(windows.framesIn("1_1"), QList<int>{25});

    windows.dialog->RadioGroup1->setItemIndex(1);
    QCOMPARE(windows.exportGifs(), finished);
    QCOMPARE(windows.framesIn("0_1"), QList<int>{0});
    // What is no file is no image.
    QVERIFY(QFile::remove(windows.gif("1_1")) && QDir().mkdir(windows.gif("1_1")));
    windows.dialog->RadioGroup1->setItemIndex(0);
    QVERIFY(windows.exportGifs().value(0).endsWith("под этим именем есть папка"));
}

void GifExportDialogTest::aFilmThatDoesNotOpenIsTold()
{
    ExportWindows windows({"open silent"});
    windows.addScene("0", "1");
    QCOMPARE(windows.exportGifs(), QStringList{"Ошибка открытия файла!"});
    QVERIFY(windows.dialog->isVisible() && windows.dialog->BitBtn1->isEnabled());
    QVERIFY(!windows.dialog->Timer1->isActive() && !QFileInfo::exists(windows.images()));
}

void GifExportDialogTest::aFolderThatCannotBeMadeIsTold()
{
    ExportWindows windows;
    windows.addScene("0", "1");
    windows.windows.write("film.avi.images", "mine");
    const QString video = VideoPath;
    const QString gone = windows.windows.path("gone/film.avi");
    const QString refusal = "Не удалось создать папку изображений «%1.images»: ";
    // The last two: not into whatever folder the program was started in.
    const std::pair<QString, QString> refusals[]{
        {video, refusal.arg(video) + "под этим именем есть файл"},
        {gone, refusal.arg(gone) + "нет такого файла или папки"},
        {"", "Неизвестно, в какой папке лежит видео «»"},
        {"film.avi", "Неизвестно, в какой папке лежит видео «film.avi»"},
    };
    for (const auto &[path, message] : refusals) {
        VideoPath = path;
        QCOMPARE(windows.exportGifs(), QStringList{message});
        QVERIFY(windows.dialog->BitBtn1->isEnabled() && !windows.dialog->Timer1->isActive());
    }
    QCOMPARE(windows.windows.content("film.avi.images"), QByteArray("mine"));

    // Once the way is free the next press exports.
    VideoPath = video;
    QVERIFY(QFile::remove(windows.images()));
    QCOMPARE(windows.exportGifs(), finished);
    QCOMPARE(windows.framesIn("0_1"), QList<int>{0});
}

void GifExportDialogTest::aFailedSaveStopsUntilItIsCancelled_data()
{
    QTest::addColumn<QString>("position");
    QTest::addColumn<QString>("reason");
    QTest::newRow("full") << "1" << "файл слишком велик";
    QTest::newRow("read-only") << "1" << "нет прав доступа";
    QTest::newRow("long name") << QString(300, '1') << "слишком длинное имя файла";
    QTest::newRow("gone") << "1" << "нет такого файла или папки";
}

void GifExportDialogTest::aFailedSaveStopsUntilItIsCancelled()
{
    const QString fault = QTest::currentDataTag();
    QFETCH(const QString, position);
    QFETCH(const QString, reason);
    ExportWindows windows;
    windows.addScene(position, "9");
    windows.addScene("2", "1");
    windows.dialog->show();
    windows.dialog->Timer1->setInterval(50);
    QTest::mouseClick(windows.dialog->BitBtn1, Qt::LeftButton);
    QVERIFY(windows.dialog->Timer1->isActive());
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
    const QString file = windows.gif(position + "_9");
    QCOMPARE(windows.takeMessages(), QStringList{"Не удалось сохранить GIF в файл «" + file + "»: " + reason});
    QCOMPARE(windows.imageFiles(), QStringList());

    // Later ticks do nothing.
    QTest::qWait(200);
    QCOMPARE(windows.takeMessages(), QStringList());
    QCOMPARE(SCENE, 1);
    QTest::mouseClick(windows.dialog->BitBtn3, Qt::LeftButton);
    QCOMPARE(windows.takeMessages(), finished);
    QVERIFY(!windows.dialog->isVisible() && !windows.dialog->Timer1->isActive() && !FR->opened());
}

void GifExportDialogTest::aDeadReaderKeepsTheScenes_data()
{
    QTest::addColumn<QString>("script");
    QTest::newRow("before the film is open") << "open@1 die";
    QTest::newRow("before its pictures can be reached") << "bufupdate@2 die";
    QTest::newRow("during a read") << "read@2 die";
    QTest::newRow("between two scenes") << "read@3 last";
}

void GifExportDialogTest::aDeadReaderKeepsTheScenes()
{
    QFETCH(const QString, script);
    ExportWindows windows({script});
    windows.addScene("1", "3");
    windows.addScene("9", "1");
    const QStringList rows = windows.windows.rows();
    const QString message = "Программа чтения кадров «" + windows.reader.exe + "» неожиданно завершилась";
    QElapsedTimer clock;
    clock.start();
    QCOMPARE(windows.exportGifs(), QStringList{message});
    QVERIFY2(clock.elapsed() < 2000, qPrintable(QString::number(clock.elapsed())));
    QCOMPARE(windows.imageFiles(), script == "read@3 last" ? QStringList{"1_3.gif"} : QStringList());
    if (windows.dialog->Timer1->isActive()) {
        QTest::keyClick(windows.dialog.get(), Qt::Key_Escape);
        QCOMPARE(windows.takeMessages(), finished);
    }
    windows.reader.setScript({"close last"});
    QCOMPARE(windows.exportGifs(), finished);
    // It has ended after the export, and the next one starts another.
    QTRY_VERIFY(FR->hasEnded());
    windows.dialog->RadioGroup1->setItemIndex(1);
    QCOMPARE(windows.exportGifs(), finished);
    QCOMPARE(windows.windows.rows(), rows);
    QCOMPARE(windows.framesIn("1_3"), QList<int>({25, 50, 75}));
    QCOMPARE(windows.framesIn("9_1"), QList<int>({225}));
}

void GifExportDialogTest::cancellingEndsBetweenScenes_data()
{
    QTest::addColumn<int>("after");
    QTest::newRow("button") << 0;
    QTest::newRow("escape") << 1;
    QTest::newRow("window") << 3;
}

void GifExportDialogTest::cancellingEndsBetweenScenes()
{
    const QString how = QTest::currentDataTag();
    QFETCH(const int, after);
    ExportWindows windows;
    for (int i = 0; i < 8; ++i)
        windows.addScene(QString::number(i), "2");
    windows.dialog->show();
    windows.dialog->Timer1->setInterval(30);
    QTest::mouseClick(windows.dialog->BitBtn1, Qt::LeftButton);
    QTRY_VERIFY(SCENE > after);
    if (how == "button")
        QTest::mouseClick(windows.dialog->BitBtn3, Qt::LeftButton);
    else if (how == "escape")
        QTest::keyClick(windows.dialog.get(), Qt::Key_Escape);
    else
        windows.dialog->close();
    QCOMPARE(windows.takeMessages(), finished);
    QVERIFY(!windows.dialog->isVisible() && !windows.dialog->Timer1->isActive() && !FR->opened());
    const QStringList files = windows.imageFiles();
    QVERIFY(files.size() < 8);
    for (int i = 0; i < files.size(); ++i)
        QCOMPARE(windows.framesIn(QString("%1_2").arg(i)), QList<int>({i * 25, i * 25 + 25}));

    // Without an export it just closes; then it can be started again.
    windows.dialog->show();
    QTest::keyClick(windows.dialog.get(), Qt::Key_Escape);
    QVERIFY(!windows.dialog->isVisible());
    QCOMPARE(windows.exportGifs(), finished);
    QCOMPARE(windows.imageFiles().size(), qsizetype{8});
}

void GifExportDialogTest::aThousandScenesAreNotTooMany()
{
    ExportWindows windows;
    windows.windows.grid->change([](GridCells &list) {
        Scene scene;
        scene.length = "0";
        for (int i = 0; i < 1100; ++i) {
            scene.position = QString::number(i);
            setScene(list, rowForNewScene(list), scene);
        }
    });
    QCOMPARE(windows.exportGifs(), finished);
    QCOMPARE(windows.imageFiles().size(), qsizetype{1100});
}

int main(int argc, char **argv)
{
    FallibleApplication application(argc, argv);
    GifExportDialogTest test;
    return QTest::qExec(&test, argc, argv);
}
#include "gif_export_dialog_test.moc"
