#pragma once

#include "reader_stand_in.h"
#include "scene_windows.h"

#include "export/gif_export_dialog.h"
#include "export/sqlite_export_window.h"

#include <QApplication>

#include <functional>
#include <memory>

inline const QStringList finished{"Экспорт завершён"};

/// An application whose commands may fail: the error is shown in the standard box.
class FallibleApplication final : public QApplication {
public:
    using QApplication::QApplication;
    bool notify(QObject *receiver, QEvent *event) override;
};

/// The two export windows and the scene list under a main window, with a scripted reader beside the program and a
/// video that is open. All message boxes are written down.
class ExportWindows {
public:
    explicit ExportWindows(const QStringList &readerScript = {});

    /// Adds a scene to the list.
    void addScene(const QString &position, const QString &length, const QString &title = "title") const;

    /// Shows the GIF dialog, starts the export and returns the messages once it has ended or an error was shown; ticks
    /// follow each other without a pause.
    [[nodiscard]] QStringList exportGifs();
    /// Shows the database window, exports there and returns the messages.
    [[nodiscard]] QStringList exportDatabase();

    [[nodiscard]] QString images() const { return windows.path("film.avi.images"); }
    /// The names of all files in the images folder, hidden ones too.
    [[nodiscard]] QStringList imageFiles() const;
    [[nodiscard]] QString gif(const QString &name) const { return images() + '/' + name + ".gif"; }

    /// The frame indices that the pictures of a GIF show; -1 for a picture that is not the square of one.
    [[nodiscard]] QList<int> framesIn(const QString &name) const;

    /// The messages shown since the last call.
    QStringList takeMessages() { return std::exchange(windows.messages, {}); }

    SceneWindows windows;
    ReaderStandIn reader;
    std::unique_ptr<TForm4> dialog;
    std::unique_ptr<TForm5> window;

private:
    QStringList messagesOf(const QObject *inLoopOf, const std::function<void()> &command);
};
