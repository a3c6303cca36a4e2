#include "scenes/scene_field.h"

#include "scenes/cell_text.h"

#include <QKeyEvent>
#include <QToolTip>

QString lossHint(const QString &text)
{
    const QString lost = whatIsLost(text);
    return lost.isEmpty() ? QString()
                          : QStringLiteral("Из файла списка сцен этот текст не прочитается таким же: %1").arg(lost);
}

QColor lossColor(const QPalette &palette)
{
    const QColor base = palette.color(QPalette::Base);
    // A third of a red that is seen on dark and on light.
    const auto mixed = [](int own, int red) { return (2 * own + red) / 3; };
    return {mixed(base.red(), 220), mixed(base.green(), 50), mixed(base.blue(), 40)};
}

SceneField::SceneField(QWidget *parent) : QLineEdit(parent)
{
    connect(this, &QLineEdit::textChanged, this, &SceneField::mark);
    connect(this, &QLineEdit::textEdited, this, &SceneField::takeEdit);
}

void SceneField::forgetTyping()
{
    const int cursor = cursorPosition();
    setText(text());
    setCursorPosition(cursor);
}

bool SceneField::event(QEvent *event)
{
    if (event->type() == QEvent::ShortcutOverride) {
        const auto combination = static_cast<QKeyEvent *>(event)->keyCombination();
        if (combination == (Qt::CTRL | Qt::Key_Z) || combination == (Qt::CTRL | Qt::SHIFT | Qt::Key_Z)) {
            event->ignore();
            return true;
        }
    }
    return QLineEdit::event(event);
}

void SceneField::takeEdit(const QString &text)
{
    const QString clean = asSingleLine(text);
    if (clean != text) {
        const int cursor = cursorPosition();
        setText(clean);
        setCursorPosition(cursor);
    }
    if (!toolTip().isEmpty())
        QToolTip::showText(mapToGlobal(rect().bottomLeft()), toolTip(), this);
}

void SceneField::mark()
{
    const QString hint = lossHint(text());
    if (hint == toolTip())
        return;
    setToolTip(hint);
    setAccessibleDescription(hint);
    QPalette marked;
    if (!hint.isEmpty())
        marked.setColor(QPalette::Base, lossColor(palette()));
    setPalette(marked);
}
