#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <system_error>

/// A folder that cannot hold this program's named objects (shared_objects.h).
struct RefusedFolder {
    enum class Why : std::uint8_t {
        OfAnotherUser, ///< somebody else made it
        OpenToOthers,  ///< others could reach into it
        SystemRefuses, ///< `error` tells
    };

    std::string path; ///< UTF-8
    Why why = Why::SystemRefuses;
    std::error_code error;
};

/// Why this program can create no named objects and start no process that shares them, as far as a folder is the
/// reason; nothing where they have their place, or need none.
[[nodiscard]] std::optional<RefusedFolder> refusedObjectFolder();
