#pragma once

#include "film/interruption.h"

/// Watches over the process that started this one, for as long as this one lives, on a thread of its own. The
/// returned function tells whether the starter has ended. If this process has not ended a little later, whatever it
/// is doing, it is ended, with its shared names removed.
[[nodiscard]] Interrupted watchStarter();
