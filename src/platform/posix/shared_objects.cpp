#include "platform/shared_objects.h"

#include "platform/posix/descriptor.h"
#include "platform/posix/object_directory.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdint>
#include <limits>
#include <optional>

namespace {

constexpr mode_t onlyOwner = 0600;

// A file name that names nothing outside its directory, different for different names.
std::optional<std::string> fileName(const std::string &name, const char *suffix)
{
    constexpr std::size_t longest = 240;
    constexpr char digits[] = "0123456789ABCDEF";
    std::string encoded;
    for (const char character : name) {
        const bool plain = (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z')
                           || (character >= '0' && character <= '9') || character == '_' || character == '-';
        if (plain) {
            encoded += character;
        } else {
            const auto byte = static_cast<unsigned char>(character);
            encoded += {'%', digits[byte >> 4U], digits[byte & 15U]};
        }
    }
    if (encoded.empty() || encoded.size() > longest)
        return std::nullopt;
    return encoded + suffix;
}

bool isFile(int directory, const std::string &name, int descriptor)
{
    struct stat named = {};
    struct stat held = {};
    return fstatat(directory, name.c_str(), &named, AT_SYMLINK_NOFOLLOW) == 0 && fstat(descriptor, &held) == 0
           && named.st_dev == held.st_dev && named.st_ino == held.st_ino;
}

class PosixLivenessMutex final : public LivenessMutex {
public:
    PosixLivenessMutex(int directory, std::string name, Descriptor file)
        : m_directory(directory), m_name(std::move(name)), m_file(std::move(file))
    {
    }
    // Before the lock is dropped: a later creator's file must not be the one removed.
    ~PosixLivenessMutex() override
    {
        if (isFile(m_directory, m_name, m_file.get()))
            unlinkat(m_directory, m_name.c_str(), 0);
    }

private:
    int m_directory;
    std::string m_name;
    Descriptor m_file;
};

class PosixSharedMemory final : public SharedMemory {
public:
    PosixSharedMemory(void *view, std::size_t size) : m_view(static_cast<std::byte *>(view)), m_size(size) {}
    ~PosixSharedMemory() override
    {
        munmap(m_view, m_size);
        if (m_file && isFile(m_directory, m_name, m_file.get()))
            unlinkat(m_directory, m_name.c_str(), 0);
    }

    [[nodiscard]] std::byte *data() const override { return m_view; }
    [[nodiscard]] std::size_t size() const override { return m_size; }

    void ownName(int directory, std::string name, Descriptor file)
    {
        m_directory = directory;
        m_name = std::move(name);
        m_file = std::move(file);
    }

private:
    std::byte *m_view;
    std::size_t m_size;
    int m_directory = -1;
    std::string m_name;
    Descriptor m_file;
};

std::unique_ptr<PosixSharedMemory> map(int descriptor, std::size_t size)
{
    void *view = mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED, descriptor, 0);
    if (view == MAP_FAILED)
        return nullptr;
    return std::make_unique<PosixSharedMemory>(view, size);
}

bool isPossibleSize(std::size_t size)
{
    return size > 0 && size <= static_cast<std::uintmax_t>(std::numeric_limits<off_t>::max());
}

bool reserve(int descriptor, std::size_t size)
{
    int error = 0;
    do {
        error = posix_fallocate(descriptor, 0, static_cast<off_t>(size));
    } while (error == EINTR);
    return error == 0;
}

} // namespace

std::unique_ptr<LivenessMutex> LivenessMutex::create(const std::string &name)
{
    const ObjectDirectory *directory = ObjectDirectory::ofThisProgram();
    std::optional<std::string> file = fileName(name, ".mutex");
    if (directory == nullptr || !file)
        return nullptr;

    // `exists` holds the lock for a moment, and a creator that ends takes its file away.
    constexpr int attempts = 20;
    constexpr timespec pause = {0, 1'000'000};
    for (int attempt = 0; attempt < attempts; ++attempt) {
        Descriptor held(
            openat(directory->descriptor(), file->c_str(), O_RDWR | O_CREAT | O_NOFOLLOW | O_CLOEXEC, onlyOwner));
        if (!held)
            return nullptr;
        if (flock(held.get(), LOCK_EX | LOCK_NB) == 0 && isFile(directory->descriptor(), *file, held.get()))
            return std::make_unique<PosixLivenessMutex>(directory->descriptor(), *file, std::move(held));
        nanosleep(&pause, nullptr);
    }
    return nullptr;
}

bool LivenessMutex::exists(const std::string &name)
{
    const ObjectDirectory *directory = ObjectDirectory::ofThisProgram();
    const std::optional<std::string> file = fileName(name, ".mutex");
    if (directory == nullptr || !file)
        return false;
    const Descriptor held(openat(directory->descriptor(), file->c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC));
    return held && flock(held.get(), LOCK_SH | LOCK_NB) != 0 && errno == EWOULDBLOCK;
}

std::unique_ptr<SharedMemory> SharedMemory::create(const std::string &name, std::size_t size)
{
    const ObjectDirectory *directory = ObjectDirectory::ofThisProgram();
    std::optional<std::string> file = fileName(name, ".memory");
    if (directory == nullptr || !file || !isPossibleSize(size))
        return nullptr;

    // Nobody may find the block under its name before it has its size.
    static std::atomic_uint64_t counter = 0;
    const std::string unfinished = std::to_string(getpid()) + '.' + std::to_string(++counter) + ".unfinished";
    Descriptor made(
        openat(directory->descriptor(), unfinished.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, onlyOwner));
    if (!made)
        return nullptr;
    std::unique_ptr<PosixSharedMemory> memory;
    if (reserve(made.get(), size))
        memory = map(made.get(), size);
    if (!memory || renameat(directory->descriptor(), unfinished.c_str(), directory->descriptor(), file->c_str()) != 0) {
        unlinkat(directory->descriptor(), unfinished.c_str(), 0);
        return nullptr;
    }
    memory->ownName(directory->descriptor(), std::move(*file), std::move(made));
    return memory;
}

std::unique_ptr<SharedMemory> SharedMemory::open(const std::string &name, std::size_t size)
{
    const ObjectDirectory *directory = ObjectDirectory::ofThisProgram();
    const std::optional<std::string> file = fileName(name, ".memory");
    if (directory == nullptr || !file || !isPossibleSize(size))
        return nullptr;
    const Descriptor found(openat(directory->descriptor(), file->c_str(), O_RDWR | O_NOFOLLOW | O_CLOEXEC));
    struct stat status = {};
    if (!found || fstat(found.get(), &status) != 0 || static_cast<std::uintmax_t>(status.st_size) < size)
        return nullptr;
    return map(found.get(), size);
}

void removeSharedNames()
{
    if (ObjectDirectory *directory = ObjectDirectory::ofThisProgram())
        directory->clear();
}
