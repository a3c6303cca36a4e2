#pragma once

#include "gif_witness.h"
#include "reader_stand_in.h"
#include "scene_windows.h"
#include "scripted_reader.h"

#include "app/application.h"
#include "export/gif_export_dialog.h"
#include "export/sqlite_export_window.h"
#include "widgets/message_box.h"

#include <QDir>
#include <QTest>
#include <QTimer>

#include <functional>
#include <memory>

inline const QStringList finished{"Экспорт завершён"};

/// Runs the tests in an application that shows the errors of its commands, in the standard box.
template <typename Test>
int runInApplication(int argc, char **argv)
{
    const TApplication application(argc, argv);
    Test test;
    return QTest::qExec(&test, argc, argv);
}

/// The two export windows and the scene list under a main window, with a scripted reader beside the program and a
/// film that is open. All message boxes are written down.
class ExportWindows {
public:
    explicit ExportWindows(const QStringList &readerScript = {})
    {
        windows.openVideo();
        reader.setScript(readerScript);
        dialog = std::make_unique<TForm4>(&windows.owner);
        dialog->Timer1->setInterval(0);
        window = std::make_unique<TForm5>(&windows.owner);
    }

    void addScene(const QString &position, const QString &length, const QString &title = "title") const
    {
        windows.addRow({position, length, {}, {}, {}, title, {}, {}, {}, {}, {}, {}});
    }

    /// Show the window, export there and return the messages once that has ended or an error was shown.
    QStringList exportGifs()
    {
        return messagesOf(dialog.get(), [this] { dialog->BitBtn1Click(); });
    }
    QStringList exportDatabase()
    {
        return messagesOf(window.get(), [this] { window->BitBtn2Click(); });
    }

    /// The messages shown since the last call.
    QStringList takeMessages() { return std::exchange(windows.messages, {}); }

    /// The GIF dialog is closed, and with it the film.
    [[nodiscard]] bool isOver() const { return !dialog->isVisible() && !dialog->Timer1->isActive() && !FR->opened(); }

    [[nodiscard]] QString images() const { return windows.path("film.avi.images"); }
    [[nodiscard]] QString gif(const QString &name) const { return images() + '/' + name + ".gif"; }
    /// The names of all files in a folder beside the film, hidden ones too; of the film's folder for "".
    [[nodiscard]] QStringList filesIn(const QString &folder = "film.avi.images") const
    {
        constexpr QDir::Filters all = QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot;
        return QDir(windows.path(folder)).entryList(all);
    }

    /// The indices that the pictures of a GIF show; -1 for a picture that is not the square of one.
    [[nodiscard]] QList<int> framesIn(const QString &name) const
    {
        QList<int> frames;
        for (const QImage &picture : gifPictures(windows.content("film.avi.images/" + name + ".gif"))) {
            const int frame = scripted_reader::indexOf(picture.pixel(0, 0));
            bool whole = picture.size() == QSize(200, 200);
            for (int i = 0; i < 200 && whole; ++i) {
                const int at = (scripted_reader::height - 1) * i / 199;
                const unsigned color = scripted_reader::colorAt(static_cast<unsigned>(frame), at, at);
                whole = picture.pixel(i, i) == (0xFF000000U | color);
            }
            frames += whole ? frame : -1;
        }
        return frames;
    }

    SceneWindows windows{"a\n"};
    ReaderStandIn reader{windows.folder.path()};
    std::unique_ptr<TForm4> dialog;
    std::unique_ptr<TForm5> window;

private:
    QStringList messagesOf(QWidget *shown, const std::function<void()> &command)
    {
        shown->show();
        // Not by a click: an error that passes through the framework's buttons leaves some of their memory behind.
        QTimer::singleShot(0, shown, command);
        (void)QTest::qWaitFor([&] { return !windows.messages.isEmpty(); }, 60'000);
        return takeMessages();
    }
};
