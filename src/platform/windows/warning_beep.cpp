#include "platform/warning_beep.h"

#include <windows.h>

void warningBeep()
{
    MessageBeep(MB_ICONEXCLAMATION);
}
