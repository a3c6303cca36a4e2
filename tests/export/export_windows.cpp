#include "export_windows.h"

#include "gif_witness.h"
#include "scripted_reader.h"

#include "util/user_error.h"
#include "widgets/message_box.h"

#include <QDir>
#include <QPushButton>
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

void ExportWindows::addScene(const QString &position, const QString &length, const QString &title)
{
    Scene scene;
    scene.position = position;
    scene.length = length;
    scene.title = title;
    windows.addRow(scene);
}

void ExportWindows::openDialog() const
{
    dialog->Timer1->setInterval(0);
    dialog->show();
}

void ExportWindows::exportGifs()
{
    openDialog();
    // Not by a click: an error that passes through the framework's buttons leaves some of their memory behind.
    QTimer::singleShot(0, dialog.get(), &TForm4::BitBtn1Click);
    QTRY_VERIFY_WITH_TIMEOUT(!windows.messages.isEmpty(), 60'000);
}

QStringList ExportWindows::imageFiles() const
{
    return QDir(images()).entryList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot);
}

QList<int> ExportWindows::framesIn(const QString &name) const
{
    QList<int> frames;
    for (const QImage &picture : gifPictures(gif(name))) {
        const auto at = [&](int x, int y) {
            const QRgb color = picture.pixel(x, y);
            return scripted_reader::Color{static_cast<std::uint8_t>(qRed(color)),
                                          static_cast<std::uint8_t>(qGreen(color)),
                                          static_cast<std::uint8_t>(qBlue(color))};
        };
        const int frame = scripted_reader::indexOf(at(0, 0));
        bool whole = picture.size() == QSize(200, 200);
        for (int i = 0; i < 200 && whole; ++i) {
            const int y = (scripted_reader::height - 1) * i / 199;
            const scripted_reader::Color expected = scripted_reader::colorAt(frame, y, y);
            const scripted_reader::Color shown = at(i, i);
            whole = shown.red == expected.red && shown.green == expected.green && shown.blue == expected.blue;
        }
        frames += whole ? frame : -1;
    }
    return frames;
}
