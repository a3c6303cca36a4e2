#include "platform/posix/starting_channel.h"

#include <fcntl.h>
#include <sys/socket.h>

#include <array>
#include <cerrno>
#include <climits>

namespace {

std::string receivedLine(int descriptor)
{
    // The words were sent before this process was started, as one piece.
    std::array<char, PATH_MAX + startingGreeting.size() + 1> bytes;
    ssize_t count = -1;
    do {
        count = recv(descriptor, bytes.data(), bytes.size(), MSG_PEEK | MSG_DONTWAIT);
    } while (count < 0 && errno == EINTR);
    if (count <= 0)
        return {};
    const std::string_view words(bytes.data(), static_cast<std::size_t>(count));
    const auto end = words.find('\n');
    if (!words.starts_with(startingGreeting) || end == std::string_view::npos)
        return {};
    if (recv(descriptor, bytes.data(), end + 1, MSG_DONTWAIT) != static_cast<ssize_t>(end + 1))
        return {};
    return std::string(words.substr(startingGreeting.size(), end - startingGreeting.size()));
}

StartingChannel takeOver()
{
    int domain = 0;
    socklen_t size = sizeof domain;
    if (getsockopt(startingChannelDescriptor, SOL_SOCKET, SO_DOMAIN, &domain, &size) != 0 || domain != AF_UNIX)
        return {};
    std::string directory = receivedLine(startingChannelDescriptor);
    if (directory.empty())
        return {};
    fcntl(startingChannelDescriptor, F_SETFD, FD_CLOEXEC);
    return {startingChannelDescriptor, std::move(directory)};
}

} // namespace

const StartingChannel &startingChannel()
{
    static const StartingChannel channel = takeOver();
    return channel;
}
