#include "platform/shell_open.h"

#include <filesystem>

#include <windows.h>

#include <shellapi.h>

void shellOpen(const std::string &address)
{
    const std::u8string utf8(address.begin(), address.end());
    const std::wstring wide = std::filesystem::path(utf8).wstring();
    ShellExecuteW(nullptr, L"open", wide.c_str(), nullptr, nullptr, SW_SHOWNORMAL);
}
