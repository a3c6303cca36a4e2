#pragma once

#include <chrono>
#include <memory>
#include <string>

/// A process that `startHiddenProcess` started.
class HiddenProcess {
public:
    /// Lets go of the process, to which this is the end of its starter. Does not wait for it.
    virtual ~HiddenProcess() = default;
    HiddenProcess(const HiddenProcess &) = delete;
    HiddenProcess &operator=(const HiddenProcess &) = delete;

    /// True once the process has ended, in whichever way; then nothing will answer for it any more.
    [[nodiscard]] virtual bool ended() const = 0;

protected:
    HiddenProcess() = default;
};

/// Starts the executable at `path` (UTF-8) with one command-line argument, without a window and detached from the
/// terminal. The process learns of this one's end from the system itself, however this one ends, and shares this
/// one's named objects (shared_objects.h); besides these it inherits no descriptor. Returns when the process has called
/// `tellReady` or has ended, or after `patience`. Null if it could not be started.
[[nodiscard]] std::unique_ptr<HiddenProcess>
startHiddenProcess(const std::string &path, const std::string &argument,
                   std::chrono::milliseconds patience = std::chrono::milliseconds(1000));

/// The other end: what a process knows of the one that started it through `startHiddenProcess`.
class StartingProcess {
public:
    /// Tells the starter that this process is ready for it. Harmless where nobody waits.
    static void tellReady();

    /// True once the starter has ended or let go of this process, or if nobody started it so.
    [[nodiscard]] static bool hasEnded();

    /// Returns when `hasEnded` has become true, or after `patience`; costs nothing meanwhile.
    static void waitForEnd(std::chrono::milliseconds patience);
};
