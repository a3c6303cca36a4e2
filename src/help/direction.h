#pragma once

#include <QPoint>
#include <QRect>

/// One of the nine directions: −1 is left or above, 0 level, 1 right or below.
struct Direction {
    int right = 0;
    int down = 0;
    bool operator==(const Direction &) const = default;
};

/// Where `point` lies as seen from `rect`. The left and top edges belong to the rectangle; x = left + width and
/// y = top + height lie right of it and below it.
[[nodiscard]] Direction directionTo(QPoint point, const QRect &rect);

/// The number of the picture that looks into `direction`: 1 to 3 upwards, 4 to 6 level, 7 to 9 downwards, each three
/// from left to right.
[[nodiscard]] int pictureNumber(Direction direction);
