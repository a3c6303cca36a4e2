#include "platform/awake_screen.h"

#include <windows.h>

namespace {

// The state is the calling thread's.
class WindowsAwakeScreen final : public AwakeScreen {
public:
    WindowsAwakeScreen() { SetThreadExecutionState(ES_CONTINUOUS | ES_DISPLAY_REQUIRED | ES_SYSTEM_REQUIRED); }
    ~WindowsAwakeScreen() override { SetThreadExecutionState(ES_CONTINUOUS); }
};

} // namespace

std::unique_ptr<AwakeScreen> AwakeScreen::hold(std::string, std::string)
{
    return std::make_unique<WindowsAwakeScreen>();
}
