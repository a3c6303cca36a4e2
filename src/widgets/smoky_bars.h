#pragma once

#include <QPainter>
#include <QStyleOption>

namespace smoky {

constexpr int scrollBarThickness = 13;

/// Where a part of a scroll bar is; there are no end buttons.
[[nodiscard]] QRect scrollBarPart(const QStyleOptionSlider *bar, QStyle::SubControl part);

void drawScrollBar(const QStyleOptionSlider *bar, QPainter *painter);

/// The part of a progress bar that is done, with a mark at its end.
void drawProgress(const QStyleOptionProgressBar *bar, QPainter *painter);

} // namespace smoky
