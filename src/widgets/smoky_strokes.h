#pragma once

#include <QPainter>
#include <QStyleOption>

namespace smoky {

/// How round the corners of boxes are.
constexpr qreal corner = 3;

/// Smooth drawing, and the painter as it was at the end of the scope.
class PainterState {
public:
    explicit PainterState(QPainter *painter) : m_painter(painter)
    {
        m_painter->save();
        m_painter->setRenderHint(QPainter::Antialiasing);
    }
    ~PainterState() { m_painter->restore(); }
    Q_DISABLE_COPY_MOVE(PainterState)

private:
    QPainter *m_painter;
};

/// The one colour that stands out.
[[nodiscard]] QColor accent(const QStyleOption *option);

/// The colour with another opacity, 0 to 255.
[[nodiscard]] QColor faint(QColor color, int alpha);

/// The middle of the one-pixel line along the inside of `rect`.
[[nodiscard]] QRectF lineOf(const QRect &rect);

/// A gradient from the upper to the lower edge.
[[nodiscard]] QLinearGradient downward(const QRect &rect, const QColor &top, const QColor &bottom);

/// A box with round corners.
void drawBox(QPainter *painter, const QRect &rect, const QBrush &fill, const QColor &line);

} // namespace smoky
