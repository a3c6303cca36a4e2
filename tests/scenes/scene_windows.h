#pragma once

#include "fake_graph.h"
#include "quiet_display.h"
#include "scene_lists.h"

#include "scenes/scene_dialog.h"
#include "scenes/scene_list_window.h"

#include <QTemporaryDir>
#include <QWidget>

#include <memory>

/// The two scene windows under a main window, with a type list of their own and a film that can be opened on a fake
/// media library. Message boxes are written down, not shown.
class SceneWindows final : private QuietDisplay {
public:
    /// `typeList` is the content of the type list file.
    explicit SceneWindows(const QByteArray &typeList);
    ~SceneWindows() override;

    /// Opens a film named `name` in the folder.
    void openVideo(const QString &name = QStringLiteral("film.avi"));

    [[nodiscard]] QString path(const QString &name) const { return folder.filePath(name); }
    [[nodiscard]] QByteArray content(const QString &name) const;
    void write(const QString &name, const QByteArray &bytes) const;

    /// The data rows of the list, their cells from the number on joined by "|".
    [[nodiscard]] QStringList rows() const { return rowsOf(grid->cells()); }
    void addRow(const Scene &scene) const;

    /// The point of the grid's viewport in the middle of the row's first cell.
    [[nodiscard]] QPoint pointOf(int row) const;
    void clickRow(int row) const;

    QTemporaryDir folder;
    QWidget owner;
    FakeGraphSystem system;
    QStringList messages;
    int beeps = 0;
    QStringList openedAddresses;
    std::unique_ptr<TForm2> dialog;
    std::unique_ptr<TForm3> list;
    TStringGrid *grid = nullptr;

private:
    QWidget *videoPanel() override { return &owner; }
};
