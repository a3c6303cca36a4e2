#pragma once

#include <QString>

#include <functional>

/// Shows `text` in a modal message box with an OK button, titled with the program's name, above the active
/// window, and returns when it is closed.
void ShowMessage(const QString &text);

/// The same with the error icon: the box of an error that nothing else has reported.
void showError(const QString &text);

/// The same with a second button, which Enter and Esc do not press. True if the user chose that button.
[[nodiscard]] bool showErrorOffering(const QString &text, const QString &caption);

/// While set, boxes are not shown: the function gets each box's text instead, and no offer is taken. For tests; an empty function
/// brings the boxes back.
void setMessageBoxAnswer(std::function<void(const QString &text)> answer);
