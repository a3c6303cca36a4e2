#include "reader/command.h"

#include <charconv>
#include <limits>

namespace {

std::optional<std::int64_t> wholeNumber(std::string_view text)
{
    std::int64_t number = 0;
    const char *end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number);
    if (stop != end || error == std::errc::invalid_argument)
        return std::nullopt;
    if (error == std::errc::result_out_of_range)
        return text.front() == '-' ? std::numeric_limits<std::int64_t>::min()
                                   : std::numeric_limits<std::int64_t>::max();
    return number;
}

} // namespace

std::optional<Command> parseCommand(std::string_view text)
{
    const auto blank = text.find(' ');
    const std::string_view word = text.substr(0, blank);
    if (blank == std::string_view::npos) {
        if (word == "bufupdate")
            return Command{Command::Kind::BufferUpdate};
        if (word == "close")
            return Command{Command::Kind::Close};
        if (word == "exit")
            return Command{Command::Kind::Exit};
        return std::nullopt;
    }

    std::string_view rest = text.substr(blank + 1);
    if (word == "open") {
        if (rest.empty())
            return std::nullopt;
        return Command{.kind = Command::Kind::Open, .path = std::string(rest)};
    }
    Command command;
    if (word == "read") {
        command.kind = Command::Kind::Read;
        if (const auto second = rest.find(' '); second != std::string_view::npos) {
            command.count = wholeNumber(rest.substr(second + 1));
            if (!command.count)
                return std::nullopt;
            rest = rest.substr(0, second);
        }
    } else if (word == "timeout") {
        command.kind = Command::Kind::Timeout;
    } else if (word == "frames") {
        command.kind = Command::Kind::Frames;
    } else {
        return std::nullopt;
    }
    const auto number = wholeNumber(rest);
    if (!number)
        return std::nullopt;
    command.number = *number;
    return command;
}
