#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <variant>

// The commands of the program to the frame reader. Each is a word, some followed by a blank and arguments; numbers are
// plain decimal.
namespace protocol {

/// "timeout N": how long an answer may take.
struct Timeout {
    std::int64_t number = 0;
    bool operator==(const Timeout &) const = default;
};

/// "frames N": the pictures that every read delivers from now on, 1 .. `mostPictures`.
struct Frames {
    std::int64_t number = 1;
    bool operator==(const Frames &) const = default;
};

/// "bufupdate": the data block is made anew, for the pictures of one read.
struct BufferUpdate {
    bool operator==(const BufferUpdate &) const = default;
};

/// "open PATH": the film at this path (UTF-8) is opened. The reply is an `OpenedFilm`.
struct Open {
    std::string path;
    bool operator==(const Open &) const = default;
};

/// "close": the film is closed.
struct Close {
    bool operator==(const Close &) const = default;
};

/// "read FIRST" or "read FIRST COUNT": pictures from this index on are put into the data block, `Frames` of them or as
/// many as told.
struct Read {
    std::int64_t first = 0;
    std::optional<std::int64_t> count = {};
    bool operator==(const Read &) const = default;
};

/// "exit": the reader ends.
struct Exit {
    bool operator==(const Exit &) const = default;
};

using Command = std::variant<Timeout, Frames, BufferUpdate, Open, Close, Read, Exit>;

/// The command as it stands in the command block.
[[nodiscard]] std::string textOf(const Command &command);

/// Reads a command's text; nothing if it is none. Numbers beyond 64 bits are taken for the outermost ones.
[[nodiscard]] std::optional<Command> parseCommand(std::string_view text);

/// The replies to the commands whose reply tells nothing but whether they were carried out.
constexpr std::string_view done = "ok";
constexpr std::string_view refused = "refused";

} // namespace protocol
