#include "widgets/smoky_menus.h"

#include "widgets/smoky_strokes.h"

namespace smoky {

namespace {

constexpr int iconColumn = 28;
constexpr int iconSize = 16;

// The check mark, or else the icon.
void drawMark(const QStyleOptionMenuItem *item, QPainter *painter, const QColor &color, const QStyle *style,
              const QWidget *widget)
{
    const bool enabled = item->state & QStyle::State_Enabled;
    const QRect mark(item->rect.left() + (iconColumn - iconSize) / 2, item->rect.center().y() - iconSize / 2, iconSize,
                     iconSize);
    if (item->checkType != QStyleOptionMenuItem::NotCheckable && item->checked) {
        QStyleOption check;
        check.rect = mark.adjusted(2, 2, -2, -2);
        check.palette = item->palette;
        check.palette.setColor(QPalette::Text, color);
        check.palette.setColor(QPalette::WindowText, color);
        check.state = QStyle::State_On | (enabled ? QStyle::State_Enabled : QStyle::State_None);
        style->drawPrimitive(QStyle::PE_IndicatorMenuCheckMark, &check, painter, widget);
    } else if (!item->icon.isNull()) {
        item->icon.paint(painter, mark, Qt::AlignCenter, enabled ? QIcon::Normal : QIcon::Disabled);
    }
}

// The caption and, at the right, the keys, which a tab divides.
void drawTexts(const QStyleOptionMenuItem *item, QPainter *painter, const QColor &color, bool selected, bool underline)
{
    const QRect place = item->rect.adjusted(iconColumn, 0, -14, 0);
    const int flags = Qt::AlignVCenter | Qt::TextSingleLine | (underline ? Qt::TextShowMnemonic : Qt::TextHideMnemonic);
    const qsizetype tab = item->text.indexOf(QLatin1Char('\t'));
    painter->setFont(item->font);
    painter->setPen(color);
    painter->drawText(place, flags | Qt::AlignLeft, item->text.left(tab));
    if (tab >= 0) {
        painter->setPen(faint(color, selected ? 220 : 150));
        painter->drawText(place, flags | Qt::AlignRight, item->text.mid(tab + 1));
    }
}

} // namespace

void drawMenuItem(const QStyleOptionMenuItem *item, QPainter *painter, const QStyle *style, const QWidget *widget)
{
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

    drawMark(item, painter, color, style, widget);
    drawTexts(item, painter, color, selected, style->styleHint(QStyle::SH_UnderlineShortcut, item, widget) != 0);
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

} // namespace smoky
