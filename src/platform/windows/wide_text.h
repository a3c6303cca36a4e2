#pragma once

#include <string>
#include <string_view>

/// The UTF-8 text as the system's own calls take it.
[[nodiscard]] std::wstring wideText(std::string_view text);

/// The text in UTF-8; halves of surrogate pairs become U+FFFD.
[[nodiscard]] std::string utf8Text(std::wstring_view text);

/// The name by which the system finds the file however long it is. Short ones stay, for they may name devices.
[[nodiscard]] std::wstring openableName(const std::wstring &file);
