#pragma once

#include <QString>

/// The program's own looks, by name.
class TStyleManager {
public:
    /// Makes the style of that name the application's: its drawing, its palette and its tool tips. False if there
    /// is no such style, and then nothing changes; with `showError` an error box says so. The application object
    /// must exist.
    static bool TrySetStyle(const QString &name, bool showError = true);
};
