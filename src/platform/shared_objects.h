#pragma once

#include <cstddef>
#include <memory>
#include <string>

// Objects that the processes of one running program share by name: the program and what it starts through
// `startHiddenProcess`. Names are UTF-8, of any characters, up to about 60. The same name of another user is another
// object; in another copy of the program it is another one too, or, where the system's names are wider than that
// (Windows), it is refused to the later copy while the earlier one holds it.

/// A named mutex that tells whether its creator is alive. It is never waited on, only tested for existence; it
/// vanishes with the process that created it, in whichever way that process ends.
class LivenessMutex {
public:
    virtual ~LivenessMutex() = default;
    LivenessMutex(const LivenessMutex &) = delete;
    LivenessMutex &operator=(const LivenessMutex &) = delete;

    /// Creates the mutex; null if a living process already holds that name or the system refuses.
    [[nodiscard]] static std::unique_ptr<LivenessMutex> create(const std::string &name);

    /// True while a living process holds the mutex of that name.
    [[nodiscard]] static bool exists(const std::string &name);

protected:
    LivenessMutex() = default;
};

/// One mapped view of a named block of memory. The view ends with the object; the block lives as long as its
/// creator keeps it or somebody maps it.
class SharedMemory {
public:
    virtual ~SharedMemory() = default;
    SharedMemory(const SharedMemory &) = delete;
    SharedMemory &operator=(const SharedMemory &) = delete;

    /// Creates the block anew with `size` zero bytes (at least 1), reserving the memory, so that a later write
    /// cannot fault. A block of that name left by an earlier creator is replaced, views of it stay valid.
    /// Null if the system refuses. The name is removed when the creator's object ends.
    [[nodiscard]] static std::unique_ptr<SharedMemory> create(const std::string &name, std::size_t size);

    /// Maps the first `size` bytes (at least 1) of an existing block. Null if there is none or it is smaller than
    /// that.
    [[nodiscard]] static std::unique_ptr<SharedMemory> open(const std::string &name, std::size_t size);

    [[nodiscard]] virtual std::byte *data() const = 0;
    [[nodiscard]] virtual std::size_t size() const = 0;

protected:
    SharedMemory() = default;
};

/// Removes the names of all objects of this program at once, for a process that must end without ending its
/// objects. Views stay valid.
void removeSharedNames();
