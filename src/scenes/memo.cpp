#include "scenes/memo.h"

#include "platform/clipboard.h"
#include "scenes/type_list.h"

#include <QClipboard>
#include <QGuiApplication>

void TMemo::setText(const QString &text)
{
    m_lines = linesOf(text);
}

void TMemo::pasteOverAll()
{
    const QClipboard *clipboard = QGuiApplication::clipboard();
    // The framework waits for its owner for a quarter of a minute, during which the window would stand still.
    const bool asked = QGuiApplication::platformName() == QLatin1String("xcb") && !clipboard->ownsClipboard();
    if (asked && !clipboardAnswers())
        return;
    const QString text = clipboard->text();
    if (!text.isEmpty())
        setText(text);
}
