#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <system_error>

// Files that are read and replaced in one piece. Both functions report the system's reason as an error code and
// throw nothing but std::bad_alloc.

/// Reads the whole regular file into `bytes`. On an error `bytes` is unspecified. What is no regular file (a
/// folder, a pipe) is refused without waiting for it.
[[nodiscard]] std::error_code readWholeFile(const std::filesystem::path &file, std::string &bytes);

/// Makes `bytes` the content of `file`, wholly or not at all: they are written to a file beside it, flushed to the
/// disk, and the new file takes the old one's name, permissions and, where allowed, owner. On an error the old
/// file is what it was and nothing is left beside it. A symbolic link stays one; the file it names is replaced.
/// A file that its permissions protect from being written is not replaced. Any name the file system can hold will
/// do, however long.
[[nodiscard]] std::error_code replaceWholeFile(const std::filesystem::path &file, std::string_view bytes);
