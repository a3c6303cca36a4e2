#pragma once

#include <functional>

/// Asked between short pieces of work: true if the work's result is not wanted any more.
using Interrupted = std::function<bool()>;
