#pragma once

#include <string>

/// The folder (UTF-8) that stands for "no settings": no file is found below it, none can be made there.
[[nodiscard]] std::string noSettingsFolder();

/// Whether the system's own dialog for opening files keeps what was chosen in it for later.
[[nodiscard]] bool openDialogKeepsHistory();
