#include "platform/process.h"

#include "platform/posix/descriptor.h"
#include "platform/posix/object_directory.h"
#include "platform/posix/starting_channel.h"

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <climits>
#include <csignal>
#include <thread>

extern char **environ; // NOLINT: declared by POSIX, by no header

namespace {

class PosixProcess final : public HiddenProcess {
public:
    PosixProcess(pid_t process, Descriptor channel) : m_channel(std::move(channel))
    {
        // Somebody has to collect the exit status, whenever the process ends.
        std::thread([process, hasEnded = m_ended] {
            while (waitpid(process, nullptr, 0) < 0 && errno == EINTR) {}
            *hasEnded = true;
        }).detach();
    }

    [[nodiscard]] bool ended() const override { return *m_ended; }

    void waitUntilReady(std::chrono::milliseconds patience) const
    {
        pollfd channel{m_channel.get(), POLLIN, 0};
        const auto deadline = std::chrono::steady_clock::now() + patience;
        for (auto left = patience; left.count() >= 0;) {
            if (poll(&channel, 1, static_cast<int>(left.count())) >= 0 || errno != EINTR)
                return;
            left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
        }
    }

private:
    std::shared_ptr<std::atomic_bool> m_ended = std::make_shared<std::atomic_bool>(false);
    Descriptor m_channel;
};

class SpawnActions {
public:
    SpawnActions() { posix_spawn_file_actions_init(&m_actions); }
    ~SpawnActions() { posix_spawn_file_actions_destroy(&m_actions); }
    SpawnActions(const SpawnActions &) = delete;
    SpawnActions &operator=(const SpawnActions &) = delete;
    posix_spawn_file_actions_t *operator&() { return &m_actions; }

private:
    posix_spawn_file_actions_t m_actions;
};

class SpawnAttributes {
public:
    SpawnAttributes() { posix_spawnattr_init(&m_attributes); }
    ~SpawnAttributes() { posix_spawnattr_destroy(&m_attributes); }
    SpawnAttributes(const SpawnAttributes &) = delete;
    SpawnAttributes &operator=(const SpawnAttributes &) = delete;
    posix_spawnattr_t *operator&() { return &m_attributes; }

private:
    posix_spawnattr_t m_attributes;
};

} // namespace

std::unique_ptr<HiddenProcess> startHiddenProcess(const std::string &path, const std::string &argument,
                                                  std::chrono::milliseconds patience)
{
    if (access(path.c_str(), X_OK) != 0)
        return nullptr;
    const ObjectDirectory *directory = ObjectDirectory::ofThisProgram();
    if (directory == nullptr)
        return nullptr;

    int ends[2];
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0)
        return nullptr;
    Descriptor ours(ends[0]);
    Descriptor theirs(ends[1]);
    const std::string greeting = std::string(startingGreeting) + directory->path() + '\n';
    if (send(ours.get(), greeting.data(), greeting.size(), MSG_NOSIGNAL) != static_cast<ssize_t>(greeting.size()))
        return nullptr;

    SpawnActions actions;
    // The channel first: its place may be one of those that the others are opened at, or the end that is ours.
    posix_spawn_file_actions_adddup2(&actions, theirs.get(), startingChannelDescriptor);
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
    posix_spawn_file_actions_addclosefrom_np(&actions, startingChannelDescriptor + 1);

    // A process of its own session gets no signal from the terminal; what this process ignores or blocks is not
    // its business.
    SpawnAttributes attributes;
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSID | POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
    sigset_t signals;
    sigemptyset(&signals);
    posix_spawnattr_setsigmask(&attributes, &signals);
    sigfillset(&signals);
    posix_spawnattr_setsigdefault(&attributes, &signals);

    std::string program = path;
    std::string onlyArgument = argument;
    char *const arguments[] = {program.data(), onlyArgument.data(), nullptr};
    pid_t process = 0;
    if (posix_spawn(&process, path.c_str(), &actions, &attributes, arguments, environ) != 0)
        return nullptr;
    auto started = std::make_unique<PosixProcess>(process, std::move(ours));
    theirs.reset(); // else the channel would not end with the process
    started->waitUntilReady(patience);
    return started;
}

void StartingProcess::tellReady()
{
    const char ready = '\n';
    // Where nobody listens any more, the end of the starter is seen by the other two functions.
    (void)send(startingChannel().descriptor, &ready, 1, MSG_NOSIGNAL | MSG_DONTWAIT);
}

bool StartingProcess::hasEnded()
{
    const int descriptor = startingChannel().descriptor;
    if (descriptor < 0)
        return true;
    char byte = 0;
    const ssize_t count = recv(descriptor, &byte, 1, MSG_PEEK | MSG_DONTWAIT);
    return count == 0 || (count < 0 && errno != EAGAIN && errno != EWOULDBLOCK && errno != EINTR);
}

void StartingProcess::waitForEnd(std::chrono::milliseconds patience)
{
    if (hasEnded())
        return;
    pollfd channel{startingChannel().descriptor, POLLRDHUP, 0};
    const auto longest = std::min(patience, std::chrono::milliseconds(INT_MAX));
    (void)poll(&channel, 1, static_cast<int>(longest.count()));
}
