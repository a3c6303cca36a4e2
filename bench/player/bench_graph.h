#pragma once

#include "player/mpv/video_surface.h"

#include <memory>

class GraphSystem;

/// libmpv drawing in software into `panel`, whose surface is `benchSurface`.
[[nodiscard]] std::unique_ptr<GraphSystem> makeBenchGraphSystem(QWidget *panel);

/// The surface of the graph system made last, which must be alive.
[[nodiscard]] VideoSurface &benchSurface();
