#include "scenes/memo.h"

#include "scenes/type_list.h"
#include "widgets/waiting_clipboard.h"

#include <QClipboard>
#include <QGuiApplication>

void TMemo::setText(const QString &text)
{
    m_lines = linesOf(text);
}

void TMemo::pasteOverAll()
{
    if (clipboardHangs())
        return;
    const QString text = QGuiApplication::clipboard()->text();
    if (!text.isEmpty())
        setText(text);
}
