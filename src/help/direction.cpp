#include "help/direction.h"

namespace {

int sideOf(int value, int start, int length)
{
    if (value < start)
        return -1;
    return value < start + length ? 0 : 1;
}

} // namespace

Direction directionTo(QPoint point, const QRect &rect)
{
    return {sideOf(point.x(), rect.x(), rect.width()), sideOf(point.y(), rect.y(), rect.height())};
}

int pictureNumber(Direction direction)
{
    return 5 + direction.right + 3 * direction.down;
}
