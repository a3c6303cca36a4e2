#include "widgets/smoky_group_box.h"

#include "widgets/smoky_strokes.h"

#include <algorithm>

namespace smoky {

namespace {

int titleHeight(const QStyleOptionGroupBox *box)
{
    return box->text.isEmpty() ? 0 : box->fontMetrics.height();
}

} // namespace

QRect groupBoxTitle(const QStyleOptionGroupBox *box)
{
    constexpr int inset = 6;
    const QRect line(box->rect.left() + inset, box->rect.top(), std::max(box->rect.width() - 2 * inset, 0),
                     titleHeight(box));
    const int width = std::min(box->fontMetrics.horizontalAdvance(box->text) + 1, line.width());
    const Qt::Alignment alignment = QStyle::visualAlignment(box->direction, box->textAlignment);
    return QStyle::alignedRect(Qt::LeftToRight, alignment & Qt::AlignHorizontal_Mask, {width, line.height()}, line);
}

QRect groupBoxContents(const QStyleOptionGroupBox *box)
{
    return box->rect.adjusted(4, titleHeight(box) + 2, -4, -4);
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

} // namespace smoky
