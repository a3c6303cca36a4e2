#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>

// Files that are read, replaced and flushed in one piece. All functions report the system's reason as an error code and
// throw nothing but std::bad_alloc.

/// Reads the whole regular file into `bytes`. On an error `bytes` is unspecified. What is no regular file (a
/// folder, a pipe) is refused without waiting for it.
[[nodiscard]] std::error_code readWholeFile(const std::filesystem::path &file, std::string &bytes);

/// The new content of a file, which replaces the old one wholly or not at all: it is written to a file beside it,
/// flushed to the disk, and the new file takes the old one's name, permissions and, where allowed, owner. Until then
/// the old file is what it was; an object that ends before leaves nothing beside it. A symbolic link stays one; the
/// file it names is replaced. A file that its permissions protect from being written is not replaced. Any name the
/// file system can hold will do, however long.
class FileReplacement {
public:
    virtual ~FileReplacement() = default;
    FileReplacement(const FileReplacement &) = delete;
    FileReplacement &operator=(const FileReplacement &) = delete;

    /// Null, and the reason in `error`, if the file cannot be replaced.
    [[nodiscard]] static std::unique_ptr<FileReplacement> create(const std::filesystem::path &file,
                                                                 std::error_code &error);

    /// Appends to the new content.
    [[nodiscard]] virtual std::error_code write(std::string_view bytes) = 0;

    /// Puts the new content into the old one's place. Called once, after the last write.
    [[nodiscard]] virtual std::error_code commit() = 0;

protected:
    FileReplacement() = default;
};

/// Makes `bytes` the content of `file`, wholly or not at all, as FileReplacement does.
[[nodiscard]] std::error_code replaceWholeFile(const std::filesystem::path &file, std::string_view bytes);

/// What tells one content of a file from another without reading it.
struct FileState {
    std::int64_t changed = 0; ///< when it was written last, as the system counts
    std::uint64_t size = 0;   ///< bytes

    bool operator==(const FileState &) const = default;
};

/// Nothing where there is no regular file, or it cannot be seen.
[[nodiscard]] std::optional<FileState> stateOfFile(const std::filesystem::path &file);

/// Returns when the content of `file`, whoever wrote it, is on the disk.
[[nodiscard]] std::error_code flushFile(const std::filesystem::path &file);
