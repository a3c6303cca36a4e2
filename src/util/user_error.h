#pragma once

#include <QString>

#include <functional>
#include <stdexcept>
#include <utility>

/// A command that failed, with the text that tells the user what failed, on what, and why. Thrown out of the
/// command and shown by the application object at the event loop.
class UserError : public std::runtime_error {
public:
    explicit UserError(const QString &text) : std::runtime_error(text.toStdString()) {}

    [[nodiscard]] QString text() const { return QString::fromUtf8(what()); }
};

/// A command that failed, but that the user can go on with in another way: the box of the error offers it.
class RemediableError : public UserError {
public:
    /// `remedy` is run if the user chooses the button with `caption`, after the failed command has ended. It may throw.
    RemediableError(const QString &text, QString caption, std::function<void()> remedy)
        : UserError(text), m_caption(std::move(caption)), m_remedy(std::move(remedy))
    {
    }

    [[nodiscard]] const QString &caption() const { return m_caption; }
    [[nodiscard]] const std::function<void()> &remedy() const { return m_remedy; }

private:
    QString m_caption;
    std::function<void()> m_remedy;
};
