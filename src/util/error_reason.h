#pragma once

#include <QString>

#include <system_error>

/// The reason that `error` gives for a failed operation on a file, in Russian, to follow a colon: no capital, no
/// full stop. Of rare errors it gives the number and the system's own words.
[[nodiscard]] QString errorReason(const std::error_code &error);
