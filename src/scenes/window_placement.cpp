#include "scenes/window_placement.h"

#include <algorithm>

QRect placedInside(const QRect &frame, const QRect &available)
{
    const int left = std::max(available.left(), std::min(frame.left(), available.right() - frame.width() + 1));
    const int top = std::max(available.top(), std::min(frame.top(), available.bottom() - frame.height() + 1));
    return {QPoint(left, top), frame.size()};
}

std::optional<QRect> placedClearOf(const QRect &keepClear, const QRect &frame, const QRect &available)
{
    const QRect inside = placedInside(frame, available);
    if (!available.contains(inside))
        return std::nullopt;
    if (!inside.intersects(keepClear))
        return inside;

    // The nearest place is beside the rectangle, on one of its four sides.
    std::optional<QRect> nearest;
    const auto consider = [&](QPoint topLeft) {
        const QRect place(topLeft, frame.size());
        const auto distance = [&](const QRect &r) { return (r.topLeft() - inside.topLeft()).manhattanLength(); };
        if (available.contains(place) && (!nearest || distance(place) < distance(*nearest)))
            nearest = place;
    };
    consider({keepClear.left() - inside.width(), inside.top()});
    consider({keepClear.right() + 1, inside.top()});
    consider({inside.left(), keepClear.top() - inside.height()});
    consider({inside.left(), keepClear.bottom() + 1});
    return nearest;
}
