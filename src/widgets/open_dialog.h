#pragma once

#include <QString>

#include <functional>
#include <optional>

class QWidget;

/// The open-file dialog of a window: any existing file, no filter, no default extension.
class TOpenDialog {
public:
    /// The full path of the file chosen last, with the system's own separators; empty before the first choice.
    QString FileName;

    /// Runs the dialog above `owner`. True if the user chose a file, which is then `FileName`; a cancelled
    /// dialog leaves `FileName` as it was.
    [[nodiscard]] bool Execute(QWidget *owner);
};

/// While set, the dialog is not shown: the function gives the chosen path, or nothing for a cancelled dialog.
/// For tests; an empty function brings the dialog back.
void setOpenDialogAnswer(std::function<std::optional<QString>()> answer);
