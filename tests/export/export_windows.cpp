#include "export_windows.h"

#include "gif_witness.h"
#include "scripted_reader.h"

#include "util/user_error.h"
#include "widgets/message_box.h"

#include <QDir>
#include <QTest>
#include <QTimer>

bool FallibleApplication::notify(QObject *receiver, QEvent *event)
{
    try {
        return QApplication::notify(receiver, event);
    } catch (const UserError &error) {
        showError(error.text());
    }
    return true;
}

ExportWindows::ExportWindows(const QStringList &readerScript) : windows("a\n"), reader(windows.folder.path())
{
    windows.openVideo();
    reader.setScript(readerScript);
    dialog = std::make_unique<TForm4>(&windows.owner);
    window = std::make_unique<TForm5>(&windows.owner);
}

void ExportWindows::addScene(const QString &position, const QString &length, const QString &title) const
{
    Scene scene;
    scene.position = position;
    scene.length = length;
    scene.title = title;
    windows.addRow(scene);
}

QStringList ExportWindows::messagesOf(const QObject *inLoopOf, const std::function<void()> &command)
{
    // Not by a click: an error that passes through the framework's buttons leaves some of their memory behind.
    QTimer::singleShot(0, inLoopOf, command);
    (void)QTest::qWaitFor([&] { return !windows.messages.isEmpty(); }, 60'000);
    return takeMessages();
}

QStringList ExportWindows::exportGifs()
{
    dialog->Timer1->setInterval(0);
    dialog->show();
    return messagesOf(dialog.get(), [this] { dialog->BitBtn1Click(); });
}

QStringList ExportWindows::exportDatabase()
{
    window->show();
    return messagesOf(window.get(), [this] { window->BitBtn2Click(); });
}

QStringList ExportWindows::imageFiles() const
{
    return QDir(images()).entryList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot);
}

QList<int> ExportWindows::framesIn(const QString &name) const
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
