#pragma once

#include <memory>
#include <string>

/// Keeps the screen from blanking for want of a user's hand, as long as it lives. Where the desktop has no way to be
/// asked for that, it does nothing.
class AwakeScreen {
public:
    virtual ~AwakeScreen() = default;
    AwakeScreen(const AwakeScreen &) = delete;
    AwakeScreen &operator=(const AwakeScreen &) = delete;

    /// From now on the screen stays awake. `program` and `reason` (UTF-8) are what the desktop may tell the user. Neither
    /// this nor the end of the object waits for the desktop.
    [[nodiscard]] static std::unique_ptr<AwakeScreen> hold(std::string program, std::string reason);

protected:
    AwakeScreen() = default;
};
