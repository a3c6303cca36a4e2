#pragma once

#include <QPalette>

namespace smoky {

/// The colours of everything.
[[nodiscard]] QPalette palette();

} // namespace smoky
