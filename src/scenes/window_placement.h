#pragma once

#include <QPoint>
#include <QRect>

#include <optional>

// Where a window goes on the screen. Rectangles are in global logical pixels; a window's is that of its frame.

/// `frame` moved by as little as needed to lie inside `available`; where it is too large for that, its top left
/// corner does.
[[nodiscard]] QRect placedInside(const QRect &frame, const QRect &available);

/// `frame` moved by as little as needed to lie inside `available` without touching `keepClear`; none if there is no
/// such place.
[[nodiscard]] std::optional<QRect> placedClearOf(const QRect &keepClear, const QRect &frame, const QRect &available);
