#pragma once

#include "platform/windows/handle.h"

#include <QString>

#include <cstdlib>
#include <thread>

#include <windows.h>

#include <tlhelp32.h>

/// A process that this one has started, by the name of its executable: what others may do to it.
class StartedProcess {
public:
    explicit StartedProcess(const QString &name)
    {
        const Handle all(CreateToolhelp32Snapshot(TH32CS_SNAPPROCESS, 0));
        PROCESSENTRY32W entry{};
        entry.dwSize = sizeof entry;
        for (BOOL more = Process32FirstW(all.get(), &entry); more && !m_process;
             more = Process32NextW(all.get(), &entry)) {
            if (QString::fromWCharArray(entry.szExeFile) == name + ".exe")
                m_process = Handle(OpenProcess(PROCESS_ALL_ACCESS, FALSE, entry.th32ProcessID));
        }
    }
    [[nodiscard]] bool isFound() const { return static_cast<bool>(m_process); }
    void kill() const { TerminateProcess(m_process.get(), EXIT_FAILURE); }
    void stopForTenSeconds() const
    {
        call("NtSuspendProcess");
        std::thread([this] {
            Sleep(10'000);
            call("NtResumeProcess");
        }).detach();
    }

private:
    void call(const char *function) const
    {
        using Function = LONG(WINAPI *)(HANDLE);
        const auto address = GetProcAddress(GetModuleHandleW(L"ntdll"), function);
        reinterpret_cast<Function>(reinterpret_cast<void *>(address))(m_process.get());
    }

    Handle m_process;
};
