#include "platform/windows/wide_text.h"

#include <windows.h>

std::wstring wideText(std::string_view text)
{
    const int size = static_cast<int>(text.size());
    std::wstring wide(static_cast<std::size_t>(MultiByteToWideChar(CP_UTF8, 0, text.data(), size, nullptr, 0)), L'\0');
    MultiByteToWideChar(CP_UTF8, 0, text.data(), size, wide.data(), static_cast<int>(wide.size()));
    return wide;
}

std::string utf8Text(std::wstring_view text)
{
    const int size = static_cast<int>(text.size());
    const int bytes = WideCharToMultiByte(CP_UTF8, 0, text.data(), size, nullptr, 0, nullptr, nullptr);
    std::string utf8(static_cast<std::size_t>(bytes), '\0');
    WideCharToMultiByte(CP_UTF8, 0, text.data(), size, utf8.data(), bytes, nullptr, nullptr);
    return utf8;
}

std::wstring openableName(const std::wstring &file)
{
    constexpr std::size_t longestPlain = 240; // some calls take fewer than MAX_PATH
    const DWORD size = GetFullPathNameW(file.c_str(), 0, nullptr, nullptr);
    if (size < longestPlain || file.starts_with(LR"(\\?\)"))
        return file;
    std::wstring whole(size, L'\0');
    whole.resize(GetFullPathNameW(file.c_str(), size, whole.data(), nullptr));
    return whole.starts_with(LR"(\\)") ? LR"(\\?\UNC)" + whole.substr(1) : LR"(\\?\)" + whole;
}
