#include "platform/shell_open.h"

#include "platform/windows/wide_text.h"

#include <windows.h>

#include <shellapi.h>

void shellOpen(const std::string &address)
{
    ShellExecuteW(nullptr, L"open", wideText(address).c_str(), nullptr, nullptr, SW_SHOWNORMAL);
}
