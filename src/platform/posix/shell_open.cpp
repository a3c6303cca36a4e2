#include "platform/shell_open.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <thread>

extern char **environ; // NOLINT: declared by POSIX, by no header

void shellOpen(const std::string &address)
{
    // An address is never an option of the handler; file paths are absolute and web addresses have a scheme.
    if (address.empty() || address.front() == '-')
        return;

    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);

    std::string program = "xdg-open";
    std::string argument = address;
    char *arguments[] = {program.data(), argument.data(), nullptr};
    pid_t child = 0;
    const int error = posix_spawnp(&child, program.c_str(), &actions, nullptr, arguments, environ);
    posix_spawn_file_actions_destroy(&actions);
    if (error != 0)
        return;
    // Somebody has to collect the handler's exit status; it may live as long as the browser it starts.
    std::thread([child] {
        while (waitpid(child, nullptr, 0) < 0 && errno == EINTR) {}
    }).detach();
}
