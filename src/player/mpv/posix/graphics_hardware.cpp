#include "player/mpv/posix/graphics_hardware.h"

#include <filesystem>
#include <string>
#include <system_error>

bool hasGraphicsHardware()
{
    std::error_code error;
    for (const auto &entry : std::filesystem::directory_iterator("/dev/dri", error)) {
        if (entry.path().filename().string().starts_with("renderD"))
            return true;
    }
    return std::filesystem::exists("/dev/nvidiactl", error);
}
