#include "widgets/smoky_slider.h"

#include "widgets/smoky_faces.h"
#include "widgets/smoky_strokes.h"

#include <QSlider>

#include <algorithm>

namespace smoky {

namespace {

constexpr int tickLength = 3;

bool isAlong(const QStyleOptionSlider *slider)
{
    return slider->orientation == Qt::Horizontal;
}

// Where the handle's middle stands for a value, along the slider.
qreal handleMiddle(const QStyleOptionSlider *slider, int value)
{
    const int length = isAlong(slider) ? slider->rect.width() : slider->rect.height();
    return sliderHandleLength / 2.0
           + QStyle::sliderPositionFromValue(slider->minimum, slider->maximum, value, length - sliderHandleLength,
                                             slider->upsideDown);
}

int tickStep(const QStyleOptionSlider *slider)
{
    if (slider->tickInterval > 0)
        return slider->tickInterval;
    const qreal single =
        handleMiddle(slider, slider->minimum + slider->singleStep) - handleMiddle(slider, slider->minimum);
    return std::max(std::abs(single) < 3 ? slider->pageStep : slider->singleStep, 1);
}

void drawTicks(const QStyleOptionSlider *slider, QPainter *painter)
{
    const QRect groove = sliderPart(slider, QStyle::SC_SliderGroove);
    const int step = tickStep(slider);
    painter->setPen(faint(slider->palette.color(QPalette::WindowText), 110));
    for (qint64 value = slider->minimum; value <= slider->maximum; value += step) {
        const qreal at = handleMiddle(slider, static_cast<int>(value));
        const auto draw = [&](qreal from, qreal to) {
            if (isAlong(slider))
                painter->drawLine(QPointF(slider->rect.left() + at, from), QPointF(slider->rect.left() + at, to));
            else
                painter->drawLine(QPointF(from, slider->rect.top() + at), QPointF(to, slider->rect.top() + at));
        };
        const qreal near = isAlong(slider) ? groove.top() : groove.left();
        const qreal far = 1 + (isAlong(slider) ? groove.bottom() : groove.right());
        if (slider->tickPosition & QSlider::TicksAbove)
            draw(near - 1 - tickLength, near - 1);
        if (slider->tickPosition & QSlider::TicksBelow)
            draw(far + 1, far + 1 + tickLength);
    }
}

bool isEnabled(const QStyleOptionSlider *slider)
{
    return slider->state & QStyle::State_Enabled;
}

// The road of the handle.
void drawGroove(const QStyleOptionSlider *slider, QPainter *painter)
{
    const QPalette &palette = slider->palette;
    const bool focused = isEnabled(slider) && slider->state & QStyle::State_HasFocus;
    const QRectF whole = sliderPart(slider, QStyle::SC_SliderGroove);
    const QPointF middle = whole.center();
    QRectF road = isAlong(slider) ? QRectF(whole.left() + 0.5, middle.y() - 2, whole.width() - 1, 4)
                                  : QRectF(middle.x() - 2, whole.top() + 0.5, 4, whole.height() - 1);
    painter->setPen(focused ? accent(slider) : palette.color(QPalette::Dark));
    painter->setBrush(palette.color(QPalette::Base));
    painter->drawRoundedRect(road, 2, 2);

    // The way from zero, or from the end where zero is no inner value.
    const int origin = slider->minimum < 0 && slider->maximum > 0 ? 0 : slider->minimum;
    const qreal from = handleMiddle(slider, origin);
    const qreal to = handleMiddle(slider, slider->sliderPosition);
    const bool fromEnd = origin == slider->minimum;
    const qreal length = isAlong(slider) ? whole.width() : whole.height();
    const qreal low = fromEnd && from < to ? 1 : std::min(from, to);
    const qreal high = fromEnd && from > to ? length - 1 : std::max(from, to);
    road = isAlong(slider) ? QRectF(whole.left() + low, road.top() + 0.5, high - low, road.height() - 1)
                           : QRectF(road.left() + 0.5, whole.top() + low, road.width() - 1, high - low);
    painter->setPen(Qt::NoPen);
    painter->setBrush(palette.color(QPalette::Highlight));
    painter->drawRoundedRect(road, 1.5, 1.5);
}

void drawHandle(const QStyleOptionSlider *slider, QPainter *painter)
{
    QStyleOption handle(*slider);
    const bool active = slider->activeSubControls & QStyle::SC_SliderHandle;
    handle.state.setFlag(QStyle::State_MouseOver, active && slider->state & QStyle::State_MouseOver);
    handle.state.setFlag(QStyle::State_Sunken, false);
    handle.state.setFlag(QStyle::State_On, false);
    // Lighter than a button, for it lies on dark.
    handle.palette.setColor(QPalette::Button,
                            slider->palette.color(isEnabled(slider) ? QPalette::Light : QPalette::Button));
    drawFace(&handle, painter, sliderPart(slider, QStyle::SC_SliderHandle).adjusted(1, 0, -1, 0), false);
}

} // namespace

QRect sliderPart(const QStyleOptionSlider *slider, QStyle::SubControl part)
{
    const QRect &rect = slider->rect;
    const bool along = isAlong(slider);
    const int across = along ? rect.height() : rect.width();
    const int above = slider->tickPosition & QSlider::TicksAbove ? tickLength + 1 : 0;
    const int below = slider->tickPosition & QSlider::TicksBelow ? tickLength + 1 : 0;
    const int thickness = std::clamp(across - above - below, 5, sliderHandleThickness);
    const int start = above + (across - above - below - thickness) / 2;
    QRect found; // as if along
    if (part == QStyle::SC_SliderHandle) {
        const int length = along ? rect.width() : rect.height();
        const int at = QStyle::sliderPositionFromValue(slider->minimum, slider->maximum, slider->sliderPosition,
                                                       length - sliderHandleLength, slider->upsideDown);
        found = QRect(at, start, sliderHandleLength, thickness);
    } else {
        found = QRect(0, start, along ? rect.width() : rect.height(), thickness);
    }
    if (!along)
        found = QRect(found.y(), found.x(), found.height(), found.width());
    return found.translated(rect.topLeft());
}

void drawSlider(const QStyleOptionSlider *slider, QPainter *painter)
{
    const PainterState state(painter);
    if (slider->subControls & QStyle::SC_SliderTickmarks && slider->tickPosition != QSlider::NoTicks)
        drawTicks(slider, painter);
    if (slider->subControls & QStyle::SC_SliderGroove)
        drawGroove(slider, painter);
    if (slider->subControls & QStyle::SC_SliderHandle)
        drawHandle(slider, painter);
}

} // namespace smoky
