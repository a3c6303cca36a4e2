#pragma once

#include <QString>

#include <stdexcept>

/// A command that failed, with the text that tells the user what failed, on what, and why. Thrown out of the
/// command and shown by the application object at the event loop.
class UserError : public std::runtime_error {
public:
    explicit UserError(const QString &text) : std::runtime_error(text.toStdString()) {}

    [[nodiscard]] QString text() const { return QString::fromUtf8(what()); }
};
