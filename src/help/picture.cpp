#include "help/picture.h"

#include <array>

namespace {

/// Where pictures 1 to 9 look.
constexpr std::array directions{u"вверх и влево", u"вверх",        u"вверх и вправо", u"влево",        u"прямо",
                                u"вправо",        u"вниз и влево", u"вниз",           u"вниз и вправо"};

} // namespace

TImage::TImage(int number, QWidget *parent) : QLabel(parent), m_number(number)
{
    setObjectName(QStringLiteral("Image%1").arg(number));
    setAccessibleName(QStringLiteral("Телёнок смотрит ")
                      + QString::fromUtf16(directions.at(static_cast<std::size_t>(number) - 1)));
    setScaledContents(true);
    hide();
}

void TImage::showEvent(QShowEvent *event)
{
    if (pixmap(Qt::ReturnByValue).isNull())
        setPixmap(QPixmap(QStringLiteral(":/about/figure-%1.png").arg(m_number), "PNG"));
    QLabel::showEvent(event);
}
