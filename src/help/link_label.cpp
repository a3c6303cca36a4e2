#include "help/link_label.h"

#include <QAccessibleWidget>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QStyle>
#include <QStyleOptionFocusRect>
#include <QStylePainter>

namespace {

class AccessibleLink final : public QAccessibleWidget {
public:
    explicit AccessibleLink(TLinkLabel *label) : QAccessibleWidget(label, QAccessible::Link) {}

    QString text(QAccessible::Text kind) const override
    {
        return kind == QAccessible::Name ? label()->text() : QAccessibleWidget::text(kind);
    }

    QStringList actionNames() const override
    {
        QStringList names = QAccessibleWidget::actionNames();
        names.prepend(pressAction());
        return names;
    }

    void doAction(const QString &name) override
    {
        if (name == pressAction())
            Q_EMIT label()->Click();
        else
            QAccessibleWidget::doAction(name);
    }

private:
    TLinkLabel *label() const { return static_cast<TLinkLabel *>(object()); }
};

QAccessibleInterface *makeAccessible(const QString &, QObject *object)
{
    auto *label = qobject_cast<TLinkLabel *>(object);
    return label ? new AccessibleLink(label) : nullptr; // the framework takes it
}

} // namespace

TLinkLabel::TLinkLabel(const QString &text, QWidget *parent) : QLabel(text, parent)
{
    QAccessible::installFactory(makeAccessible);
    setTextFormat(Qt::PlainText);
    setCursor(Qt::PointingHandCursor);
    setFocusPolicy(Qt::TabFocus);
    setForegroundRole(QPalette::Link);
}

void TLinkLabel::mousePressEvent(QMouseEvent *event)
{
    event->setAccepted(event->button() == Qt::LeftButton);
}

void TLinkLabel::mouseReleaseEvent(QMouseEvent *event)
{
    if (event->button() == Qt::LeftButton && rect().contains(event->position().toPoint()))
        Q_EMIT Click();
}

void TLinkLabel::keyPressEvent(QKeyEvent *event)
{
    switch (event->key()) {
    case Qt::Key_Return:
    case Qt::Key_Enter:
    case Qt::Key_Space:
        Q_EMIT Click();
        break;
    default:
        QLabel::keyPressEvent(event);
    }
}

void TLinkLabel::paintEvent(QPaintEvent *event)
{
    QLabel::paintEvent(event);
    if (!hasFocus())
        return;
    QStyleOptionFocusRect option;
    option.initFrom(this);
    QStylePainter(this).drawPrimitive(QStyle::PE_FrameFocusRect, option);
}
