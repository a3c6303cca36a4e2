#pragma once

#include <string>
#include <string_view>

/// The UTF-8 text as the system's own calls take it.
[[nodiscard]] std::wstring wideText(std::string_view text);
