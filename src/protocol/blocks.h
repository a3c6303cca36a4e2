#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

// What the program and the frame reader share. Four objects of the system (platform/shared_objects.h), all made by the
// reader: a mutex that tells that it lives, and three blocks.
//
// Command block: the command as 8-bit text (command.h), then a NUL. Only the program writes it, without a lock.
// Result block: the command being answered, byte for byte; a blank; the reply; a NUL. The reader writes the reply
// first and the command last, so that who finds the command finds the reply complete.
// Data block: the pictures that the last read delivered, one after another; each of height rows from the top down,
// each of width pixels of 3 bytes (blue, green, red), without padding.
namespace protocol {

/// What the names of the shared objects begin with.
constexpr std::string_view livenessMutex = "FRAME_READER_";
constexpr std::string_view commandBlock = "FRAME_READER_COMMAND_NAME_";
constexpr std::string_view resultBlock = "FRAME_READER_RESULT_NAME_";
constexpr std::string_view dataBlock = "FRAME_READER_DATA_NAME_";

/// Size of the command block and of the result block in bytes.
constexpr std::size_t blockSize = 1000;

/// Bytes of the data block that the program maps before it has opened a film.
constexpr std::int32_t unopenedDataSize = 20;

/// Pictures that one read delivers: 1 .. this.
constexpr std::int32_t mostPictures = 20;

constexpr std::int32_t bytesPerPixel = 3;

/// The name of a shared object: one of the prefixes above and, directly behind, the share name, which is the reader's
/// only argument.
[[nodiscard]] std::string objectName(std::string_view prefix, std::string_view shareName);

/// True if the command block has room for the text, its NUL and a byte more, and the text has no NUL of its own.
[[nodiscard]] bool fitsCommandBlock(std::string_view command);

/// The text that `block`, a copy of a block, begins with; nothing if it does not end there.
[[nodiscard]] std::optional<std::string_view> textIn(std::string_view block);

/// What the result block holds up to its NUL once `command` is answered by `reply`; nothing if it has not the room for
/// all of it.
[[nodiscard]] std::optional<std::string> answer(std::string_view command, std::string_view reply);

/// The reply to `command` in `block`, a copy of the result block; nothing if something else is answered there, or if
/// the reply does not end there. The byte between command and reply may be any.
[[nodiscard]] std::optional<std::string_view> replyIn(std::string_view block, std::string_view command);

} // namespace protocol
