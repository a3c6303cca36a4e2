#include "scenes/playing_scene.h"

#include "scenes/scene.h"
#include "util/numbers.h"

#include <algorithm>

int PlayingScene::rowAt(const GridCells &list, MediaTime moment)
{
    if (!m_known)
        learn(list);
    auto span = std::upper_bound(m_spans.begin(), m_spans.end(), moment,
                                 [](MediaTime time, const Span &candidate) { return time < candidate.start; });
    while (span != m_spans.begin() && (--span)->latestEnd > moment) {
        if (span->end > moment)
            return span->row;
    }
    return 0;
}

void PlayingScene::learn(const GridCells &list)
{
    m_spans.clear();
    m_spans.reserve(static_cast<std::size_t>(list.RowCount()));
    for (int row = 1; row < list.RowCount(); ++row) {
        const double start = leadingNumber(list.cell(PositionColumn, row));
        const double end = start + leadingNumber(list.cell(LengthColumn, row));
        if (end > start)
            m_spans.push_back({mediaTimeAt(start), mediaTimeAt(end), row, 0});
    }
    std::stable_sort(m_spans.begin(), m_spans.end(), [](const Span &a, const Span &b) { return a.start < b.start; });
    MediaTime latest = 0;
    for (Span &span : m_spans)
        span.latestEnd = latest = std::max(latest, span.end);
    m_known = true;
}
