#include "player/scene_marking.h"

#include "util/numbers.h"
#include "util/text_routines.h"

namespace {

QString hundredthsAsSeconds(std::int32_t count)
{
    return str_replace(QStringLiteral(","), QStringLiteral("."), generalFormat(count * 0.01));
}

} // namespace

QString sceneStartText(MediaTime position)
{
    return hundredthsAsSeconds(wholeHundredths(position));
}

std::optional<QString> sceneLengthText(const QString &startText, MediaTime position)
{
    const double start = leadingNumber(startText);
    const std::int32_t length = truncatedToInt32(start * -100.0 + wholeHundredths(position));
    if (length < 0)
        return std::nullopt;
    return hundredthsAsSeconds(length);
}
