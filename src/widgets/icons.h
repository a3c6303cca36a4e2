#pragma once

#include <QIcon>

/// The icon drawn in `resources/icons/<name>.svg`: crisp at every scale up to six. Its picture is read when it is first
/// painted, so that making it costs nothing; a name without a file paints nothing. `name` is a literal: it is kept, not
/// copied.
[[nodiscard]] QIcon icon(const char *name);
