#include "platform/shared_objects.h"

#include "platform/windows/handle.h"
#include "platform/windows/wide_text.h"

#include <cstdint>
#include <map>
#include <mutex>

#include <windows.h>

namespace {

/// The handles that keep the names of this process's mutexes and blocks. A name goes with its last handle, the memory with its last
/// view, so the name of a block can be given to another while views of it stay.
class KeptNames {
public:
    static KeptNames &ofThisProcess()
    {
        static KeptNames names;
        return names;
    }

    /// Returns a number by which `drop` knows this object from others of that name.
    [[nodiscard]] std::uint64_t keep(const std::wstring &name, Handle object)
    {
        const std::lock_guard lock(m_mutex);
        m_objects[name] = {std::move(object), ++m_count};
        return m_count;
    }

    void drop(const std::wstring &name, std::uint64_t number)
    {
        const std::lock_guard lock(m_mutex);
        const auto found = m_objects.find(name);
        if (found != m_objects.end() && found->second.number == number)
            m_objects.erase(found);
    }

    void drop(const std::wstring &name)
    {
        const std::lock_guard lock(m_mutex);
        m_objects.erase(name);
    }

    void dropAll()
    {
        const std::lock_guard lock(m_mutex);
        m_objects.clear();
    }

private:
    struct Object {
        Handle handle;
        std::uint64_t number = 0;
    };

    std::mutex m_mutex;
    std::map<std::wstring, Object> m_objects;
    std::uint64_t m_count = 0;
};

class WindowsLivenessMutex final : public LivenessMutex {
public:
    WindowsLivenessMutex(std::wstring name, Handle mutex)
        : m_name(std::move(name)), m_number(KeptNames::ofThisProcess().keep(m_name, std::move(mutex)))
    {
    }
    ~WindowsLivenessMutex() override { KeptNames::ofThisProcess().drop(m_name, m_number); }

private:
    std::wstring m_name;
    std::uint64_t m_number;
};

class WindowsSharedMemory final : public SharedMemory {
public:
    WindowsSharedMemory(void *view, std::size_t size) : m_view(static_cast<std::byte *>(view)), m_size(size) {}
    ~WindowsSharedMemory() override
    {
        UnmapViewOfFile(m_view);
        if (m_number != 0)
            KeptNames::ofThisProcess().drop(m_name, m_number);
    }

    /// Makes this view the owner of the block's name.
    void ownName(std::wstring name, Handle mapping)
    {
        m_name = std::move(name);
        m_number = KeptNames::ofThisProcess().keep(m_name, std::move(mapping));
    }

    [[nodiscard]] std::byte *data() const override { return m_view; }
    [[nodiscard]] std::size_t size() const override { return m_size; }

private:
    std::byte *m_view;
    std::size_t m_size;
    std::wstring m_name;
    std::uint64_t m_number = 0; ///< 0 where the name is another's
};

std::unique_ptr<WindowsSharedMemory> map(const Handle &mapping, std::size_t size)
{
    void *view = mapping ? MapViewOfFile(mapping.get(), FILE_MAP_ALL_ACCESS, 0, 0, size) : nullptr;
    return view == nullptr ? nullptr : std::make_unique<WindowsSharedMemory>(view, size);
}

} // namespace

std::unique_ptr<LivenessMutex> LivenessMutex::create(const std::string &name)
{
    std::wstring wideName = wideText(name);
    Handle mutex(CreateMutexW(nullptr, FALSE, wideName.c_str()));
    if (!mutex || GetLastError() == ERROR_ALREADY_EXISTS)
        return nullptr;
    return std::make_unique<WindowsLivenessMutex>(std::move(wideName), std::move(mutex));
}

bool LivenessMutex::exists(const std::string &name)
{
    return static_cast<bool>(Handle(OpenMutexW(MUTEX_ALL_ACCESS, FALSE, wideText(name).c_str())));
}

std::unique_ptr<SharedMemory> SharedMemory::create(const std::string &name, std::size_t size)
{
    if (size == 0)
        return nullptr;
    std::wstring wideName = wideText(name);
    KeptNames::ofThisProcess().drop(wideName);
    const auto size64 = static_cast<std::uint64_t>(size);
    Handle mapping(CreateFileMappingW(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, static_cast<DWORD>(size64 >> 32U),
                                      static_cast<DWORD>(size64), wideName.c_str()));
    // A block of another process that lives: two would write into it.
    if (GetLastError() == ERROR_ALREADY_EXISTS)
        return nullptr;
    std::unique_ptr<WindowsSharedMemory> memory = map(mapping, size);
    if (memory)
        memory->ownName(std::move(wideName), std::move(mapping));
    return memory;
}

std::unique_ptr<SharedMemory> SharedMemory::open(const std::string &name, std::size_t size)
{
    if (size == 0)
        return nullptr;
    return map(Handle(OpenFileMappingW(FILE_MAP_ALL_ACCESS, FALSE, wideText(name).c_str())), size);
}

void removeSharedNames()
{
    KeptNames::ofThisProcess().dropAll();
}
