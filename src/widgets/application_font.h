#pragma once

#include <QFont>

/// The font of all windows: Tahoma, 8 points, or where that is missing the first installed of fonts as narrow, in
/// which every caption of the fixed layouts fits its control. Nothing is looked up before the font is first used.
[[nodiscard]] QFont applicationFont();
