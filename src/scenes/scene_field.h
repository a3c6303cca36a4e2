#pragma once

#include <QLineEdit>

/// A field of the scene dialog. What is typed or pasted comes as one line without control characters. A text that
/// would not come back from the scenes file is marked, and the hint says why; it stays as it was typed.
///
/// Ctrl+Z and Ctrl+Shift+Z are left to the application's shortcuts.
class SceneField : public QLineEdit {
    Q_OBJECT

public:
    explicit SceneField(QWidget *parent);

    /// Forgets what was typed step by step.
    void forgetTyping();

protected:
    bool event(QEvent *event) override;

private:
    void takeEdit(const QString &text);
    void mark();
};

/// Why this text would not come back from the scenes file, as a hint for the user; empty if it would.
[[nodiscard]] QString lossHint(const QString &text);

/// The colour of the mark for a text that would not come back, on the base of this palette.
[[nodiscard]] QColor lossColor(const QPalette &palette);
