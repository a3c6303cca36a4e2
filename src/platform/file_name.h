#pragma once

#include <string_view>

/// The characters that no name of a file can have in this system, besides NUL and the separators of folders.
[[nodiscard]] std::u16string_view forbiddenInFileNames();
