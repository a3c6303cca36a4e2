#pragma once

#include <QPainter>
#include <QStyleOption>

namespace smoky {

/// The face of everything that can be pressed.
void drawFace(const QStyleOption *option, QPainter *painter, const QRect &rect, bool isDefault);

/// The frame of a field that takes the keyboard: an edit, a list, a grid.
void drawField(const QStyleOption *option, QPainter *painter, const QBrush &fill);

/// A combo box with its arrow in the rectangle `arrow`, without its text.
void drawComboBox(const QStyleOptionComboBox *box, QPainter *painter, const QRect &arrow);

/// The ground of a grid's head.
void drawHeaderSection(const QStyleOption *option, QPainter *painter);

} // namespace smoky
