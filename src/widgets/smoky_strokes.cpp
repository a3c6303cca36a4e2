#include "widgets/smoky_strokes.h"

namespace smoky {

QColor accent(const QStyleOption *option)
{
    return option->palette.color(QPalette::Link);
}

QColor faint(QColor color, int alpha)
{
    color.setAlpha(alpha);
    return color;
}

QRectF lineOf(const QRect &rect)
{
    return QRectF(rect).adjusted(0.5, 0.5, -0.5, -0.5);
}

QLinearGradient downward(const QRect &rect, const QColor &top, const QColor &bottom)
{
    QLinearGradient gradient(rect.topLeft(), rect.bottomLeft());
    gradient.setColorAt(0, top);
    gradient.setColorAt(1, bottom);
    return gradient;
}

void drawBox(QPainter *painter, const QRect &rect, const QBrush &fill, const QColor &line)
{
    painter->setPen(line);
    painter->setBrush(fill);
    painter->drawRoundedRect(lineOf(rect), corner, corner);
}

} // namespace smoky
