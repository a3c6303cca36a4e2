#pragma once

#include "scenes/grid_cells.h"

#include <QByteArray>

#include <optional>

/// The list in a scenes file exactly as `scenesXml` writes it, one field a line, read without a parser: every text
/// comes back as it was, tags and "&" in it included. None for a file of another shape.
[[nodiscard]] std::optional<GridCells> readLineByLine(const QByteArray &file);
