#include "protocol/opened_film.h"

#include "protocol/blocks.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <limits>

namespace protocol {
namespace {

constexpr std::string_view blanks = " \t\r\n\v\f";

std::string numberText(double number)
{
    std::array<char, 32> text{}; // the shortest text that reads back as the same number has 24 characters at most
    const auto end = std::to_chars(text.data(), text.data() + text.size(), number).ptr;
    return {text.data(), end};
}

/// Takes the next word off the text; empty if there is none.
std::string_view takeWord(std::string_view &text)
{
    text.remove_prefix(std::min(text.find_first_not_of(blanks), text.size()));
    const std::string_view word = text.substr(0, text.find_first_of(blanks));
    text.remove_prefix(word.size());
    return word;
}

/// Takes a number off the text; false if the next word is none, or is one beyond the type.
template <typename Number>
bool takeNumber(std::string_view &text, Number &number)
{
    const std::string_view word = takeWord(text);
    const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), number);
    return error == std::errc() && end == word.data() + word.size();
}

} // namespace

std::optional<std::int32_t> OpenedFilm::dataSize(std::int64_t pictures) const
{
    if (width <= 0 || height <= 0 || pictures <= 0)
        return std::nullopt;
    constexpr std::int64_t most = std::numeric_limits<std::int32_t>::max() / bytesPerPixel;
    const std::int64_t pixels = std::int64_t{width} * height;
    if (pixels > most / pictures)
        return std::nullopt;
    return static_cast<std::int32_t>(pixels * pictures * bytesPerPixel);
}

std::string textOf(const OpenedFilm &film)
{
    return std::to_string(film.width) + ' ' + std::to_string(film.height) + ' ' + std::to_string(film.frameCount) + ' '
           + numberText(film.frameRate);
}

std::optional<OpenedFilm> parseOpenedFilm(std::string_view reply)
{
    OpenedFilm film;
    const bool isWhole = takeNumber(reply, film.width) && takeNumber(reply, film.height)
                         && takeNumber(reply, film.frameCount) && takeNumber(reply, film.frameRate)
                         && takeWord(reply).empty();
    return isWhole && std::isfinite(film.frameRate) ? std::optional(film) : std::nullopt;
}

} // namespace protocol
