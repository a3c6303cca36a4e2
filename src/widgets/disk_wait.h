#pragma once

#include <QElapsedTimer>
#include <QMetaObject>

#include <functional>
#include <memory>

/// The thread of the windows waits for a disk, which may hang. After a moment of that the windows are painted and the
/// main window can be closed. All other input is dropped and the program's timers stand still, so that nothing but the
/// looks of the windows changes before the wait is over.
class DiskWait {
public:
    DiskWait();
    ~DiskWait();
    DiskWait(const DiskWait &) = delete;
    DiskWait &operator=(const DiskWait &) = delete;

    /// To be called every few milliseconds of the wait. Ends the process where the program is to end and the disk still
    /// does not answer.
    void goOn();

    /// The program is to end: from now on no wait goes on for longer than a moment.
    static void endSoon();

    /// Within an event that a wait lets through: has `call` of `object` made by a later event, and tells so. What may
    /// ask the disk begins with this.
    template <typename Object>
    [[nodiscard]] static bool putsOff(Object *object, void (Object::*call)())
    {
        return letsThrough() && QMetaObject::invokeMethod(object, call, Qt::QueuedConnection);
    }

private:
    class OnlyLooks;
    [[nodiscard]] static bool letsThrough();
    QElapsedTimer m_begun;
    std::unique_ptr<OnlyLooks> m_filter; ///< once the moment is over
};

/// Does `work`, which asks a disk, on another thread, and waits for it as DiskWait does; throws what it throws. Calls
/// `meanwhile` every few milliseconds.
void waitForDisk(const std::function<void()> &work, const std::function<void()> &meanwhile = {});
