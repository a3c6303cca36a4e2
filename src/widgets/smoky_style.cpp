#include "widgets/smoky_style.h"

#include "widgets/icons.h"

#include <QAbstractScrollArea>
#include <QAbstractSlider>
#include <QComboBox>
#include <QPainter>
#include <QPushButton>
#include <QStyleOption>

#include <algorithm>

namespace {

constexpr qreal corner = 3;
constexpr int sliderHandleLength = 11;
constexpr int sliderHandleThickness = 19;
constexpr int tickLength = 3;
constexpr int scrollBarThickness = 13;
constexpr int shortestScrollHandle = 24;

class PainterState {
public:
    explicit PainterState(QPainter *painter) : m_painter(painter)
    {
        m_painter->save();
        m_painter->setRenderHint(QPainter::Antialiasing);
    }
    ~PainterState() { m_painter->restore(); }
    Q_DISABLE_COPY_MOVE(PainterState)

private:
    QPainter *m_painter;
};

QColor accent(const QStyleOption *option)
{
    return option->palette.color(QPalette::Link);
}

QColor faint(QColor color, int alpha)
{
    color.setAlpha(alpha);
    return color;
}

// The middle of the one-pixel line along the inside of `rect`.
QRectF lineOf(const QRect &rect)
{
    return QRectF(rect).adjusted(0.5, 0.5, -0.5, -0.5);
}

void drawBox(QPainter *painter, const QRect &rect, const QBrush &fill, const QColor &line)
{
    painter->setPen(line);
    painter->setBrush(fill);
    painter->drawRoundedRect(lineOf(rect), corner, corner);
}

QLinearGradient downward(const QRect &rect, const QColor &top, const QColor &bottom)
{
    QLinearGradient gradient(rect.topLeft(), rect.bottomLeft());
    gradient.setColorAt(0, top);
    gradient.setColorAt(1, bottom);
    return gradient;
}

// The face of everything that can be pressed.
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

// The frame of a field that takes the keyboard: an edit, a list, a grid.
void drawField(const QStyleOption *option, QPainter *painter, const QBrush &fill)
{
    const bool focused = option->state & QStyle::State_Enabled && option->state & QStyle::State_HasFocus;
    drawBox(painter, option->rect, fill, focused ? accent(option) : option->palette.color(QPalette::Light));
}

// A triangle that points down, or up.
void drawArrow(QPainter *painter, const QRect &rect, const QColor &color, bool up)
{
    const QPointF middle = QRectF(rect).center();
    const qreal direction = up ? -1 : 1;
    painter->setPen(Qt::NoPen);
    painter->setBrush(color);
    painter->drawPolygon(QPolygonF{middle + QPointF(-3.5, -2 * direction), middle + QPointF(3.5, -2 * direction),
                                   middle + QPointF(0, 2 * direction)});
}

int titleHeight(const QStyleOptionGroupBox *box)
{
    return box->text.isEmpty() ? 0 : box->fontMetrics.height();
}

QRect groupBoxTitle(const QStyleOptionGroupBox *box)
{
    constexpr int inset = 6;
    const QRect line(box->rect.left() + inset, box->rect.top(), std::max(box->rect.width() - 2 * inset, 0),
                     titleHeight(box));
    const int width = std::min(box->fontMetrics.horizontalAdvance(box->text) + 1, line.width());
    const Qt::Alignment alignment = QStyle::visualAlignment(box->direction, box->textAlignment);
    return QStyle::alignedRect(Qt::LeftToRight, alignment & Qt::AlignHorizontal_Mask, {width, line.height()}, line);
}

void drawGroupBox(const QStyleOptionGroupBox *box, QPainter *painter)
{
    const PainterState state(painter);
    const QPalette &palette = box->palette;
    const QRect frame = box->rect.adjusted(0, titleHeight(box) / 2, 0, 0);
    const QRect title = groupBoxTitle(box);
    if (box->subControls & QStyle::SC_GroupBoxFrame) {
        painter->save();
        // The title stands in a gap of the line; what the box lies on shows through.
        if (!title.isEmpty())
            painter->setClipRegion(QRegion(box->rect) - QRegion(title.adjusted(-3, 0, 3, 0)));
        drawBox(painter, frame, faint(palette.color(QPalette::Light), 22), palette.color(QPalette::Midlight));
        painter->restore();
    }
    if (box->subControls & QStyle::SC_GroupBoxLabel && !title.isEmpty()) {
        const bool enabled = box->state & QStyle::State_Enabled;
        painter->setPen(enabled && box->textColor.isValid() ? box->textColor : palette.color(QPalette::WindowText));
        painter->drawText(title, Qt::AlignLeft | Qt::AlignVCenter | Qt::TextShowMnemonic | Qt::TextSingleLine,
                          box->text);
    }
}

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

void drawSlider(const QStyleOptionSlider *slider, QPainter *painter)
{
    const PainterState state(painter);
    const QPalette &palette = slider->palette;
    const bool enabled = slider->state & QStyle::State_Enabled;
    const bool focused = enabled && slider->state & QStyle::State_HasFocus;
    if (slider->subControls & QStyle::SC_SliderTickmarks && slider->tickPosition != QSlider::NoTicks)
        drawTicks(slider, painter);

    if (slider->subControls & QStyle::SC_SliderGroove) {
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

    if (slider->subControls & QStyle::SC_SliderHandle) {
        QStyleOption handle(*slider);
        const bool active = slider->activeSubControls & QStyle::SC_SliderHandle;
        handle.state.setFlag(QStyle::State_MouseOver, active && slider->state & QStyle::State_MouseOver);
        handle.state.setFlag(QStyle::State_Sunken, false);
        handle.state.setFlag(QStyle::State_On, false);
        // Lighter than a button, for it lies on dark.
        handle.palette.setColor(QPalette::Button, palette.color(enabled ? QPalette::Light : QPalette::Button));
        drawFace(&handle, painter, sliderPart(slider, QStyle::SC_SliderHandle).adjusted(1, 0, -1, 0), false);
    }
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

QRect scrollBarPart(const QStyleOptionSlider *bar, QStyle::SubControl part)
{
    const bool along = isAlong(bar);
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

void drawComboBox(const QStyleOptionComboBox *box, QPainter *painter, const QRect &arrow)
{
    const PainterState state(painter);
    if (box->editable)
        drawField(box, painter, box->palette.brush(QPalette::Base));
    else if (box->frame)
        drawFace(box, painter, box->rect, false);
    drawArrow(painter, arrow, box->palette.color(QPalette::ButtonText), false);
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

void drawMenuItem(const QStyleOptionMenuItem *item, QPainter *painter, const QStyle *style, const QWidget *widget)
{
    constexpr int iconColumn = 28;
    constexpr int iconSize = 16;
    const PainterState state(painter);
    const QPalette &palette = item->palette;
    const QRect &rect = item->rect;
    if (item->menuItemType == QStyleOptionMenuItem::Separator) {
        painter->fillRect(QRect(rect.left() + iconColumn, rect.center().y(), rect.width() - iconColumn - 6, 1),
                          palette.color(QPalette::Midlight));
        return;
    }
    const bool enabled = item->state & QStyle::State_Enabled;
    const bool selected = enabled && item->state & QStyle::State_Selected;
    if (selected) {
        painter->setPen(Qt::NoPen);
        painter->setBrush(palette.color(QPalette::Highlight));
        painter->drawRoundedRect(QRectF(rect).adjusted(2, 0, -2, 0), corner, corner);
    }
    const QPalette::ColorGroup group = enabled ? QPalette::Active : QPalette::Disabled;
    const QColor color = palette.color(group, selected ? QPalette::HighlightedText : QPalette::WindowText);

    const QRect mark(rect.left() + (iconColumn - iconSize) / 2, rect.center().y() - iconSize / 2, iconSize, iconSize);
    const bool checked = item->checkType != QStyleOptionMenuItem::NotCheckable && item->checked;
    if (checked) {
        QStyleOption check;
        check.rect = mark.adjusted(2, 2, -2, -2);
        check.palette = palette;
        check.palette.setColor(QPalette::Text, color);
        check.palette.setColor(QPalette::WindowText, color);
        check.state = QStyle::State_On | (enabled ? QStyle::State_Enabled : QStyle::State_None);
        style->drawPrimitive(QStyle::PE_IndicatorMenuCheckMark, &check, painter, widget);
    } else if (!item->icon.isNull()) {
        item->icon.paint(painter, mark, Qt::AlignCenter, enabled ? QIcon::Normal : QIcon::Disabled);
    }

    const QRect text = rect.adjusted(iconColumn, 0, -14, 0);
    const bool underline = style->styleHint(QStyle::SH_UnderlineShortcut, item, widget) != 0;
    const int flags = Qt::AlignVCenter | Qt::TextSingleLine | (underline ? Qt::TextShowMnemonic : Qt::TextHideMnemonic);
    const qsizetype tab = item->text.indexOf(QLatin1Char('\t'));
    painter->setFont(item->font);
    painter->setPen(color);
    painter->drawText(text, flags | Qt::AlignLeft, item->text.left(tab));
    if (tab >= 0) {
        painter->setPen(faint(color, selected ? 220 : 150));
        painter->drawText(text, flags | Qt::AlignRight, item->text.mid(tab + 1));
    }
    if (item->menuItemType == QStyleOptionMenuItem::SubMenu) {
        const QPointF tip(rect.right() - 5, rect.center().y() + 0.5);
        painter->setPen(Qt::NoPen);
        painter->setBrush(color);
        painter->drawPolygon(QPolygonF{tip, tip + QPointF(-4, -3.5), tip + QPointF(-4, 3.5)});
    }
}

void drawMenuBarItem(const QStyleOptionMenuItem *item, QPainter *painter)
{
    const PainterState state(painter);
    const QPalette &palette = item->palette;
    painter->fillRect(item->rect, palette.brush(QPalette::Window));
    const bool enabled = item->state & QStyle::State_Enabled;
    const bool open = enabled && item->state & QStyle::State_Sunken;
    const bool selected = enabled && item->state & QStyle::State_Selected;
    if (open || selected) {
        painter->setPen(Qt::NoPen);
        painter->setBrush(palette.color(open ? QPalette::Highlight : QPalette::Midlight));
        painter->drawRoundedRect(QRectF(item->rect).adjusted(1, 1, -1, -1), corner, corner);
    }
    painter->setPen(palette.color(open ? QPalette::HighlightedText : QPalette::WindowText));
    painter->drawText(item->rect, Qt::AlignCenter | Qt::TextShowMnemonic | Qt::TextSingleLine, item->text);
}

bool takesKeyboardInFrame(const QWidget *widget)
{
    return qobject_cast<const QAbstractScrollArea *>(widget) != nullptr;
}

bool reactsToPointer(const QWidget *widget)
{
    return qobject_cast<const QPushButton *>(widget) != nullptr || qobject_cast<const QComboBox *>(widget) != nullptr
           || qobject_cast<const QAbstractSlider *>(widget) != nullptr;
}

} // namespace

SmokyStyle::SmokyStyle() : QProxyStyle(QStringLiteral("Fusion")) {}

QPalette SmokyStyle::standardPalette() const
{
    struct Role {
        QPalette::ColorRole role;
        QRgb active;
        QRgb inactive;
        QRgb disabled;
    };
    static constexpr Role roles[] = {
        {QPalette::Window, 0xFF2C2928, 0xFF2C2928, 0xFF2C2928},
        {QPalette::WindowText, 0xFFE6DFD8, 0xFFE6DFD8, 0xFF7D756F},
        {QPalette::Base, 0xFF211F1E, 0xFF211F1E, 0xFF282524},
        {QPalette::AlternateBase, 0xFF272423, 0xFF272423, 0xFF282524},
        {QPalette::Text, 0xFFE9E3DD, 0xFFE9E3DD, 0xFF7D756F},
        {QPalette::PlaceholderText, 0xFF8F867E, 0xFF8F867E, 0xFF5F5954},
        {QPalette::Button, 0xFF3C3836, 0xFF3C3836, 0xFF312E2C},
        {QPalette::ButtonText, 0xFFEDE7E1, 0xFFEDE7E1, 0xFF7D756F},
        {QPalette::BrightText, 0xFFFFFFFF, 0xFFFFFFFF, 0xFFB0A8A1},
        {QPalette::Light, 0xFF5A5450, 0xFF5A5450, 0xFF433E3B},
        {QPalette::Midlight, 0xFF4A4542, 0xFF4A4542, 0xFF3D3936},
        {QPalette::Mid, 0xFF272423, 0xFF272423, 0xFF272423},
        {QPalette::Dark, 0xFF181615, 0xFF181615, 0xFF1F1D1C},
        {QPalette::Shadow, 0xFF0E0D0D, 0xFF0E0D0D, 0xFF0E0D0D},
        {QPalette::Highlight, 0xFF86603F, 0xFF5F4C3B, 0xFF443E39},
        {QPalette::HighlightedText, 0xFFFFF8F0, 0xFFF0E8E0, 0xFF8A827B},
        {QPalette::Link, 0xFFE0AC78, 0xFFE0AC78, 0xFF6E645B},
        {QPalette::LinkVisited, 0xFFBFA0C4, 0xFFBFA0C4, 0xFF6E645B},
        {QPalette::ToolTipBase, 0xFF46413D, 0xFF46413D, 0xFF46413D},
        {QPalette::ToolTipText, 0xFFF3EDE7, 0xFFF3EDE7, 0xFFF3EDE7},
    };
    QPalette palette;
    for (const Role &role : roles) {
        palette.setColor(QPalette::Active, role.role, QColor::fromRgb(role.active));
        palette.setColor(QPalette::Inactive, role.role, QColor::fromRgb(role.inactive));
        palette.setColor(QPalette::Disabled, role.role, QColor::fromRgb(role.disabled));
    }
    return palette;
}

void SmokyStyle::polish(QWidget *widget)
{
    QProxyStyle::polish(widget);
    if (reactsToPointer(widget))
        widget->setAttribute(Qt::WA_Hover);
}

void SmokyStyle::unpolish(QWidget *widget)
{
    if (reactsToPointer(widget))
        widget->setAttribute(Qt::WA_Hover, false);
    QProxyStyle::unpolish(widget);
}

void SmokyStyle::drawPrimitive(PrimitiveElement element, const QStyleOption *option, QPainter *painter,
                               const QWidget *widget) const
{
    switch (element) {
    case PE_PanelButtonCommand: {
        const auto *button = qstyleoption_cast<const QStyleOptionButton *>(option);
        const PainterState state(painter);
        drawFace(option, painter, option->rect, button && button->features & QStyleOptionButton::DefaultButton);
        return;
    }
    case PE_FrameLineEdit:
    case PE_PanelLineEdit: {
        const auto *frame = qstyleoption_cast<const QStyleOptionFrame *>(option);
        const PainterState state(painter);
        const QBrush fill = element == PE_PanelLineEdit ? option->palette.brush(QPalette::Base) : Qt::NoBrush;
        if (frame && frame->lineWidth <= 0)
            painter->fillRect(option->rect, fill);
        else
            drawField(option, painter, fill);
        return;
    }
    case PE_Frame:
        if (takesKeyboardInFrame(widget)) {
            const PainterState state(painter);
            drawField(option, painter, Qt::NoBrush);
            return;
        }
        break;
    case PE_FrameFocusRect: {
        const PainterState state(painter);
        painter->setPen(accent(option));
        painter->setBrush(Qt::NoBrush);
        painter->drawRect(lineOf(option->rect));
        return;
    }
    case PE_PanelMenu:
    case PE_PanelTipLabel: {
        const bool tip = element == PE_PanelTipLabel;
        const QColor face = option->palette.color(tip ? QPalette::ToolTipBase : QPalette::Window);
        painter->fillRect(option->rect, tip ? face : face.lighter(115));
        if (tip)
            drawPrimitive(PE_FrameMenu, option, painter, widget);
        return;
    }
    case PE_FrameMenu:
        painter->save();
        painter->setPen(option->palette.color(QPalette::Light));
        painter->setBrush(Qt::NoBrush);
        painter->drawRect(option->rect.adjusted(0, 0, -1, -1));
        painter->restore();
        return;
    case PE_PanelStatusBar:
        painter->fillRect(QRect(option->rect.topLeft(), QSize(option->rect.width(), 1)),
                          option->palette.color(QPalette::Dark));
        return;
    case PE_FrameStatusBarItem:
        painter->fillRect(QRect(option->rect.right(), option->rect.top() + 3, 1, option->rect.height() - 6),
                          option->palette.color(QPalette::Midlight));
        return;
    default:
        break;
    }
    QProxyStyle::drawPrimitive(element, option, painter, widget);
}

void SmokyStyle::drawControl(ControlElement element, const QStyleOption *option, QPainter *painter,
                             const QWidget *widget) const
{
    switch (element) {
    case CE_PushButton:
        // The face itself shows the focus.
        drawControl(CE_PushButtonBevel, option, painter, widget);
        if (const auto *button = qstyleoption_cast<const QStyleOptionButton *>(option)) {
            QStyleOptionButton label(*button);
            label.rect = subElementRect(SE_PushButtonContents, option, widget);
            drawControl(CE_PushButtonLabel, &label, painter, widget);
            const bool hasFace = !(button->features & QStyleOptionButton::Flat);
            if (!hasFace && button->state & State_HasFocus)
                drawPrimitive(PE_FrameFocusRect, option, painter, widget);
        }
        return;
    case CE_ProgressBarGroove: {
        const PainterState state(painter);
        drawBox(painter, option->rect, option->palette.brush(QPalette::Base), option->palette.color(QPalette::Light));
        return;
    }
    case CE_ProgressBarContents:
        if (const auto *bar = qstyleoption_cast<const QStyleOptionProgressBar *>(option);
            bar && bar->minimum != bar->maximum) {
            drawProgress(bar, painter);
            return;
        }
        break;
    case CE_HeaderSection:
    case CE_HeaderEmptyArea:
        drawHeaderSection(option, painter);
        return;
    case CE_HeaderLabel:
        if (const auto *header = qstyleoption_cast<const QStyleOptionHeader *>(option)) {
            // The section of the current cell is lighter; a bold caption would not fit its column.
            QStyleOptionHeader label(*header);
            label.state.setFlag(State_On, false);
            QProxyStyle::drawControl(element, &label, painter, widget);
            return;
        }
        break;
    case CE_MenuItem:
        if (const auto *item = qstyleoption_cast<const QStyleOptionMenuItem *>(option)) {
            drawMenuItem(item, painter, this, widget);
            return;
        }
        break;
    case CE_MenuBarItem:
        if (const auto *item = qstyleoption_cast<const QStyleOptionMenuItem *>(option)) {
            drawMenuBarItem(item, painter);
            return;
        }
        break;
    case CE_MenuBarEmptyArea:
        painter->fillRect(option->rect, option->palette.brush(QPalette::Window));
        return;
    default:
        break;
    }
    QProxyStyle::drawControl(element, option, painter, widget);
}

void SmokyStyle::drawComplexControl(ComplexControl control, const QStyleOptionComplex *option, QPainter *painter,
                                    const QWidget *widget) const
{
    if (const auto *box = qstyleoption_cast<const QStyleOptionGroupBox *>(option);
        box && control == CC_GroupBox && !(box->subControls & SC_GroupBoxCheckBox)) {
        drawGroupBox(box, painter);
        return;
    }
    if (const auto *slider = qstyleoption_cast<const QStyleOptionSlider *>(option)) {
        if (control == CC_Slider) {
            drawSlider(slider, painter);
            return;
        }
        if (control == CC_ScrollBar) {
            drawScrollBar(slider, painter);
            return;
        }
    }
    if (const auto *box = qstyleoption_cast<const QStyleOptionComboBox *>(option); box && control == CC_ComboBox) {
        drawComboBox(box, painter, subControlRect(CC_ComboBox, box, SC_ComboBoxArrow, widget));
        return;
    }
    QProxyStyle::drawComplexControl(control, option, painter, widget);
}

QRect SmokyStyle::subElementRect(SubElement element, const QStyleOption *option, const QWidget *widget) const
{
    // The fixed buttons are narrow: nearly all of one is its caption's.
    if (element == SE_PushButtonContents)
        return option->rect.adjusted(3, 1, -3, -1);
    return QProxyStyle::subElementRect(element, option, widget);
}

QRect SmokyStyle::subControlRect(ComplexControl control, const QStyleOptionComplex *option, SubControl subControl,
                                 const QWidget *widget) const
{
    if (const auto *box = qstyleoption_cast<const QStyleOptionGroupBox *>(option);
        box && control == CC_GroupBox && !(box->subControls & SC_GroupBoxCheckBox)) {
        if (subControl == SC_GroupBoxLabel)
            return groupBoxTitle(box);
        if (subControl == SC_GroupBoxContents)
            return box->rect.adjusted(4, titleHeight(box) + 2, -4, -4);
        if (subControl == SC_GroupBoxFrame)
            return box->rect;
    }
    if (const auto *slider = qstyleoption_cast<const QStyleOptionSlider *>(option)) {
        if (control == CC_Slider && (subControl == SC_SliderGroove || subControl == SC_SliderHandle))
            return sliderPart(slider, subControl);
        if (control == CC_ScrollBar)
            return scrollBarPart(slider, subControl);
    }
    return QProxyStyle::subControlRect(control, option, subControl, widget);
}

QSize SmokyStyle::sizeFromContents(ContentsType type, const QStyleOption *option, const QSize &contents,
                                   const QWidget *widget) const
{
    QSize size = QProxyStyle::sizeFromContents(type, option, contents, widget);
    if (type == CT_MenuItem) {
        const auto *item = qstyleoption_cast<const QStyleOptionMenuItem *>(option);
        if (item && item->menuItemType != QStyleOptionMenuItem::Separator)
            size.setHeight(std::max(item->fontMetrics.height() + 9, 22));
    } else if (type == CT_PushButton) {
        size.rwidth() += 10;
    }
    return size;
}

int SmokyStyle::pixelMetric(PixelMetric metric, const QStyleOption *option, const QWidget *widget) const
{
    switch (metric) {
    case PM_SliderLength:
        return sliderHandleLength;
    case PM_SliderThickness:
    case PM_SliderControlThickness:
        return sliderHandleThickness;
    case PM_ScrollBarExtent:
        return scrollBarThickness;
    case PM_SmallIconSize:
        return 16;
    case PM_MessageBoxIconSize:
        return 32;
    case PM_MenuPanelWidth:
        return 1;
    case PM_MenuVMargin:
        return 3;
    default:
        return QProxyStyle::pixelMetric(metric, option, widget);
    }
}

int SmokyStyle::styleHint(StyleHint hint, const QStyleOption *option, const QWidget *widget,
                          QStyleHintReturn *returned) const
{
    switch (hint) {
    case SH_Table_GridLineColor: {
        const QColor line = option ? option->palette.color(QPalette::Midlight) : standardPalette().midlight().color();
        return static_cast<int>(line.rgb());
    }
    case SH_EtchDisabledText:
    case SH_DitherDisabledText:
    case SH_DialogButtonBox_ButtonsHaveIcons:
    case SH_ComboBox_Popup:
        return 0;
    default:
        return QProxyStyle::styleHint(hint, option, widget, returned);
    }
}

QIcon SmokyStyle::standardIcon(StandardPixmap pixmap, const QStyleOption *option, const QWidget *widget) const
{
    switch (pixmap) {
    case SP_MessageBoxCritical:
        return icon("error");
    case SP_MessageBoxWarning:
        return icon("warning");
    case SP_MessageBoxInformation:
        return icon("information");
    case SP_MessageBoxQuestion:
        return icon("question");
    case SP_FileDialogBack:
    case SP_ArrowBack:
        return icon("go-back");
    case SP_ArrowForward:
    // Every menu bar asks for this one, and the framework's own makes it load all its picture formats.
    case SP_ToolBarHorizontalExtensionButton:
        return icon("go-forward");
    case SP_FileDialogToParent:
        return icon("go-up");
    case SP_FileDialogNewFolder:
        return icon("new-folder");
    case SP_FileDialogListView:
        return icon("list-view");
    case SP_FileDialogDetailedView:
        return icon("detail-view");
    case SP_DirIcon:
    case SP_DirOpenIcon:
    case SP_DirClosedIcon:
    case SP_DirLinkIcon:
    case SP_DirHomeIcon:
        return icon("folder");
    case SP_FileIcon:
    case SP_FileLinkIcon:
        return icon("file");
    case SP_ComputerIcon:
        return icon("computer");
    case SP_DriveHDIcon:
    case SP_DriveNetIcon:
    case SP_DriveCDIcon:
        return icon("drive");
    default:
        return QProxyStyle::standardIcon(pixmap, option, widget);
    }
}
