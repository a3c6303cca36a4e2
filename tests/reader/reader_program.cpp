// reader_program FILM INDEX ...: a program with a frame reader of its own. Reads the pictures again and again and
// prints for each the sum of its bytes, until it is killed or its input ends.

#include "scripted_client.h"

#include <poll.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <numeric>

namespace {

bool inputHasEnded()
{
    pollfd input{STDIN_FILENO, POLLIN, 0};
    return poll(&input, 1, 0) != 0;
}

} // namespace

int main(int count, char **arguments)
{
    ScriptedClient client;
    const auto film = count > 2 ? client.open(arguments[1]) : std::nullopt;
    if (!film)
        return EXIT_FAILURE;
    std::printf("%d\n", client.process());
    while (!inputHasEnded()) {
        for (int argument = 2; argument < count; ++argument) {
            if (!client.ask(std::string("read ") + arguments[argument]))
                return EXIT_FAILURE;
            const auto pixels = client.data();
            const auto sum = std::accumulate(pixels.begin(), pixels.end(), 0UL, [](unsigned long so_far, std::byte byte) {
                return so_far * 31 + std::to_integer<unsigned long>(byte);
            });
            std::printf("%s %lu\n", arguments[argument], sum);
        }
        std::fflush(stdout);
    }
    return EXIT_SUCCESS;
}
