// host_program ARGUMENT ...: under Wine, runs the program of the machine around it that is called like this executable
// without ".exe": its arguments, output and exit code are that program's. It has no input. Paths on drive Z: are the
// machine's own.

#include "platform/windows/wide_text.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>

#include <windows.h>

#include <fcntl.h>
#include <io.h>
#include <shellapi.h>

namespace {

/// Words that the machine's shell takes as one argument each.
std::string quoted(std::string word)
{
    if (word.starts_with("Z:")) {
        word.erase(0, 2);
        std::replace(word.begin(), word.end(), '\\', '/');
    }
    std::string result = "'";
    for (const char character : word)
        result += character == '\'' ? std::string("'\\''") : std::string(1, character);
    return result + "'";
}

/// Copies a file to an open one of the C library.
void pour(const std::filesystem::path &from, std::FILE *to)
{
    std::ifstream file(from, std::ios::binary);
    const std::string all(std::istreambuf_iterator<char>(file), {});
    std::fwrite(all.data(), 1, all.size(), to);
}

} // namespace

int main()
{
    int count = 0;
    const std::unique_ptr<wchar_t *, decltype(&LocalFree)> arguments(CommandLineToArgvW(GetCommandLineW(), &count),
                                                                     &LocalFree);
    const auto argument = [&](int number) { return std::filesystem::path(arguments.get()[number]); };
    for (std::FILE *file : {stdout, stderr})
        _setmode(_fileno(file), _O_BINARY);
    const std::filesystem::path folder =
        std::filesystem::temp_directory_path() / ("host-" + std::to_string(GetCurrentProcessId()));
    std::filesystem::create_directory(folder);
    {
        std::ofstream script(folder / "script", std::ios::binary);
        script << "here=" << quoted(folder.string()) << "\ncd " << quoted(std::filesystem::current_path().string())
               << '\n'
               << quoted(argument(0).stem().string());
        for (int number = 1; number < count; ++number)
            script << ' ' << quoted(argument(number).string());
        script << R"( </dev/null >"$here/output" 2>"$here/error"
echo $? >"$here/ending"
mv "$here/ending" "$here/ended"
)";
    }

    // The system tells nothing of a process that is not one of its own.
    std::wstring command = L"sh " + wideText(quoted((folder / "script").string()));
    std::erase(command, L'\'');
    STARTUPINFOW start{};
    start.cb = sizeof start;
    PROCESS_INFORMATION started{};
    // Of some thousand processes Wine fails to start one.
    bool isStarted = false;
    for (int attempt = 0; attempt < 3 && !isStarted; ++attempt)
        isStarted = CreateProcessW(LR"(Z:\bin\sh)", command.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr,
                                   &start, &started);
    if (!isStarted)
        return EXIT_FAILURE;
    while (!std::filesystem::exists(folder / "ended"))
        Sleep(5);
    pour(folder / "output", stdout);
    pour(folder / "error", stderr);
    int ended = EXIT_FAILURE;
    std::ifstream(folder / "ended") >> ended;
    std::filesystem::remove_all(folder);
    return ended;
}
