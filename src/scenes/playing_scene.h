#pragma once

#include "scenes/grid_cells.h"
#include "util/media_time.h"

#include <vector>

/// Tells which scene of a list plays at a moment, in so little time that every tick can ask.
class PlayingScene {
public:
    /// The list is no longer what it was at the last question.
    void forget() { m_known = false; }

    /// The row whose scene plays at `moment` (100 ns), the one that began last if there are several; 0 if none does.
    [[nodiscard]] int rowAt(const GridCells &list, MediaTime moment);

private:
    struct Span {
        MediaTime start;
        MediaTime end;
        int row;
        /// The latest end of this scene and those that begin before it.
        MediaTime latestEnd;
    };

    void learn(const GridCells &list);

    /// In the order of their starts.
    std::vector<Span> m_spans;
    bool m_known = false;
};
