#include "export_windows.h"
#include "failing_system.h"

#include "export/radio_group.h"
#include "export/status_panel.h"

#include <QCursor>
#include <QProgressBar>
#include <QPushButton>
#include <QSignalSpy>

namespace {

/// Tells every event of a widget.
class Watcher final : public QObject {
public:
    Watcher(QWidget *watched, std::function<void(QEvent::Type)> tell) : m_tell(std::move(tell))
    {
        watched->installEventFilter(this);
    }

private:
    bool eventFilter(QObject *, QEvent *event) override
    {
        m_tell(event->type());
        return false;
    }

    std::function<void(QEvent::Type)> m_tell;
};

} // namespace

class GifExportDialogTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    /// A picture for each second that a scene begins; numbers are read as far as they go.
    void exportsEveryScene()
    {
        const std::tuple<QString, QString, QList<int>> scenes[]{
            {"1.5", "3.0", {37, 62, 87}},
            {"12,5", "0.01", {300}},
            {"1.16", "2.5", {28, 54, 79}}, // a little less than 29 as a double, which no mark of the player is
            {"0.1", "3", {2, 27, 52}},
            {"начало", "1с", {0}},
            {"1000", "2", {25000, 25025}},
            {"1", "0", {}},
            {"1", "-5", {}},
            {"1", "nan", {}},
            {"1e300", "5", {}}, // a second is lost in such a start
            {"1e999", "5", {}},
            {"0:02", "1", {0}},
        };
        // The read without an answer takes what is there.
        ExportWindows windows({"read@2 silent"});
        for (const auto &[position, length, frames] : scenes)
            windows.addScene(position, length);
        const QSignalSpy captions(windows.dialog.get(), &QWidget::windowTitleChanged);
        QCOMPARE(windows.exportGifs(), finished);
        QVERIFY(windows.isOver());
        QCOMPARE(captions.size(), 12);
        QCOMPARE(captions[8][0].toString(), QString("Экспорт изображений сцен: 9 из 12"));
        QCOMPARE(windows.dialog->ProgressBar1->value(), 12);
        for (const auto &[position, length, frames] : scenes)
            QCOMPARE(windows.framesIn(position + '_' + length), frames);
        QCOMPARE(windows.filesIn().size(), 12);

        // Shown again, the dialog is back at its beginning.
        QVERIFY(!windows.dialog->StatusBar1[0]->text().isEmpty());
        windows.dialog->show();
        QCOMPARE(windows.dialog->windowTitle(), QString("Экспорт изображений сцен"));
        QVERIFY(windows.dialog->ProgressBar1->value() == 0 && windows.dialog->BitBtn1->isEnabled());
        QCOMPARE(windows.dialog->StatusBar1[0]->text(), QString());
    }

    void theRowsThatCannotBecomeAGifAreTold()
    {
        ExportWindows windows;
        const auto told = [&] {
            windows.dialog->BitBtn1Click();
            windows.dialog->Timer1->stop();
            return windows.dialog->StatusBar1[0]->text();
        };
        QCOMPARE(told(), QString("В списке нет сцен"));
        windows.addScene("1", "2");
        QCOMPARE(told(), QString());
        const std::pair<const char *, const char *> scenes[] = {{"1", "2.0"}, {"0", "1"},   {"1", "0"}, {"2", "-1"},
                                                                {"a", "b"},   {"3", "x/y"}, {"0", "1"}, {"1", "1e5"},
                                                                {"1", "0"},   {"0", "1"}};
        for (const auto &[position, length] : scenes)
            windows.addScene(position, length);
        QCOMPARE(told(), QString("Без GIF строки: 7 (недопустимое имя); 4–6, 10 (нет продолжительности); "
                                 "9 (длиннее суток); 3, 8, 11 (повтор имени)"));
        for (int i = 0; i < 40; ++i)
            windows.addScene(QString::number(100 + i), i % 2 == 0 ? "0" : "1");
        QVERIFY(told().contains("30 и ещё 10 (нет продолжительности); 9"));
    }

    /// The user's input waits for the end of a scene; a screen reader's does not, and ends nothing sooner.
    void aLongSceneTellsItsPictures()
    {
        ExportWindows windows({"read late 120"});
        windows.addScene("1", "4");
        windows.addScene("9", "1");
        windows.dialog->show();
        QPushButton *const cancel = windows.dialog->BitBtn3;
        QLabel *const panel = windows.dialog->StatusBar1[1];
        QCursor::setPos(windows.dialog->pos() - QPoint(9, 9));
        QStringList told;
        const Watcher painted(panel, [&](QEvent::Type type) {
            if (type != QEvent::Paint || panel->text().isEmpty() || told.contains(panel->text()))
                return;
            told += panel->text();
            QCursor::setPos(cancel->mapToGlobal(cancel->rect().center()));
            QMetaObject::invokeMethod(cancel, &QPushButton::click, Qt::QueuedConnection);
        });
        bool pointedInside = false;
        const Watcher pointed(cancel, [&](QEvent::Type type) {
            pointedInside = pointedInside || (type == QEvent::Enter && !panel->text().isEmpty());
        });
        QTest::mouseClick(windows.dialog->BitBtn1, Qt::LeftButton);
        QTRY_VERIFY(windows.isOver());
        QCOMPARE(windows.takeMessages(), finished);
        QCOMPARE(told, QStringList({"2 из 4", "3 из 4", "4 из 4"}));
        QVERIFY(!pointedInside);
        QCOMPARE(windows.filesIn(), QStringList{"1_4.gif"});
        QCOMPARE(windows.framesIn("1_4"), QList<int>({25, 50, 75, 100}));
    }

    void whatIsRefusedWritesNothing()
    {
        const QString noName = "» не может быть частью имени файла";
        const QString tooLong = ": сцена длиннее суток";
        const QString folder = "film.avi.images/1_x";
        const std::tuple<QString, QString, QString> refused[]{
            {"../evil", "1", noName},
            {"1", "x/y", noName},
            {"..\\evil", "1", noName},
            {QString("a") + QChar(0) + "b", "1", ""},
            {QString(QChar(0xD800)), "1", noName}, // half a character
            {"0", "1e300", tooLong},
            {"1e300", "1e999", tooLong},
            {"0", "86400.5", tooLong},
            {QString(300, '1'), "1", ": слишком длинное имя файла"},
        };
        for (const auto &[position, length, reason] : refused) {
            ExportWindows windows;
            QVERIFY(QDir().mkpath(windows.windows.path(folder)));
            windows.addScene(position, length);
            const auto files = [&] { return windows.filesIn("") + windows.filesIn() + windows.filesIn(folder); };
            const QStringList before = files();
            const QString message = windows.exportGifs().join('\n');
            QVERIFY2(message.startsWith("Не удалось сохранить GIF в файл «") && message.endsWith(reason),
                     qPrintable(message));
            QCOMPARE(files(), before);
        }
    }

    void existingImagesAreKeptOrOverwritten()
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
        // What is no file is no picture.
        QVERIFY(QFile::remove(windows.gif("1_1")) && QDir().mkdir(windows.gif("1_1")));
        windows.dialog->RadioGroup1->setItemIndex(0);
        QVERIFY(windows.exportGifs().value(0).endsWith("под этим именем есть папка"));
    }

    void anExportThatCannotStartIsTold()
    {
        ExportWindows windows({"open@1 silent"});
        windows.addScene("0", "1");
        QCOMPARE(windows.exportGifs(), QStringList{"Ошибка открытия файла!"});
        const auto canStart = [&] {
            return windows.dialog->BitBtn1->isEnabled() && !windows.dialog->Timer1->isActive();
        };
        QVERIFY(canStart() && !QFile::exists(windows.images()));

        windows.windows.write("film.avi.images", "mine");
        const QString video = VideoPath;
        const QString gone = windows.windows.path("gone/film.avi");
        const QString refusal = "Не удалось создать папку изображений «%1.images»: ";
        // The last two: not into whatever folder the program was started in.
        const std::pair<QString, QString> refusals[]{
            {gone, refusal.arg(gone) + "нет такого файла или папки"},
            {video, refusal.arg(video) + "под этим именем есть файл"},
            {"", "Неизвестно, в какой папке лежит видео «»"},
            {"film.avi", "Неизвестно, в какой папке лежит видео «film.avi»"},
        };
        for (const auto &[path, message] : refusals) {
            VideoPath = path;
            QCOMPARE(windows.exportGifs(), QStringList{message});
            QVERIFY(canStart());
        }
        QCOMPARE(windows.windows.content("film.avi.images"), QByteArray("mine"));

        // Once the way is free the next press exports.
        VideoPath = video;
        QVERIFY(QFile::remove(windows.images()));
        QCOMPARE(windows.exportGifs(), finished);
        QCOMPARE(windows.framesIn("0_1"), QList<int>{0});
    }

    void aFailedSaveStopsUntilItIsCancelled()
    {
        ExportWindows windows;
        windows.addScene("1", "9");
        windows.addScene("2", "1");
        windows.dialog->show();
        QTest::mouseClick(windows.dialog->BitBtn1, Qt::LeftButton);
        {
            const FullDisk disk(1000);
            QTRY_COMPARE(windows.windows.messages.size(), 1);
        }
        const QString refusal = "Не удалось сохранить GIF в файл «" + windows.gif("1_9") + "»: файл слишком велик";
        QCOMPARE(windows.takeMessages(), QStringList{refusal});
        QCOMPARE(windows.filesIn(), QStringList());

        // Later ticks do nothing.
        windows.dialog->Timer1Timer();
        QCOMPARE(windows.takeMessages(), QStringList());
        QCOMPARE(SCENE, 1);
        QTest::mouseClick(windows.dialog->BitBtn3, Qt::LeftButton);
        QCOMPARE(windows.takeMessages(), finished);
        QVERIFY(windows.isOver());
    }

    void aDeadReaderEndsOnlyThisExport()
    {
        // Before the film is open, before its pictures can be reached, during a read, between two scenes.
        for (const QString script : {"open@1 die", "bufupdate@2 die", "read@2 die", "read@3 last"}) {
            ExportWindows windows({script});
            windows.addScene("1", "3");
            windows.addScene("9", "1");
            const QString message = "Программа чтения кадров «" + windows.reader.exe + "» неожиданно завершилась";
            QCOMPARE(windows.exportGifs(), QStringList{message});
            QCOMPARE(windows.filesIn(), script == "read@3 last" ? QStringList{"1_3.gif"} : QStringList());
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
            QCOMPARE(windows.framesIn("1_3"), QList<int>({25, 50, 75}));
            QCOMPARE(windows.framesIn("9_1"), QList<int>({225}));
        }
    }

    void cancellingEndsBetweenScenes()
    {
        const std::pair<int, std::function<void(TForm4 *)>> ways[]{
            {0, [](TForm4 *dialog) { QTest::mouseClick(dialog->BitBtn3, Qt::LeftButton); }},
            {1, [](TForm4 *dialog) { QTest::keyClick(dialog, Qt::Key_Escape); }},
            {3, [](TForm4 *dialog) { dialog->close(); }},
        };
        for (const auto &[after, cancel] : ways) {
            ExportWindows windows;
            for (int i = 0; i < 8; ++i)
                windows.addScene(QString::number(i), "2");
            windows.dialog->show();
            windows.dialog->Timer1->setInterval(30);
            QTest::mouseClick(windows.dialog->BitBtn1, Qt::LeftButton);
            QTRY_VERIFY(SCENE > after);
            cancel(windows.dialog.get());
            QCOMPARE(windows.takeMessages(), finished);
            QVERIFY(windows.isOver());
            const QStringList files = windows.filesIn();
            QVERIFY(files.size() < 8);
            for (int i = 0; i < files.size(); ++i)
                QCOMPARE(windows.framesIn(QString("%1_2").arg(i)), QList<int>({i * 25, i * 25 + 25}));

            // Without an export it just closes.
            windows.dialog->show();
            cancel(windows.dialog.get());
            QVERIFY(!windows.dialog->isVisible() && windows.takeMessages().isEmpty());
        }
    }
};

int main(int argc, char **argv)
{
    return runInApplication<GifExportDialogTest>(argc, argv);
}
#include "gif_export_dialog_test.moc"
