#include "widgets/smoky_style.h"

#include "widgets/smoky_bars.h"
#include "widgets/smoky_faces.h"
#include "widgets/smoky_group_box.h"
#include "widgets/smoky_menus.h"
#include "widgets/smoky_palette.h"
#include "widgets/smoky_slider.h"
#include "widgets/smoky_standard_icons.h"
#include "widgets/smoky_strokes.h"

#include <QAbstractScrollArea>
#include <QAbstractSlider>
#include <QComboBox>
#include <QPainter>
#include <QPushButton>
#include <QStyleOption>

#include <algorithm>

using namespace smoky;

namespace {

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
    return palette();
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
            return groupBoxContents(box);
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

QPixmap SmokyStyle::generatedIconPixmap(QIcon::Mode mode, const QPixmap &pixmap, const QStyleOption *option) const
{
    if (mode != QIcon::Disabled)
        return pixmap;
    QPixmap grey = pixmap;
    QPainter painter(&grey);
    painter.setCompositionMode(QPainter::CompositionMode_SourceIn);
    painter.fillRect(grey.rect(), option->palette.color(QPalette::Disabled, QPalette::Text));
    return grey;
}

QIcon SmokyStyle::standardIcon(StandardPixmap pixmap, const QStyleOption *option, const QWidget *widget) const
{
    const QIcon own = smoky::standardIcon(pixmap);
    return own.isNull() ? QProxyStyle::standardIcon(pixmap, option, widget) : own;
}
