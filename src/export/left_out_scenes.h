#pragma once

#include "scenes/grid_cells.h"

#include <QString>

/// The rows of the list that cannot become a GIF of their own, with the reason, in Russian: a name that no file can have,
/// no picture in the scene, longer than a GIF may be, a name that another row has too. One line a reason; each row is
/// told once. Of a long line only the beginning is told, and how many rows it has more. Empty if there is no such row.
[[nodiscard]] QString scenesWithoutGif(const GridCells &list);
