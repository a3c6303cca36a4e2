#pragma once

#include <thread>

/// Has the system read its list of fonts, which the first text on a window waits for, beside whatever the caller does
/// meanwhile. The reading ends before the object returned does.
[[nodiscard]] std::jthread readFontList();
