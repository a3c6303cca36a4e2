#include "widgets/smoky_bars.h"

#include "widgets/smoky_strokes.h"

#include <algorithm>

namespace smoky {

constexpr int shortestScrollHandle = 24;

QRect scrollBarPart(const QStyleOptionSlider *bar, QStyle::SubControl part)
{
    const bool along = bar->orientation == Qt::Horizontal;
    const int length = along ? bar->rect.width() : bar->rect.height();
    const qint64 range = static_cast<qint64>(bar->maximum) - bar->minimum;
    int handleLength = length;
    if (range > 0) {
        const qint64 share = static_cast<qint64>(length) * bar->pageStep / std::max<qint64>(range + bar->pageStep, 1);
        handleLength = std::clamp(static_cast<int>(share), std::min(shortestScrollHandle, length), length);
    }
    const int at = QStyle::sliderPositionFromValue(bar->minimum, bar->maximum, bar->sliderPosition,
                                                   length - handleLength, bar->upsideDown);
    int from = 0;
    int count = 0; // the end buttons are left out: a wheel, a drag and a press on the groove do all
    switch (part) {
    case QStyle::SC_ScrollBarSlider:
        from = at;
        count = handleLength;
        break;
    case QStyle::SC_ScrollBarSubPage:
        count = at;
        break;
    case QStyle::SC_ScrollBarAddPage:
        from = at + handleLength;
        count = length - from;
        break;
    case QStyle::SC_ScrollBarGroove:
        count = length;
        break;
    default:
        break;
    }
    const QRect found = along ? QRect(from, 0, count, bar->rect.height()) : QRect(0, from, bar->rect.width(), count);
    return QStyle::visualRect(along ? bar->direction : Qt::LeftToRight, bar->rect,
                              found.translated(bar->rect.topLeft()));
}

void drawScrollBar(const QStyleOptionSlider *bar, QPainter *painter)
{
    const PainterState state(painter);
    const QPalette &palette = bar->palette;
    painter->fillRect(bar->rect, palette.color(QPalette::Mid));
    if (bar->maximum == bar->minimum)
        return;
    const bool held = bar->activeSubControls & QStyle::SC_ScrollBarSlider;
    QColor color = palette.color(QPalette::Light).lighter(115);
    if (held && bar->state & QStyle::State_Sunken)
        color = accent(bar);
    else if (held && bar->state & QStyle::State_MouseOver)
        color = color.lighter(130);
    const QRectF handle = QRectF(scrollBarPart(bar, QStyle::SC_ScrollBarSlider)).adjusted(2.5, 2.5, -2.5, -2.5);
    painter->setPen(Qt::NoPen);
    painter->setBrush(color);
    painter->drawRoundedRect(handle, 4, 4);
}

void drawProgress(const QStyleOptionProgressBar *bar, QPainter *painter)
{
    const qint64 range = static_cast<qint64>(bar->maximum) - bar->minimum;
    const qint64 done = std::clamp<qint64>(static_cast<qint64>(bar->progress) - bar->minimum, 0, range);
    if (range == 0 || done == 0)
        return;
    const PainterState state(painter);
    const bool along = bar->state & QStyle::State_Horizontal;
    const bool fromFarEnd = bar->invertedAppearance != (along ? bar->direction == Qt::RightToLeft : true);
    const QRectF inside = QRectF(bar->rect).adjusted(1, 1, -1, -1);
    const qreal part = static_cast<qreal>(done) / static_cast<qreal>(range);
    QRectF filled = inside;
    QRectF mark = inside; // the place itself
    if (along) {
        filled.setWidth(inside.width() * part);
        if (fromFarEnd)
            filled.moveRight(inside.right());
        mark.setWidth(2);
        mark.moveCenter({fromFarEnd ? filled.left() : filled.right(), inside.center().y()});
    } else {
        filled.setHeight(inside.height() * part);
        if (fromFarEnd)
            filled.moveBottom(inside.bottom());
        mark.setHeight(2);
        mark.moveCenter({inside.center().x(), fromFarEnd ? filled.top() : filled.bottom()});
    }
    const QColor color = bar->palette.color(QPalette::Highlight);
    painter->setClipRect(inside);
    painter->setPen(Qt::NoPen);
    painter->setBrush(downward(bar->rect, color.lighter(112), color.darker(115)));
    painter->drawRoundedRect(filled, corner - 1, corner - 1);
    painter->setBrush(accent(bar));
    painter->drawRect(mark);
}

} // namespace smoky
