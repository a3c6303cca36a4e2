#pragma once

#include <QPainter>
#include <QStyleOption>

namespace smoky {

/// One line of a menu: check mark or icon, text, keys, and the tip of what leads on. The mark is `style`'s own.
void drawMenuItem(const QStyleOptionMenuItem *item, QPainter *painter, const QStyle *style, const QWidget *widget);

/// One menu of the menu bar.
void drawMenuBarItem(const QStyleOptionMenuItem *item, QPainter *painter);

} // namespace smoky
