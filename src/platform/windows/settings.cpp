#include "platform/settings.h"

std::string noSettingsFolder()
{
    return R"(\\.\NUL)";
}

bool openDialogKeepsHistory()
{
    return true;
}
