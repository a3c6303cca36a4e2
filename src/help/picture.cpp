#include "help/picture.h"

#include "help/figure.h"

#include <array>

namespace {

QString spokenDirection(Direction direction)
{
    const std::array vertical{QStringLiteral("вверх"), QString(), QStringLiteral("вниз")};
    const std::array horizontal{QStringLiteral("влево"), QString(), QStringLiteral("вправо")};
    const QString down = vertical.at(static_cast<std::size_t>(direction.down + 1));
    const QString right = horizontal.at(static_cast<std::size_t>(direction.right + 1));
    if (down.isEmpty() && right.isEmpty())
        return QStringLiteral("прямо");
    return down.isEmpty() || right.isEmpty() ? down + right : down + QStringLiteral(" и ") + right;
}

} // namespace

TImage::TImage(int number, Figure &figure, QWidget *parent) : QLabel(parent), m_number(number), m_figure(figure)
{
    setObjectName(QStringLiteral("Image%1").arg(number));
    setAccessibleName(QStringLiteral("Телёнок смотрит ") + spokenDirection(pictureDirection(number)));
    hide();
}

void TImage::showEvent(QShowEvent *event)
{
    QLabel::showEvent(event);
    fitToScreen();
}

void TImage::fitToScreen()
{
    const qreal scale = devicePixelRatioF();
    if (!isVisible() || scale == m_drawnScale)
        return;
    m_drawnScale = scale;
    QPixmap drawn = QPixmap::fromImage(m_figure.picture(pictureDirection(m_number), qRound(width() * scale)));
    drawn.setDevicePixelRatio(scale);
    setPixmap(drawn);
}
