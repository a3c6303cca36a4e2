#include "platform/process.h"

#include "platform/windows/handle.h"
#include "platform/windows/wide_text.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <mutex>
#include <optional>

#include <windows.h>

#include <shellapi.h>

// The starter tells the process its number and the names of two events in a variable of the environment, the only thing
// that gets through the shell beside the argument. One event says that the process is ready, the other that its starter
// has let go of it; the process watches the latter and the starter's own handle.

namespace {

constexpr const wchar_t *startingVariable = L"TAVRIN_STARTING";

std::wstring readyName(const std::wstring &start)
{
    return L"TAVRIN_READY_" + start;
}

std::wstring overName(const std::wstring &start)
{
    return L"TAVRIN_OVER_" + start;
}

bool isSignalled(const Handle &handle)
{
    return WaitForSingleObject(handle.get(), 0) == WAIT_OBJECT_0;
}

DWORD longest(std::chrono::milliseconds patience)
{
    constexpr std::chrono::milliseconds most(INFINITE - 1);
    return static_cast<DWORD>(std::clamp(patience, std::chrono::milliseconds(0), most).count());
}

class WindowsProcess final : public HiddenProcess {
public:
    WindowsProcess(Handle process, Handle over) : m_process(std::move(process)), m_over(std::move(over)) {}
    ~WindowsProcess() override { SetEvent(m_over.get()); }

    [[nodiscard]] bool ended() const override { return isSignalled(m_process); }

    void waitUntilReady(const Handle &ready, std::chrono::milliseconds patience) const
    {
        const std::array<HANDLE, 2> either{m_process.get(), ready.get()};
        WaitForMultipleObjects(either.size(), either.data(), FALSE, longest(patience));
    }

private:
    Handle m_process;
    Handle m_over;
};

/// As the started process takes it for one argument, whatever is in it.
std::wstring quoted(const std::wstring &argument)
{
    std::wstring word = L"\"";
    std::size_t backslashes = 0; // before a quote, and there alone, they count
    for (const wchar_t character : argument) {
        if (character == L'"')
            word.append(backslashes + 1, L'\\');
        backslashes = character == L'\\' ? backslashes + 1 : 0;
        word += character;
    }
    return word.append(backslashes, L'\\') + L'"';
}

/// Sets the variable that the started process reads, for as long as the object lives; one at a time.
class StartingVariable {
public:
    StartingVariable() : m_lock(s_mutex)
    {
        m_value = std::to_wstring(GetCurrentProcessId()) + L'_' + std::to_wstring(++s_count);
        SetEnvironmentVariableW(startingVariable, m_value.c_str());
    }
    ~StartingVariable() { SetEnvironmentVariableW(startingVariable, nullptr); }
    StartingVariable(const StartingVariable &) = delete;
    StartingVariable &operator=(const StartingVariable &) = delete;

    [[nodiscard]] const std::wstring &value() const { return m_value; }

private:
    static inline std::mutex s_mutex;
    static inline unsigned s_count = 0;
    std::lock_guard<std::mutex> m_lock;
    std::wstring m_value;
};

/// What this process knows of its starter; without handles if nobody started it so.
struct Starter {
    Handle ready;
    Handle over;
    Handle process;
};

Starter findStarter()
{
    std::array<wchar_t, 64> value{};
    const DWORD size = GetEnvironmentVariableW(startingVariable, value.data(), value.size());
    SetEnvironmentVariableW(startingVariable, nullptr); // what this process starts is not started by its starter
    if (size == 0 || size >= value.size())
        return {};
    const std::wstring start(value.data(), size);
    Starter starter;
    starter.ready = Handle(OpenEventW(EVENT_MODIFY_STATE, FALSE, readyName(start).c_str()));
    starter.over = Handle(OpenEventW(SYNCHRONIZE, FALSE, overName(start).c_str()));
    // The starter keeps this event while it lives: that it was there shows that the number is still the starter's.
    if (starter.over)
        starter.process = Handle(OpenProcess(SYNCHRONIZE, FALSE, std::wcstoul(start.c_str(), nullptr, 10)));
    return starter;
}

const Starter &starter()
{
    static const Starter found = findStarter();
    return found;
}

} // namespace

std::unique_ptr<HiddenProcess> startHiddenProcess(const std::string &path, const std::string &argument,
                                                  std::chrono::milliseconds patience)
{
    const StartingVariable starting;
    const Handle ready(CreateEventW(nullptr, TRUE, FALSE, readyName(starting.value()).c_str()));
    Handle over(CreateEventW(nullptr, TRUE, FALSE, overName(starting.value()).c_str()));
    if (!ready || !over)
        return nullptr;

    const std::wstring program = std::filesystem::path(wideText(path)).make_preferred(); // as the shell takes it
    const std::wstring parameters = quoted(wideText(argument));
    SHELLEXECUTEINFOW start{};
    start.cbSize = sizeof start;
    // No box of the shell's own: neither about an error nor about a program that came from the network.
    start.fMask = SEE_MASK_NOCLOSEPROCESS | SEE_MASK_NOASYNC | SEE_MASK_FLAG_NO_UI | SEE_MASK_NOZONECHECKS;
    start.lpVerb = L"open";
    start.lpFile = program.c_str();
    start.lpParameters = parameters.c_str();
    start.nShow = SW_HIDE;
    if (!ShellExecuteExW(&start) || start.hProcess == nullptr)
        return nullptr;
    auto started = std::make_unique<WindowsProcess>(Handle(start.hProcess), std::move(over));
    started->waitUntilReady(ready, patience);
    return started;
}

void StartingProcess::tellReady()
{
    if (starter().ready)
        SetEvent(starter().ready.get());
}

bool StartingProcess::hasEnded()
{
    return !starter().process || isSignalled(starter().process) || isSignalled(starter().over);
}

void StartingProcess::waitForEnd(std::chrono::milliseconds patience)
{
    if (!starter().process)
        return;
    const std::array<HANDLE, 2> either{starter().process.get(), starter().over.get()};
    WaitForMultipleObjects(either.size(), either.data(), FALSE, longest(patience));
}
