// platform_peer FILE: what the tests start as a hidden process. Holds the mutex "life" and the block "block", whose
// first bytes are its process number, until its starter ends; writes what it found on starting to FILE, if that is
// an absolute path.
// platform_peer program PEER FILE: a program that starts such a process, prints its own object directory and
// whether both objects are there, and then waits to be killed, or ends when its input does.

#include "platform/posix/object_directory.h"
#include "platform/process.h"
#include "platform/shared_objects.h"

#include <dirent.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <string>
#include <string_view>

namespace {

constexpr std::size_t blockSize = 100;

std::string openDescriptors()
{
    std::string numbers;
    DIR *stream = opendir("/proc/self/fd");
    while (const dirent *entry = readdir(stream)) {
        const std::string name = entry->d_name;
        if (name.front() != '.' && name != std::to_string(dirfd(stream)))
            numbers += name + ' ';
    }
    closedir(stream);
    return numbers;
}

int hidden(const std::string &file)
{
    const std::string descriptors = openDescriptors();
    const auto life = LivenessMutex::create("life");
    const auto block = SharedMemory::create("block", blockSize);
    if (!life || !block)
        return EXIT_FAILURE;
    std::strcpy(reinterpret_cast<char *>(block->data()), std::to_string(getpid()).c_str());
    if (file.front() == '/') {
        std::ofstream found(file);
        found << "descriptors " << descriptors << "\nleader " << (getsid(0) == getpid()) << '\n';
    }
    StartingProcess::tellReady();
    while (!StartingProcess::hasEnded())
        StartingProcess::waitForEnd(std::chrono::hours(1));
    return EXIT_SUCCESS;
}

int program(const std::string &peer, const std::string &file)
{
    const auto started = startHiddenProcess(peer, file);
    const ObjectDirectory *directory = ObjectDirectory::ofThisProgram();
    const bool present = LivenessMutex::exists("life") && SharedMemory::open("block", blockSize) != nullptr;
    std::printf("%s\n%s\n", directory == nullptr ? "none" : directory->path().c_str(),
                started && present ? "present" : "absent");
    std::fflush(stdout);
    while (std::getchar() != EOF) {
    }
    return EXIT_SUCCESS;
}

} // namespace

int main(int count, char **arguments)
{
    if (count == 4 && arguments[1] == std::string_view("program"))
        return program(arguments[2], arguments[3]);
    return count == 2 ? hidden(arguments[1]) : EXIT_FAILURE;
}
