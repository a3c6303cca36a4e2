#include "widgets/drawing.h"

#include "widgets/drawing_path.h"

#include <QPainter>
#include <QPainterPathStroker>
#include <QXmlStreamReader>

#include <map>

class DrawingReader {
public:
    explicit DrawingReader(const QByteArray &svg) : m_xml(svg) {}

    std::optional<Drawing> read()
    {
        if (!m_xml.readNextStartElement() || m_xml.name() != QLatin1String("svg"))
            return std::nullopt;
        const QStringList viewBox = text("viewBox").split(QLatin1Char(' '));
        if (viewBox.size() != 4 || viewBox[0] != QLatin1String("0") || viewBox[1] != QLatin1String("0"))
            return std::nullopt;
        m_drawing.m_size = {viewBox[2].toDouble(), viewBox[3].toDouble()};
        const Look look = lookFrom(Look());
        while (m_xml.readNextStartElement()) {
            if (m_xml.name() == QLatin1String("g"))
                readGroup(look);
            else if (m_xml.name() == QLatin1String("defs"))
                readGradients();
            else
                readShape(looseGroup(), look);
        }
        if (m_failed || m_xml.hasError() || m_drawing.m_size.isEmpty())
            return std::nullopt;
        return std::move(m_drawing);
    }

private:
    /// How shapes are painted; a group's hold for its shapes.
    struct Look {
        QBrush fill = Qt::black;
        QPen line = QPen(Qt::NoBrush, 1, Qt::SolidLine, Qt::FlatCap, Qt::SvgMiterJoin);
    };

    [[nodiscard]] QString text(const char *name) const
    {
        return m_xml.attributes().value(QLatin1String(name)).toString();
    }

    [[nodiscard]] double number(const char *name, double otherwise = 0)
    {
        const QString value = text(name);
        if (value.isEmpty())
            return otherwise;
        bool isNumber = false;
        const double read = value.toDouble(&isNumber);
        m_failed |= !isNumber;
        return read;
    }

    [[nodiscard]] QBrush brush(const char *name, const QBrush &otherwise)
    {
        const QString value = text(name);
        if (value.isEmpty())
            return otherwise;
        if (value == QLatin1String("none"))
            return Qt::NoBrush;
        if (const auto gradient = m_gradients.find(value); gradient != m_gradients.end())
            return gradient->second;
        m_failed |= !QColor::isValidColor(value);
        return QColor(value);
    }

    void readGradients()
    {
        while (m_xml.readNextStartElement()) {
            m_failed |= m_xml.name() != QLatin1String("linearGradient");
            QLinearGradient gradient(number("x1"), number("y1"), number("x2", 1), number("y2"));
            gradient.setCoordinateMode(QGradient::ObjectMode);
            const QString reference = QStringLiteral("url(#%1)").arg(text("id"));
            while (m_xml.readNextStartElement()) {
                gradient.setColorAt(number("offset"), QColor(text("stop-color")));
                m_xml.skipCurrentElement();
            }
            m_gradients[reference] = gradient;
        }
    }

    [[nodiscard]] Look lookFrom(Look look)
    {
        look.fill = brush("fill", look.fill);
        look.line.setBrush(brush("stroke", look.line.brush()));
        look.line.setWidthF(number("stroke-width", look.line.widthF()));
        look.line.setMiterLimit(4); // SVG's own
        if (text("stroke-linecap") == QLatin1String("round"))
            look.line.setCapStyle(Qt::RoundCap);
        if (text("stroke-linejoin") == QLatin1String("round"))
            look.line.setJoinStyle(Qt::RoundJoin);
        return look;
    }

    Drawing::Group &looseGroup()
    {
        if (m_drawing.m_groups.empty() || !m_drawing.m_groups.back().m_id.isEmpty())
            m_drawing.m_groups.emplace_back();
        return m_drawing.m_groups.back();
    }

    void readGroup(const Look &around)
    {
        Drawing::Group &group = m_drawing.m_groups.emplace_back();
        group.m_id = text("id");
        if (m_xml.attributes().hasAttribute(QLatin1String("data-depth")))
            group.m_depth = number("data-depth");
        const Look look = lookFrom(around);
        while (m_xml.readNextStartElement())
            readShape(group, look);
    }

    void readShape(Drawing::Group &group, const Look &around)
    {
        const Look look = lookFrom(around);
        const QPen line = look.line.brush() == Qt::NoBrush ? QPen(Qt::NoPen) : look.line;
        group.m_shapes.push_back({path(), look.fill, line});
        m_failed |= m_xml.readNextStartElement(); // a shape holds nothing
    }

    [[nodiscard]] QPainterPath path()
    {
        QPainterPath path;
        path.setFillRule(Qt::WindingFill);
        const auto name = m_xml.name();
        const QPointF middle(number("cx"), number("cy"));
        if (name == QLatin1String("path")) {
            m_failed |= !readDrawingPath(text("d").toStdString(), path);
        } else if (name == QLatin1String("circle")) {
            path.addEllipse(middle, number("r"), number("r"));
        } else if (name == QLatin1String("ellipse")) {
            path.addEllipse(middle, number("rx"), number("ry"));
        } else if (name == QLatin1String("rect")) {
            const double roundness = number("rx");
            path.addRoundedRect(number("x"), number("y"), number("width"), number("height"), roundness,
                                number("ry", roundness));
        } else {
            m_failed = true;
        }
        return path;
    }

    QXmlStreamReader m_xml;
    Drawing m_drawing;
    std::map<QString, QLinearGradient> m_gradients; ///< by the words that a shape asks for it with
    bool m_failed = false;
};

QRectF Drawing::Group::bounds() const
{
    QRectF bounds;
    for (const Shape &shape : m_shapes) {
        bounds |= shape.path.boundingRect();
        if (shape.line.style() != Qt::NoPen)
            bounds |= QPainterPathStroker(shape.line).createStroke(shape.path).boundingRect();
    }
    return bounds;
}

void Drawing::Group::paint(QPainter *painter) const
{
    for (const Shape &shape : m_shapes) {
        painter->setBrush(shape.fill);
        painter->setPen(shape.line);
        painter->drawPath(shape.path);
    }
}

std::optional<Drawing> Drawing::read(const QByteArray &svg)
{
    return DrawingReader(svg).read();
}

void Drawing::paint(QPainter *painter) const
{
    for (const Group &group : m_groups)
        group.paint(painter);
}
