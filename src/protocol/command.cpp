#include "protocol/command.h"

#include <charconv>
#include <limits>

namespace protocol {
namespace {

constexpr std::string_view timeoutWord = "timeout";
constexpr std::string_view framesWord = "frames";
constexpr std::string_view bufferUpdateWord = "bufupdate";
constexpr std::string_view openWord = "open";
constexpr std::string_view closeWord = "close";
constexpr std::string_view readWord = "read";
constexpr std::string_view exitWord = "exit";

std::string phrase(std::string_view word, std::string_view argument)
{
    return std::string(word).append(1, ' ').append(argument);
}

struct Formatter {
    std::string operator()(const Timeout &command) const { return phrase(timeoutWord, std::to_string(command.number)); }
    std::string operator()(const Frames &command) const { return phrase(framesWord, std::to_string(command.number)); }
    std::string operator()(const BufferUpdate & /*command*/) const { return std::string(bufferUpdateWord); }
    std::string operator()(const Open &command) const { return phrase(openWord, command.path); }
    std::string operator()(const Close & /*command*/) const { return std::string(closeWord); }
    std::string operator()(const Read &command) const
    {
        const std::string first = phrase(readWord, std::to_string(command.first));
        return command.count ? phrase(first, std::to_string(*command.count)) : first;
    }
    std::string operator()(const Exit & /*command*/) const { return std::string(exitWord); }
};

std::optional<std::int64_t> wholeNumber(std::string_view text)
{
    std::int64_t number = 0;
    const char *end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number);
    if (stop != end || error == std::errc::invalid_argument)
        return std::nullopt;
    using Limits = std::numeric_limits<std::int64_t>;
    if (error == std::errc::result_out_of_range)
        return text.front() == '-' ? Limits::min() : Limits::max();
    return number;
}

std::optional<Command> parseWord(std::string_view word)
{
    if (word == bufferUpdateWord)
        return BufferUpdate{};
    if (word == closeWord)
        return Close{};
    if (word == exitWord)
        return Exit{};
    return std::nullopt;
}

std::optional<Command> parseRead(std::string_view arguments)
{
    const auto blank = arguments.find(' ');
    const auto first = wholeNumber(arguments.substr(0, blank));
    if (!first)
        return std::nullopt;
    if (blank == std::string_view::npos)
        return Read{*first};
    const auto count = wholeNumber(arguments.substr(blank + 1));
    return count ? std::optional<Command>(Read{*first, count}) : std::nullopt;
}

template <typename Numbered>
std::optional<Command> parseNumbered(std::string_view argument)
{
    const auto number = wholeNumber(argument);
    return number ? std::optional<Command>(Numbered{*number}) : std::nullopt;
}

} // namespace

std::string textOf(const Command &command)
{
    return std::visit(Formatter{}, command);
}

std::optional<Command> parseCommand(std::string_view text)
{
    const auto blank = text.find(' ');
    if (blank == std::string_view::npos)
        return parseWord(text);
    const std::string_view word = text.substr(0, blank);
    const std::string_view arguments = text.substr(blank + 1);
    if (word == openWord)
        return Open{std::string(arguments)};
    if (word == readWord)
        return parseRead(arguments);
    if (word == timeoutWord)
        return parseNumbered<Timeout>(arguments);
    if (word == framesWord)
        return parseNumbered<Frames>(arguments);
    return std::nullopt;
}

} // namespace protocol
