#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

/// A command of the program to the frame reader.
struct Command {
    enum class Kind { Timeout, Frames, BufferUpdate, Open, Close, Read, Exit };
    Kind kind = Kind::Close;
    std::int64_t number = 0;                ///< timeout, frames, first picture of a read
    std::optional<std::int64_t> count = {}; ///< pictures of a read, if it tells
    std::string path = {};                  ///< of the film to open
};

/// Reads a command's text; nothing if it is none. Numbers beyond 64 bits are taken for the outermost ones.
[[nodiscard]] std::optional<Command> parseCommand(std::string_view text);
