#pragma once

#include <QString>

#include <functional>

// The commands that hand something to the desktop. They return at once and report nothing: a missing help file or a
// desktop without a browser is the desktop's to tell.

/// Opens the help file, which lies in the application folder.
void openHelpFile();

/// Opens the help that is kept up to date on the network.
void openOnlineHelp();

/// Opens the page of the program.
void openProductPage();

/// The address of the program's page, as the about box shows it.
[[nodiscard]] QString productPageAddress();

/// While set, nothing is opened: the function gets each address or file path. For tests; an empty function brings
/// the desktop back.
void setShellOpenAnswer(std::function<void(const QString &address)> answer);
