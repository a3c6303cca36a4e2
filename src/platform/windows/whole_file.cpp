#include "platform/whole_file.h"

#include "platform/windows/handle.h"
#include "platform/windows/system_error.h"
#include "platform/windows/wide_text.h"

#include <algorithm>
#include <cstdint>
#include <limits>
#include <utility>

#include <windows.h>

namespace {

constexpr DWORD withEverybody = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

Handle openFile(const std::wstring &name, DWORD access)
{
    // With the right to open folders a folder is refused as one, not as a file without rights.
    return Handle(
        CreateFileW(name.c_str(), access, withEverybody, nullptr, OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr));
}

std::error_code refusalOf(const Handle &file)
{
    BY_HANDLE_FILE_INFORMATION information{};
    if (GetFileType(file.get()) != FILE_TYPE_DISK || !GetFileInformationByHandle(file.get(), &information))
        return std::make_error_code(std::errc::invalid_argument);
    if (information.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY)
        return std::make_error_code(std::errc::is_a_directory);
    return {};
}

/// The name of the file itself, behind links; the one it was opened by where the system does not tell.
std::wstring nameBehindLinks(const Handle &file, const std::wstring &name)
{
    std::wstring whole(GetFinalPathNameByHandleW(file.get(), nullptr, 0, FILE_NAME_NORMALIZED), L'\0');
    const auto room = static_cast<DWORD>(whole.size());
    whole.resize(GetFinalPathNameByHandleW(file.get(), whole.data(), room, FILE_NAME_NORMALIZED));
    return whole.empty() ? name : whole;
}

std::error_code flush(const Handle &file)
{
    // Some file systems cannot flush; what they cannot do is no reason to keep the user's work from them.
    if (!FlushFileBuffers(file.get()) && GetLastError() != ERROR_INVALID_FUNCTION
        && GetLastError() != ERROR_NOT_SUPPORTED)
        return lastSystemError();
    return {};
}

class WindowsReplacement final : public FileReplacement {
public:
    WindowsReplacement(Handle file, std::wstring unfinished, std::wstring target, DWORD attributes)
        : m_file(std::move(file)), m_unfinished(std::move(unfinished)), m_target(std::move(target)),
          m_attributes(attributes)
    {
    }
    ~WindowsReplacement() override
    {
        m_file.reset();
        if (!m_unfinished.empty())
            DeleteFileW(m_unfinished.c_str());
    }

    std::error_code write(std::string_view bytes) override
    {
        while (!bytes.empty()) {
            DWORD written = 0;
            const auto count =
                static_cast<DWORD>(std::min<std::size_t>(bytes.size(), std::numeric_limits<DWORD>::max()));
            if (!WriteFile(m_file.get(), bytes.data(), count, &written, nullptr))
                return lastSystemError();
            bytes.remove_prefix(written);
        }
        return {};
    }

    std::error_code commit() override
    {
        if (const std::error_code error = flush(m_file))
            return error;
        m_file.reset();
        SetFileAttributesW(m_unfinished.c_str(), m_attributes);
        // The first keeps what else belongs to the old file: rights, the day it was made. It needs an old file, and not
        // every file system can do it.
        constexpr DWORD evenIf = REPLACEFILE_IGNORE_MERGE_ERRORS | REPLACEFILE_IGNORE_ACL_ERRORS;
        constexpr DWORD wholly = MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH;
        if (!ReplaceFileW(m_target.c_str(), m_unfinished.c_str(), nullptr, evenIf, nullptr, nullptr)
            && !MoveFileExW(m_unfinished.c_str(), m_target.c_str(), wholly))
            return lastSystemError();
        m_unfinished.clear();
        return {};
    }

private:
    Handle m_file;
    std::wstring m_unfinished; ///< empty once it has the other's name
    std::wstring m_target;
    DWORD m_attributes;
};

} // namespace

