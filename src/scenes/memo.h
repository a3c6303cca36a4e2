#pragma once

#include <QStringList>

/// A text of several lines that is never on the screen: what is in it is only read line by line.
class TMemo {
public:
    /// Lines end in CR LF, LF or CR.
    void setText(const QString &text);
    void setLines(const QStringList &newLines) { m_lines = newLines; }

    /// Replaces the whole text by the clipboard's; a clipboard without text, or that hangs, leaves it as it is.
    void pasteOverAll();

    [[nodiscard]] const QStringList &Lines() const { return m_lines; }

private:
    QStringList m_lines;
};
