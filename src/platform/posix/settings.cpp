#include "platform/settings.h"

std::string noSettingsFolder()
{
    return "/dev/null";
}

bool openDialogKeepsHistory()
{
    return false;
}