std::error_code readWholeFile(const std::filesystem::path &file, std::string &bytes)
{
    const Handle handle = openFile(openableName(file.native()), GENERIC_READ);
    if (!handle)
        return lastSystemError();
    if (const std::error_code refusal = refusalOf(handle))
        return refusal;

    // One byte more than the file's size sees its end in the same read; a file that grows meanwhile is read on.
    LARGE_INTEGER size{};
    if (!GetFileSizeEx(handle.get(), &size))
        return lastSystemError();
    std::size_t filled = 0;
    bytes.resize(static_cast<std::size_t>(size.QuadPart) + 1);
    for (;;) {
        DWORD count = 0;
        const auto room =
            static_cast<DWORD>(std::min<std::size_t>(bytes.size() - filled, std::numeric_limits<DWORD>::max()));
        if (!ReadFile(handle.get(), bytes.data() + filled, room, &count, nullptr))
            return lastSystemError();
        filled += count;
        if (count == 0)
            break;
        if (filled == bytes.size())
            bytes.resize(2 * filled);
    }
    bytes.resize(filled);
    return {};
}

std::unique_ptr<FileReplacement> FileReplacement::create(const std::filesystem::path &file, std::error_code &error)
{
    const auto refused = [&error](const std::error_code &reason) {
        error = reason;
        return nullptr;
    };
    constexpr std::size_t longestName = 255; // the system calls a longer one invalid
    if (file.filename().native().size() > longestName)
        return refused(std::make_error_code(std::errc::filename_too_long));
    // Asks for all that replacing takes, so that a file that is protected, or held by another program, is refused now.
    std::wstring target = openableName(file.native());
    DWORD attributes = FILE_ATTRIBUTE_NORMAL;
    if (const Handle old = openFile(target, GENERIC_WRITE | DELETE)) {
        if (const std::error_code refusal = refusalOf(old))
            return refused(refusal);
        attributes = GetFileAttributesW(target.c_str());
        if (attributes & FILE_ATTRIBUTE_READONLY)
            return refused(std::make_error_code(std::errc::permission_denied));
        target = nameBehindLinks(old, target);
    } else if (GetLastError() != ERROR_FILE_NOT_FOUND) {
        return refused(lastSystemError());
    }

    // The name beside the file is short, since the file's own may already be as long as names can be.
    constexpr int nameAttempts = 1000;
    const std::wstring folder = target.substr(0, target.find_last_of(LR"(\/)") + 1);
    for (int attempt = 0; attempt < nameAttempts; ++attempt) {
        const std::wstring unfinished =
            folder + L".tavrin-" + std::to_wstring(GetCurrentProcessId()) + L'-' + std::to_wstring(attempt);
        const std::wstring name = openableName(unfinished);
        Handle made(CreateFileW(name.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr));
        if (made)
            return std::make_unique<WindowsReplacement>(std::move(made), name, std::move(target), attributes);
        if (GetLastError() != ERROR_FILE_EXISTS)
            break;
    }
    return refused(lastSystemError());
}

std::optional<FileState> stateOfFile(const std::filesystem::path &file)
{
    const Handle handle = openFile(openableName(file.native()), FILE_READ_ATTRIBUTES);
    BY_HANDLE_FILE_INFORMATION facts{};
    if (!handle || refusalOf(handle) || !GetFileInformationByHandle(handle.get(), &facts))
        return std::nullopt;
    const auto whole = [](DWORD high, DWORD low) { return static_cast<std::uint64_t>(high) << 32U | low; };
    const FILETIME &changed = facts.ftLastWriteTime;
    return FileState{static_cast<std::int64_t>(whole(changed.dwHighDateTime, changed.dwLowDateTime)),
                     whole(facts.nFileSizeHigh, facts.nFileSizeLow)};
}

std::error_code flushFile(const std::filesystem::path &file)
{
    const Handle handle = openFile(openableName(file.native()), GENERIC_WRITE);
    return handle ? flush(handle) : lastSystemError();
}
