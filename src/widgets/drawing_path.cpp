#include "widgets/drawing_path.h"

#include <QtMath>

#include <cctype>
#include <charconv>
#include <cmath>
#include <optional>

namespace {

/// Appends to the path the part of an ellipse that SVG names by its ends and radii.
void addArc(QPainterPath &path, QPointF to, double rx, double ry, bool large, bool clockwise)
{
    const QPointF from = path.currentPosition();
    if (from == to)
        return;
    if (rx == 0 || ry == 0) {
        path.lineTo(to);
        return;
    }
    // In units of the radii the ellipse is a circle of radius 1; too small a one is made to reach.
    const QPointF half((from.x() - to.x()) / 2 / rx, (from.y() - to.y()) / 2 / ry);
    const double square = QPointF::dotProduct(half, half);
    const double growth = std::max(1.0, std::sqrt(square));
    const double toMiddle = std::sqrt(std::max(0.0, 1 / square - 1)) * (large == clockwise ? -1 : 1);
    const QPointF start = (half - QPointF(half.y(), -half.x()) * toMiddle) / growth;
    const QPointF end = (-half - QPointF(half.y(), -half.x()) * toMiddle) / growth;
    rx *= growth;
    ry *= growth;

    const double startAngle = std::atan2(start.y(), start.x());
    double sweep = std::atan2(end.y(), end.x()) - startAngle;
    if (clockwise && sweep < 0)
        sweep += 2 * M_PI;
    if (!clockwise && sweep > 0)
        sweep -= 2 * M_PI;
    const QPointF corner = from - QPointF(start.x() * rx + rx, start.y() * ry + ry);
    path.arcTo(QRectF(corner, QSizeF(2 * rx, 2 * ry)), -qRadiansToDegrees(startAngle), -qRadiansToDegrees(sweep));
    path.setElementPositionAt(path.elementCount() - 1, to.x(), to.y()); // where rounding left it beside
}

class PathReader {
public:
    PathReader(std::string_view text, QPainterPath &path) : m_rest(text), m_path(path) {}

    bool read()
    {
        skipBlanks();
        while (!m_rest.empty() && m_good) {
            if (std::isalpha(static_cast<unsigned char>(m_rest.front()))) {
                m_command = m_rest.front();
                m_rest.remove_prefix(1);
            } else if (m_command == 'z' || m_command == 'Z') {
                return false;
            }
            carryOut();
            skipBlanks();
        }
        return m_good;
    }

private:
    void skipBlanks()
    {
        const auto first = m_rest.find_first_not_of(" ,\t\r\n");
        m_rest.remove_prefix(std::min(first, m_rest.size()));
    }

    double number()
    {
        skipBlanks();
        double value = 0;
        const auto [end, error] = std::from_chars(m_rest.data(), m_rest.data() + m_rest.size(), value);
        m_good &= error == std::errc();
        m_rest.remove_prefix(static_cast<std::size_t>(end - m_rest.data()));
        return value;
    }

    bool flag() // needs no blank after it
    {
        skipBlanks();
        m_good &= m_rest.starts_with('0') || m_rest.starts_with('1');
        const bool value = m_rest.starts_with('1');
        m_rest.remove_prefix(m_rest.empty() ? 0 : 1);
        return value;
    }

    [[nodiscard]] bool isRelative() const { return std::islower(static_cast<unsigned char>(m_command)) != 0; }
    [[nodiscard]] QPointF origin() const { return isRelative() ? m_path.currentPosition() : QPointF(); }

    QPointF point()
    {
        const double x = number();
        const double y = number();
        return origin() + QPointF(x, y);
    }

    void carryOut()
    {
        const QPointF here = m_path.currentPosition();
        std::optional<QPointF> control;
        switch (std::toupper(static_cast<unsigned char>(m_command))) {
        case 'M':
            m_path.moveTo(point());
            m_command = isRelative() ? 'l' : 'L'; // what further points mean
            break;
        case 'L':
            m_path.lineTo(point());
            break;
        case 'H':
            m_path.lineTo(origin().x() + number(), here.y());
            break;
        case 'V':
            m_path.lineTo(here.x(), origin().y() + number());
            break;
        case 'C':
            control = addCurve(point());
            break;
        case 'S':
            control = addCurve(2 * here - m_control.value_or(here));
            break;
        case 'A':
            readArc();
            break;
        case 'Z':
            m_path.closeSubpath();
            break;
        default:
            m_good = false;
        }
        m_control = control;
    }

    /// Returns the control point that a smooth curve goes on from.
    QPointF addCurve(QPointF first)
    {
        const QPointF second = point();
        m_path.cubicTo(first, second, point());
        return second;
    }

    void readArc()
    {
        const double rx = std::abs(number());
        const double ry = std::abs(number());
        m_good &= number() == 0; // the tilt
        const bool large = flag();
        const bool clockwise = flag();
        addArc(m_path, point(), rx, ry, large, clockwise);
    }

    std::string_view m_rest;
    QPainterPath &m_path;
    char m_command = 0;
    std::optional<QPointF> m_control; ///< the last curve's second control point
    bool m_good = true;
};

} // namespace

bool readDrawingPath(std::string_view commands, QPainterPath &path)
{
    return PathReader(commands, path).read();
}
