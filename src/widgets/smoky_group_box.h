#pragma once

#include <QPainter>
#include <QStyleOption>

namespace smoky {

/// Where the title stands.
[[nodiscard]] QRect groupBoxTitle(const QStyleOptionGroupBox *box);

/// Where what the box holds may stand.
[[nodiscard]] QRect groupBoxContents(const QStyleOptionGroupBox *box);

/// The box without a check mark, its title in a gap of its line.
void drawGroupBox(const QStyleOptionGroupBox *box, QPainter *painter);

} // namespace smoky
