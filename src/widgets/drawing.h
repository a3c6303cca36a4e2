#pragma once

#include <QPainterPath>
#include <QPen>
#include <QRectF>
#include <QString>

#include <optional>
#include <vector>

class QByteArray;
class QPainter;

/// A drawing read from the part of SVG that this program's own drawings keep to: groups of paths, circles, ellipses and
/// rectangles, each filled and stroked with one colour or from one into another, without transformations, and arcs that
/// are not tilted.
class Drawing {
public:
    class Group {
    public:
        [[nodiscard]] const QString &id() const { return m_id; }
        /// The value of the group's attribute `data-depth`, where it has one.
        [[nodiscard]] std::optional<double> depth() const { return m_depth; }
        /// What the group covers, lines included, in units of the drawing.
        [[nodiscard]] QRectF bounds() const;
        /// Paints the group in units of the drawing.
        void paint(QPainter *painter) const;

    private:
        friend class DrawingReader;

        struct Shape {
            QPainterPath path;
            QBrush fill;
            QPen line;
        };

        QString m_id;
        std::optional<double> m_depth;
        std::vector<Shape> m_shapes;
    };

    /// Reads the text of an SVG file. Nothing if it holds anything beyond what is told above.
    [[nodiscard]] static std::optional<Drawing> read(const QByteArray &svg);

    /// The size of the drawing in its own units; its top left corner is the origin.
    [[nodiscard]] QSizeF size() const { return m_size; }
    /// The groups in the order they are painted in; shapes in no group are in one without an id.
    [[nodiscard]] const std::vector<Group> &groups() const { return m_groups; }
    /// Paints the whole drawing in its own units.
    void paint(QPainter *painter) const;

private:
    friend class DrawingReader;

    QSizeF m_size;
    std::vector<Group> m_groups;
};
