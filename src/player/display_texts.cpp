#include "player/display_texts.h"

#include "util/numbers.h"

namespace {

QString twoDigits(std::int32_t n)
{
    return n <= 9 ? QStringLiteral("0%1").arg(n) : QString::number(n);
}

} // namespace

QString NiceNumberView(std::int64_t n)
{
    QString text = QString::number(n);
    for (qsizetype place = text.size() - 3; place >= 0; place -= 3)
        text.insert(place, QLatin1Char(' '));
    return text;
}

QString GetTimeForMovie(std::int32_t seconds)
{
    QString text;
    std::int32_t rest = seconds;
    if (seconds < 3601) {
        text = QStringLiteral("0:");
    } else {
        text = QString::number(seconds / 3600) + QLatin1Char(':');
        rest = seconds % 3600;
    }
    if (rest < 61) {
        text += QStringLiteral("00:");
    } else {
        text += twoDigits(rest / 60) + QLatin1Char(':');
        rest %= 60;
    }
    return text + twoDigits(rest) + QStringLiteral(" (") + NiceNumberView(seconds) + QStringLiteral(" sec)");
}

QString videoInformation(std::int32_t width, std::int32_t height, double framesPerSecond)
{
    if (width <= 0 || height <= 0)
        return QStringLiteral("без изображения");
    return QStringLiteral("%1x%2@%3").arg(width).arg(height).arg(generalFormat(framesPerSecond).left(7));
}
