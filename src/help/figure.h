#pragma once

#include "widgets/drawing.h"

#include <QImage>
#include <QPoint>
#include <QRect>

#include <optional>

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

/// The direction that picture `number`, 1 to 9, looks into.
[[nodiscard]] Direction pictureDirection(int number);

/// The figure of the about box: one drawing in layers, each at a depth of its own, that is turned by moving and
/// foreshortening the layers as a turning head does.
class Figure {
public:
    /// The figure looking into `direction`, on a transparent ground, `side` × `side` pixels. The drawing is read for
    /// the first picture, so that a figure that nobody sees costs nothing.
    [[nodiscard]] QImage picture(Direction direction, int side);

private:
    std::optional<Drawing> m_drawing; ///< each group is a layer
};
