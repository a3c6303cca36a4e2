#pragma once

#include <QPainterPath>

#include <string_view>

/// Appends what an SVG path's attribute `d` says to `path`. False at the first word that is not understood: all
/// commands are, but quadratic curves and arcs of tilted ellipses.
[[nodiscard]] bool readDrawingPath(std::string_view commands, QPainterPath &path);
