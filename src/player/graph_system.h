#pragma once

#include "player/graph.h"

#include <memory>

class QWidget;

/// The media library of this operating system, drawing into `panel`, which must outlive it. What takes long to
/// load is loaded with the first graph.
[[nodiscard]] std::unique_ptr<GraphSystem> createGraphSystem(QWidget *panel);

/// libmpv, for a program that is linked with it.
[[nodiscard]] std::unique_ptr<GraphSystem> createMpvGraphSystem(QWidget *panel);
