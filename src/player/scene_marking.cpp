#include "player/scene_marking.h"

#include "util/numbers.h"
#include "util/text_routines.h"

namespace {

constexpr MediaTime unitsPerHundredth = unitsPerSecond / 100;

std::int32_t hundredths(MediaTime position)
{
    return static_cast<std::int32_t>(position / unitsPerHundredth);
}

QString hundredthsAsSeconds(std::int32_t count)
{
    return str_replace(QStringLiteral(","), QStringLiteral("."), generalFormat(count * 0.01));
}

} // namespace

QString sceneStartText(MediaTime position)
{
    return hundredthsAsSeconds(hundredths(position));
}

std::optional<QString> sceneLengthText(const QString &startText, MediaTime position)
{
    const double start = leadingNumber(startText);
    const std::int32_t length = truncatedToInt32(start * -100.0 + hundredths(position));
    if (length < 0)
        return std::nullopt;
    return hundredthsAsSeconds(length);
}
