#include "widgets/smoky_faces.h"

#include "widgets/smoky_strokes.h"

namespace smoky {

namespace {

// A triangle that points down.
void drawArrow(QPainter *painter, const QRect &rect, const QColor &color)
{
    const QPointF middle = QRectF(rect).center();
    painter->setPen(Qt::NoPen);
    painter->setBrush(color);
    painter->drawPolygon(QPolygonF{middle + QPointF(-3.5, -2), middle + QPointF(3.5, -2), middle + QPointF(0, 2)});
}

} // namespace

void drawFace(const QStyleOption *option, QPainter *painter, const QRect &rect, bool isDefault)
{
    const QPalette &palette = option->palette;
    const bool enabled = option->state & QStyle::State_Enabled;
    const bool pressed = enabled && option->state & (QStyle::State_Sunken | QStyle::State_On);
    const bool hovered = enabled && option->state & QStyle::State_MouseOver;
    const bool focused = enabled && option->state & QStyle::State_HasFocus;

    const QColor face = palette.color(QPalette::Button);
    QColor top = face.lighter(118);
    QColor bottom = face;
    if (pressed) {
        top = face.darker(140);
        bottom = face.darker(125);
    } else if (hovered) {
        top = face.lighter(142);
        bottom = face.lighter(120);
    } else if (!enabled) {
        top = face;
    }
    QColor line = palette.color(QPalette::Dark);
    if (focused)
        line = accent(option);
    else if (isDefault)
        line = palette.color(QPalette::Highlight);
    drawBox(painter, rect, downward(rect, top, bottom), line);
    if (focused) {
        painter->setPen(faint(accent(option), 90));
        painter->setBrush(Qt::NoBrush);
        painter->drawRoundedRect(lineOf(rect.adjusted(1, 1, -1, -1)), corner - 1, corner - 1);
    } else if (enabled && !pressed) {
        painter->setPen(faint(palette.color(QPalette::Light), 130));
        painter->drawLine(QPointF(rect.left() + corner, rect.top() + 1.5),
                          QPointF(rect.right() + 1 - corner, rect.top() + 1.5));
    }
}

void drawField(const QStyleOption *option, QPainter *painter, const QBrush &fill)
{
    const bool focused = option->state & QStyle::State_Enabled && option->state & QStyle::State_HasFocus;
    drawBox(painter, option->rect, fill, focused ? accent(option) : option->palette.color(QPalette::Light));
}

void drawComboBox(const QStyleOptionComboBox *box, QPainter *painter, const QRect &arrow)
{
    const PainterState state(painter);
    if (box->editable)
        drawField(box, painter, box->palette.brush(QPalette::Base));
    else if (box->frame)
        drawFace(box, painter, box->rect, false);
    drawArrow(painter, arrow, box->palette.color(QPalette::ButtonText));
}

void drawHeaderSection(const QStyleOption *option, QPainter *painter)
{
    const QPalette &palette = option->palette;
    const bool enabled = option->state & QStyle::State_Enabled;
    QColor face = palette.color(QPalette::Button);
    if (enabled && option->state & QStyle::State_Sunken)
        face = face.darker(125);
    else if (enabled && option->state & (QStyle::State_On | QStyle::State_MouseOver))
        face = face.lighter(125);
    const QRect &rect = option->rect;
    painter->fillRect(rect, face);
    painter->fillRect(QRect(rect.right(), rect.top(), 1, rect.height()), palette.color(QPalette::Dark));
    painter->fillRect(QRect(rect.left(), rect.bottom(), rect.width(), 1), palette.color(QPalette::Dark));
}

} // namespace smoky
