#pragma once

#include "player/graph.h"

#include <memory>

class QWidget;

// What the tests of every graph have to be told of the one that they are linked with.

/// The graph system under test, drawing into `panel`.
[[nodiscard]] std::unique_ptr<GraphSystem> makeTestedGraphSystem(QWidget *panel);

/// The number painted into the picture that it shows in `panel`; -1 if it carries none.
[[nodiscard]] int shownNumber(QWidget &panel);

/// The name that it tells.
[[nodiscard]] QString testedGraphName();

/// False if its films run at the rate 1 only.
[[nodiscard]] bool takesRates();
