#pragma once

#include <QIcon>
#include <QStyle>

namespace smoky {

/// The own icon for a standard one; null where there is none.
[[nodiscard]] QIcon standardIcon(QStyle::StandardPixmap pixmap);

} // namespace smoky
