#include "platform/font_list.h"

#include <fontconfig/fontconfig.h>

std::jthread readFontList()
{
    return std::jthread([] { FcInit(); });
}
