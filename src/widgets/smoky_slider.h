#pragma once

#include <QPainter>
#include <QStyleOption>

namespace smoky {

constexpr int sliderHandleLength = 11;
constexpr int sliderHandleThickness = 19;

/// Where the handle, or the groove, of a slider is.
[[nodiscard]] QRect sliderPart(const QStyleOptionSlider *slider, QStyle::SubControl part);

void drawSlider(const QStyleOptionSlider *slider, QPainter *painter);

} // namespace smoky
