#include "platform/whole_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <utility>

namespace {

std::error_code systemError(int number)
{
    // The user's own share of the disk has no portable name.
    return {number == EDQUOT ? ENOSPC : number, std::generic_category()};
}

std::error_code lastError()
{
    return systemError(errno);
}

class FileDescriptor {
public:
    explicit FileDescriptor(int number) : m_descriptor(number) {}
    ~FileDescriptor() { (void)close(); }
    FileDescriptor(const FileDescriptor &) = delete;
    FileDescriptor &operator=(const FileDescriptor &) = delete;

    [[nodiscard]] bool isOpen() const { return m_descriptor >= 0; }
    [[nodiscard]] int number() const { return m_descriptor; }

    /// Some file systems report a failed write only here.
    [[nodiscard]] int close() { return isOpen() ? ::close(std::exchange(m_descriptor, -1)) : 0; }

private:
    int m_descriptor;
};

/// Removes the file it names unless it has been told to keep it.
class UnfinishedFile {
public:
    explicit UnfinishedFile(std::filesystem::path path) : m_file(std::move(path)) {}
    ~UnfinishedFile()
    {
        if (!m_kept)
            ::unlink(m_file.c_str());
    }
    UnfinishedFile(const UnfinishedFile &) = delete;
    UnfinishedFile &operator=(const UnfinishedFile &) = delete;

    [[nodiscard]] const std::filesystem::path &path() const { return m_file; }
    void keep() { m_kept = true; }

private:
    std::filesystem::path m_file;
    bool m_kept = false;
};

std::error_code refusalOf(const struct stat &status)
{
    if (S_ISREG(status.st_mode))
        return {};
    return systemError(S_ISDIR(status.st_mode) ? EISDIR : EINVAL);
}

std::error_code writeAll(const FileDescriptor &file, std::string_view bytes)
{
    while (!bytes.empty()) {
        const ssize_t written = ::write(file.number(), bytes.data(), bytes.size());
        if (written < 0) {
            if (errno == EINTR)
                continue;
            return lastError();
        }
        bytes.remove_prefix(static_cast<std::size_t>(written));
    }
    return {};
}

std::error_code flush(const FileDescriptor &file)
{
    // Some file systems cannot flush; what they cannot do is no reason to keep the user's work from them.
    if (::fsync(file.number()) != 0 && errno != EINVAL && errno != ENOTSUP)
        return lastError();
    return {};
}

std::filesystem::path folderOf(const std::filesystem::path &file)
{
    return file.has_parent_path() ? file.parent_path() : ".";
}

/// Flushes the new name itself; the content is safe already, so a failure changes nothing.
void flushFolder(const std::filesystem::path &folder)
{
    const FileDescriptor descriptor(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (descriptor.isOpen())
        (void)::fsync(descriptor.number());
}

class PosixReplacement final : public FileReplacement {
public:
    PosixReplacement(int number, const std::filesystem::path &name, std::filesystem::path file)
        : m_descriptor(number), m_unfinished(name), m_target(std::move(file))
    {
    }

    std::error_code write(std::string_view bytes) override { return writeAll(m_descriptor, bytes); }

    std::error_code commit() override
    {
        if (const std::error_code error = flush(m_descriptor))
            return error;
        if (m_descriptor.close() != 0 || std::rename(m_unfinished.path().c_str(), m_target.c_str()) != 0)
            return lastError();
        m_unfinished.keep();
        flushFolder(folderOf(m_target));
        return {};
    }

private:
    FileDescriptor m_descriptor;
    UnfinishedFile m_unfinished;
    std::filesystem::path m_target;
};

} // namespace

std::error_code readWholeFile(const std::filesystem::path &file, std::string &bytes)
{
    const FileDescriptor descriptor(::open(file.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    struct stat status = {};
    if (!descriptor.isOpen() || ::fstat(descriptor.number(), &status) != 0)
        return lastError();
    if (const std::error_code refusal = refusalOf(status))
        return refusal;

    // One byte more than the file's size sees its end in the same read; a file that grows meanwhile is read on.
    std::size_t filled = 0;
    bytes.resize(static_cast<std::size_t>(status.st_size) + 1);
    for (;;) {
        const ssize_t count = ::read(descriptor.number(), bytes.data() + filled, bytes.size() - filled);
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0)
            return lastError();
        filled += static_cast<std::size_t>(count);
        if (count == 0)
            break;
        if (filled == bytes.size())
            bytes.resize(2 * filled);
    }
    bytes.resize(filled);
    return {};
}

namespace {

/// The file that symbolic links lead to, also one that is not there.
std::filesystem::path behindLinks(const std::filesystem::path &file)
{
    std::error_code unresolved;
    std::filesystem::path target = std::filesystem::canonical(file, unresolved);
    if (!unresolved)
        return target;
    target = file;
    constexpr int mostLinks = 40;
    for (int links = 0; links < mostLinks && std::filesystem::is_symlink(target, unresolved); ++links)
        target = target.parent_path() / std::filesystem::read_symlink(target, unresolved);
    return target;
}

} // namespace

std::unique_ptr<FileReplacement> FileReplacement::create(const std::filesystem::path &file, std::error_code &error)
{
    const auto refused = [&error](const std::error_code &reason) {
        error = reason;
        return nullptr;
    };
    const std::filesystem::path target = behindLinks(file);

    struct stat old = {};
    const bool exists = ::stat(target.c_str(), &old) == 0;
    if (!exists && errno != ENOENT)
        return refused(lastError());
    if (exists) {
        if (const std::error_code refusal = refusalOf(old))
            return refused(refusal);
        if (::faccessat(AT_FDCWD, target.c_str(), W_OK, AT_EACCESS) != 0)
            return refused(lastError());
    }

    // The name beside the file is short, since the file's own may already be as long as names can be. Until the
    // new file has the old one's permissions nobody else may look into it.
    constexpr mode_t ownerOnly = S_IRUSR | S_IWUSR;
    constexpr mode_t newFile = ownerOnly | S_IRGRP | S_IWGRP | S_IROTH | S_IWOTH;
    constexpr int nameAttempts = 1000;
    int number = -1;
    std::filesystem::path name;
    for (int attempt = 0; number < 0 && attempt < nameAttempts; ++attempt) {
        name = folderOf(target) / (".tavrin-" + std::to_string(::getpid()) + '-' + std::to_string(attempt));
        number = ::open(name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, exists ? ownerOnly : newFile);
        if (number < 0 && errno != EEXIST)
            return refused(lastError());
    }
    if (number < 0)
        return refused(lastError());
    auto replacement = std::make_unique<PosixReplacement>(number, name, target);

    if (exists) {
        // Only the owner that the system lets us give; file systems without permissions refuse both.
        if (::fchown(number, old.st_uid, old.st_gid) != 0)
            (void)!::fchown(number, static_cast<uid_t>(-1), old.st_gid);
        (void)::fchmod(number, old.st_mode & (S_IRWXU | S_IRWXG | S_IRWXO));
    }
    return replacement;
}

std::optional<FileState> stateOfFile(const std::filesystem::path &file)
{
    struct stat status = {};
    if (::stat(file.c_str(), &status) != 0 || refusalOf(status))
        return std::nullopt;
    constexpr std::int64_t nanoseconds = 1'000'000'000;
    return FileState{status.st_mtim.tv_sec * nanoseconds + status.st_mtim.tv_nsec,
                     static_cast<std::uint64_t>(status.st_size)};
}

std::error_code flushFile(const std::filesystem::path &file)
{
    const FileDescriptor descriptor(::open(file.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    return descriptor.isOpen() ? flush(descriptor) : lastError();
}
