#pragma once

#include <cstdint>

/// Bytes of memory that this machine has; 0 if the system does not tell.
[[nodiscard]] std::uint64_t physicalMemory();
