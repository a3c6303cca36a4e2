#include "platform/posix/object_directory.h"

#include "platform/object_folder.h"
#include "platform/posix/descriptor.h"
#include "platform/posix/starting_channel.h"
#include "platform/process.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/random.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#include <cerrno>
#include <cinttypes>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <optional>
#include <system_error>
#include <vector>

namespace {

constexpr mode_t onlyOwner = 0700;

bool lock(int descriptor, int operation)
{
    int result = 0;
    do {
        result = flock(descriptor, operation);
    } while (result != 0 && errno == EINTR);
    return result == 0;
}

// The directory if it is one, is ours, and nobody else can enter it.
Descriptor openOwn(int parent, const std::string &name, mode_t forbidden)
{
    Descriptor directory(openat(parent, name.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    struct stat status = {};
    if (!directory || fstat(directory.get(), &status) != 0 || status.st_uid != geteuid()
        || (status.st_mode & forbidden) != 0)
        return {};
    return directory;
}

Descriptor openOrMakeOwn(int parent, const std::string &name)
{
    if (mkdirat(parent, name.c_str(), onlyOwner) != 0 && errno != EEXIST)
        return {};
    return openOwn(parent, name, 0077);
}

struct Place {
    Descriptor directory;
    std::string path;
    int error = 0; ///< what the system said last where there is no directory
};

Place privatePlace(const std::string &parent, const std::string &name)
{
    Place place{{}, parent + '/' + name};
    errno = 0;
    const Descriptor above(open(parent.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (above)
        place.directory = openOrMakeOwn(above.get(), name);
    place.error = errno;
    return place;
}

// Where programs of this user keep their object directories.
Place commonPlace()
{
    const std::string user = std::to_string(geteuid());
    const char *runtime = std::getenv("XDG_RUNTIME_DIR");
    for (const std::string &parent : {std::string(runtime == nullptr ? "" : runtime), "/run/user/" + user}) {
        // Others may look into a runtime directory, but not write to it: else they could swap what is in it.
        if (parent.empty() || parent.front() != '/' || !openOwn(AT_FDCWD, parent, 0022))
            continue;
        if (Place place = privatePlace(parent, "tavrin"); place.directory)
            return place;
    }
    const char *temporary = std::getenv("TMPDIR");
    return privatePlace(temporary != nullptr && temporary[0] == '/' ? temporary : "/tmp", "tavrin-" + user);
}

std::vector<std::string> entries(int directory)
{
    std::vector<std::string> names;
    const int copy = openat(directory, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    DIR *stream = copy < 0 ? nullptr : fdopendir(copy);
    if (stream == nullptr) {
        if (copy >= 0)
            close(copy);
        return names;
    }
    while (const dirent *entry = readdir(stream)) {
        const std::string name = entry->d_name;
        if (name != "." && name != "..")
            names.push_back(name);
    }
    closedir(stream);
    return names;
}

void removeEntries(int directory)
{
    for (const std::string &name : entries(directory))
        unlinkat(directory, name.c_str(), 0);
}

bool isStillThere(int directory)
{
    struct stat status = {};
    return fstat(directory, &status) == 0 && status.st_nlink > 0;
}

// Directories that no process holds were left by programs that did not end of themselves.
void removeGarbage(int common)
{
    for (const std::string &name : entries(common)) {
        const Descriptor left = openOwn(common, name, 0077);
        if (left && lock(left.get(), LOCK_EX | LOCK_NB)) {
            removeEntries(left.get());
            unlinkat(common, name.c_str(), AT_REMOVEDIR);
        }
    }
}

std::string freshName()
{
    std::uint64_t random = 0;
    if (getrandom(&random, sizeof random, 0) != static_cast<ssize_t>(sizeof random))
        return {};
    char text[48];
    std::snprintf(text, sizeof text, "%ld-%016" PRIx64, static_cast<long>(getpid()), random);
    return text;
}

class PosixObjectDirectory final : public ObjectDirectory {
public:
    PosixObjectDirectory(Descriptor directory, std::string path)
        : m_directory(std::move(directory)), m_path(std::move(path))
    {
    }

    ~PosixObjectDirectory() override
    {
        // A forked child holds the same lock and must not take it for its own.
        if (getpid() == m_holder && becomesLastHolder()) {
            removeEntries(m_directory.get());
            rmdir(m_path.c_str());
        }
    }

    [[nodiscard]] int descriptor() const override { return m_directory.get(); }
    [[nodiscard]] const std::string &path() const override { return m_path; }
    void clear() override { removeEntries(m_directory.get()); }

private:
    [[nodiscard]] bool becomesLastHolder() const
    {
        // Of a starter that was killed the channel may end a little before its lock does.
        constexpr int attempts = 50;
        constexpr timespec pause = {0, 1'000'000};
        const bool isStarted = startingChannel().descriptor >= 0;
        for (int attempt = 1; !lock(m_directory.get(), LOCK_EX | LOCK_NB); ++attempt) {
            if (attempt == attempts || !isStarted || !StartingProcess::hasEnded())
                return false;
            nanosleep(&pause, nullptr);
        }
        return true;
    }

    Descriptor m_directory;
    std::string m_path;
    pid_t m_holder = getpid();
};

std::unique_ptr<ObjectDirectory> ofStarter(const std::string &path)
{
    Descriptor directory = openOwn(AT_FDCWD, path, 0077);
    if (!directory || !lock(directory.get(), LOCK_SH) || !isStillThere(directory.get()))
        return nullptr;
    return std::make_unique<PosixObjectDirectory>(std::move(directory), path);
}

std::unique_ptr<ObjectDirectory> ofOwn()
{
    const Place common = commonPlace();
    if (!common.directory)
        return nullptr;
    removeGarbage(common.directory.get());
    // Between making and locking it another program may have taken it for garbage.
    constexpr int attempts = 10;
    for (int attempt = 0; attempt < attempts; ++attempt) {
        const std::string name = freshName();
        if (name.empty() || mkdirat(common.directory.get(), name.c_str(), onlyOwner) != 0)
            continue;
        Descriptor directory = openOwn(common.directory.get(), name, 0077);
        if (directory && lock(directory.get(), LOCK_SH) && isStillThere(directory.get()))
            return std::make_unique<PosixObjectDirectory>(std::move(directory), common.path + '/' + name);
    }
    return nullptr;
}

} // namespace

ObjectDirectory *ObjectDirectory::ofThisProgram()
{
    const StartingChannel &channel = startingChannel(); // before the directory, which asks it when it ends
    static std::mutex access;
    static std::unique_ptr<ObjectDirectory> directory;
    const std::lock_guard guard(access);
    if (!directory)
        directory = channel.descriptor < 0 ? ofOwn() : ofStarter(channel.objectDirectory);
    return directory.get();
}

std::optional<RefusedFolder> refusedObjectFolder()
{
    const Place place = commonPlace();
    if (place.directory)
        return std::nullopt;
    using Why = RefusedFolder::Why;
    RefusedFolder refused{place.path, Why::SystemRefuses, {place.error, std::system_category()}};
    struct stat status = {};
    if (lstat(place.path.c_str(), &status) == 0) {
        if (status.st_uid != geteuid())
            refused.why = Why::OfAnotherUser;
        else if (S_ISDIR(status.st_mode) && (status.st_mode & 0077) != 0)
            refused.why = Why::OpenToOthers;
    }
    return refused;
}
