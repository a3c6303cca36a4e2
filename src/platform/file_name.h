#pragma once

#include <string>
#include <string_view>

/// The characters that no name of a file can have in this system, besides NUL and the separators of folders.
[[nodiscard]] std::u16string_view forbiddenInFileNames();

/// The name by which the system finds the file, or makes it, however long its path is; the same as `file` where that
/// name will do; both in UTF-8. For libraries that hand a name on as they get it.
[[nodiscard]] std::string openableName(const std::string &file);
