#include "platform/memory.h"

#include <windows.h>

std::uint64_t physicalMemory()
{
    MEMORYSTATUSEX memory{};
    memory.dwLength = sizeof memory;
    return GlobalMemoryStatusEx(&memory) ? memory.ullTotalPhys : 0;
}
