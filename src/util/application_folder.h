#pragma once

#include <QString>

/// The folder of the program's executable, without a trailing separator. Set once, when the main window is
/// built; the type list, the help file and the frame reader are looked for in it.
extern QString CurPath;

/// The full path of `fileName` in `CurPath`, with the system's own separator.
[[nodiscard]] QString inApplicationFolder(const QString &fileName);
