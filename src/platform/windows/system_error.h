#pragma once

#include <system_error>

/// The error of the last call of the system in this thread, as the portable condition where there is one.
[[nodiscard]] std::error_code lastSystemError();
