#pragma once

#include <vector>

/// The middle value; of an even number of values the mean of the two in the middle. `values` must not be empty.
[[nodiscard]] double median(std::vector<double> values);

/// Milliseconds on the steady clock.
[[nodiscard]] double steadyMilliseconds();

/// Milliseconds of processor time, user's and system's, that this process has used.
[[nodiscard]] double processorMilliseconds();

/// One figure as "name value" on the standard output.
void printFigure(const char *name, double value);
