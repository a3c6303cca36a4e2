#include "widgets/waiting_clipboard.h"

#include "platform/clipboard.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QLineEdit>

bool clipboardHangs()
{
    const bool another =
        QGuiApplication::platformName() == QLatin1String("xcb") && !QGuiApplication::clipboard()->ownsClipboard();
    return another && !clipboardAnswers();
}

bool waitsForClipboard(const QObject *receiver, const QEvent &event)
{
    if (!qobject_cast<const QLineEdit *>(receiver))
        return false;
    // The menu of a text field asks whether there is something to paste.
    const bool reads =
        event.type() == QEvent::ContextMenu
        || (event.type() == QEvent::KeyPress && static_cast<const QKeyEvent &>(event).matches(QKeySequence::Paste));
    return reads && clipboardHangs();
}
