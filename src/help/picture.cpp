#include "help/picture.h"

#include "help/direction.h"

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

TImage::TImage(int number, QWidget *parent) : QLabel(parent), m_number(number)
{
    setObjectName(QStringLiteral("Image%1").arg(number));
    setAccessibleName(QStringLiteral("Телёнок смотрит ") + spokenDirection(pictureDirection(number)));
    setScaledContents(true);
    hide();
}

void TImage::showEvent(QShowEvent *event)
{
    if (pixmap(Qt::ReturnByValue).isNull())
        setPixmap(QPixmap(QStringLiteral(":/about/figure-%1.png").arg(m_number), "PNG"));
    QLabel::showEvent(event);
}
