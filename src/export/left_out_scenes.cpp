#include "export/left_out_scenes.h"

#include "export/scene_gif.h"
#include "scenes/scene.h"
#include "util/film_files.h"
#include "util/numbers.h"

#include <QHash>
#include <QStringList>

#include <array>
#include <cstddef>
#include <vector>

namespace {

enum Reason : std::size_t { NoFileName, NoPicture, TooLong, SameName, reasonCount };

const std::array<QString, reasonCount> reasonTexts{QStringLiteral("недопустимое имя"),
                                                   QStringLiteral("нет продолжительности"),
                                                   QStringLiteral("длиннее суток"), QStringLiteral("повтор имени")};

/// Why the scene cannot become a GIF, whatever the other rows are; `reasonCount` if it can.
Reason reasonOf(const Scene &scene)
{
    if (!refusalOfGifName(scene.position, scene.length).isEmpty())
        return NoFileName;
    const double length = leadingNumber(scene.length);
    if (length > longestScene)
        return TooLong;
    return picturesOfScene(leadingNumber(scene.position), length) == 0 ? NoPicture : reasonCount;
}

QString nameOf(const Scene &scene)
{
    return scene.position + QLatin1Char('_') + scene.length;
}

/// Row numbers in ascending order: neighbours as ranges, and only how many there are behind the first few ranges.
QString numbersOf(const std::vector<int> &rows)
{
    constexpr int mostRanges = 12;
    QStringList ranges;
    std::size_t next = 0;
    while (next < rows.size() && ranges.size() < mostRanges) {
        const std::size_t first = next++;
        while (next < rows.size() && rows[next] == rows[next - 1] + 1)
            ++next;
        const int last = rows[next - 1];
        ranges += QString::number(rows[first]);
        if (last > rows[first])
            ranges.back() += (last == rows[first] + 1 ? QStringLiteral(", %1") : QStringLiteral("–%1")).arg(last);
    }
    const QString text = ranges.join(QStringLiteral(", "));
    return next == rows.size() ? text : QStringLiteral("%1 и ещё %2").arg(text).arg(rows.size() - next);
}

} // namespace

QString scenesWithoutGif(const GridCells &list)
{
    QHash<QString, int> rowsOfName;
    for (int row = 1; row < list.RowCount(); ++row)
        ++rowsOfName[nameOf(sceneAt(list, row))];

    std::array<std::vector<int>, reasonCount> rows;
    for (int row = 1; row < list.RowCount(); ++row) {
        const Scene scene = sceneAt(list, row);
        Reason reason = reasonOf(scene);
        if (reason == reasonCount && rowsOfName.value(nameOf(scene)) > 1)
            reason = SameName;
        if (reason != reasonCount)
            rows.at(reason).push_back(row);
    }
    QStringList lines;
    for (std::size_t reason = 0; reason < reasonCount; ++reason) {
        if (!rows.at(reason).empty())
            lines += QStringLiteral("%1 (%2)").arg(numbersOf(rows.at(reason)), reasonTexts.at(reason));
    }
    return lines.join(QLatin1Char('\n'));
}
