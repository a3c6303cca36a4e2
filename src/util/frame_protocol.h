#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

// What the program and the frame reader agree on. The names of the shared objects (platform/shared_objects.h) are
// these prefixes followed directly by the share name, which is the reader's only argument.
//
// Command block: the command as 8-bit text, then a NUL. Only the program writes it, without a lock.
// Result block: the command being answered, byte for byte; a blank; the reply; a NUL. The reader writes the reply
// first and the command last, so that who finds the command finds the reply complete.
// Data block: the frames that the last read delivered, one after another; each of height rows from the top down,
// each of width pixels of 3 bytes (blue, green, red), without padding.
namespace frame_protocol {

constexpr std::string_view livenessMutex = "FRAME_READER_";
constexpr std::string_view commandBlock = "FRAME_READER_COMMAND_NAME_";
constexpr std::string_view resultBlock = "FRAME_READER_RESULT_NAME_";
constexpr std::string_view dataBlock = "FRAME_READER_DATA_NAME_";

/// Size of the command block and of the result block in bytes.
constexpr std::size_t blockSize = 1000;

/// Bytes of the data block that the program maps before it has opened a film.
constexpr std::size_t unopenedDataSize = 20;

/// Frames that one read delivers: 1 .. this.
constexpr std::int32_t mostFrames = 20;

constexpr std::int32_t bytesPerPixel = 3;

} // namespace frame_protocol
