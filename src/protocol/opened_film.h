#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace protocol {

/// What the reader's reply to `Open` tells of the film: "WIDTH HEIGHT COUNT RATE".
struct OpenedFilm {
    std::int32_t width = 0; ///< pixels
    std::int32_t height = 0;
    std::int64_t frameCount = 0; ///< pictures of the film
    double frameRate = 0.0;      ///< pictures per second

    /// Bytes of that many pictures in the data block; nothing if there is no such picture, or if they are more than the
    /// data block can hold, 2^31 - 1.
    [[nodiscard]] std::optional<std::int32_t> dataSize(std::int64_t pictures) const;

    bool operator==(const OpenedFilm &) const = default;
};

/// The reply as it stands in the result block. It reads back as exactly this film.
[[nodiscard]] std::string textOf(const OpenedFilm &film);

/// Reads the reply: four numbers with blanks between them, within the bounds of their types, and nothing else; else
/// nothing.
[[nodiscard]] std::optional<OpenedFilm> parseOpenedFilm(std::string_view reply);

} // namespace protocol
