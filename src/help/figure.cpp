#include "help/figure.h"

#include <QFile>
#include <QPainter>
#include <QTransform>
#include <QtMath>

#include <algorithm>
#include <cmath>
#include <vector>

// A static library's resources are there only once asked for; the macro wants no namespace around it.
static void loadFigureFile()
{
    Q_INIT_RESOURCE(about);
}

namespace {

const QPointF middleOfHead(50, 47);
const double turnToSide = qDegreesToRadians(31.0);
const double nod = qDegreesToRadians(25.0);
/// Layers at least this far before the middle lie on the face and are foreshortened with it.
constexpr double faceDepth = 10;

int sideOf(int value, int start, int length)
{
    if (value < start)
        return -1;
    return value < start + length ? 0 : 1;
}

/// How much narrower a patch of the face gets, seen from before, when its place, at `offset` from the middle and
/// `depth` before it, is turned by `angle`.
double foreshortening(double offset, double depth, double angle)
{
    if (depth < faceDepth)
        return 1;
    const double rest = std::atan2(offset, depth);
    return std::clamp(std::cos(rest + angle) / std::cos(rest), 0.72, 1.12);
}

struct Turned {
    QTransform transform;
    double depth = 0;
};

Turned turned(const QRectF &bounds, double depth, Direction direction)
{
    const double side = direction.right * turnToSide;
    const double down = direction.down * nod;
    const QPointF from = bounds.center() - middleOfHead;
    const double x = from.x() * std::cos(side) + depth * std::sin(side);
    const double sideDepth = depth * std::cos(side) - from.x() * std::sin(side);
    const double y = from.y() * std::cos(down) + sideDepth * std::sin(down);

    Turned result;
    result.depth = sideDepth * std::cos(down) - from.y() * std::sin(down);
    const QPointF to = middleOfHead + QPointF(x, y);
    result.transform.translate(to.x(), to.y());
    result.transform.scale(foreshortening(from.x(), depth, side), foreshortening(from.y(), depth, down));
    result.transform.translate(-bounds.center().x(), -bounds.center().y());
    return result;
}

Drawing readFigure()
{
    loadFigureFile();
    QFile file(QStringLiteral(":/about/figure.svg"));
    return file.open(QIODevice::ReadOnly) ? Drawing::read(file.readAll()).value_or(Drawing()) : Drawing();
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

Direction pictureDirection(int number)
{
    return {(number - 1) % 3 - 1, (number - 1) / 3 - 1};
}

QImage Figure::picture(Direction direction, int side)
{
    if (!m_drawing)
        m_drawing = readFigure();

    struct Placed {
        const Drawing::Group *layer = nullptr;
        Turned turned;
    };
    std::vector<Placed> placed;
    for (const Drawing::Group &layer : m_drawing->groups()) {
        const std::optional<double> depth = layer.depth();
        placed.push_back({&layer, depth ? turned(layer.bounds(), *depth, direction) : Turned{}});
    }
    // What is before covers what is behind; what does not turn stands behind it all.
    std::stable_sort(placed.begin(), placed.end(), [](const Placed &a, const Placed &b) {
        if (a.layer->depth().has_value() != b.layer->depth().has_value())
            return b.layer->depth().has_value();
        return a.layer->depth() && a.turned.depth < b.turned.depth;
    });

    QImage image(side, side, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    const QSizeF size = m_drawing->size();
    if (size.isEmpty())
        return image;
    const QTransform toPixels = QTransform::fromScale(side / size.width(), side / size.height());
    for (const Placed &each : placed) {
        painter.setTransform(each.turned.transform * toPixels);
        each.layer->paint(&painter);
    }
    return image;
}
