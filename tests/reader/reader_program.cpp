// reader_program FILM INDEX ...: a program with a frame reader of its own. Prints the reader's process number and the
// directory of their objects, then reads the pictures again and again and prints for each the sum of its bytes, until
// it is killed or its input ends.

#include "scripted_client.h"

#include "platform/posix/object_directory.h"

#include <poll.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>

int main(int count, char **arguments)
{
    ScriptedClient client;
    const ObjectDirectory *directory = ObjectDirectory::ofThisProgram();
    std::printf("%d %s\n", client.process(), directory == nullptr ? "none" : directory->path().c_str());
    if (count < 3 || !client.isReady() || !client.open(arguments[1]))
        return EXIT_FAILURE;
    for (pollfd input{STDIN_FILENO, POLLIN, 0}; poll(&input, 1, 0) == 0; std::fflush(stdout)) {
        for (int argument = 2; argument < count; ++argument) {
            if (!client.ask(std::string("read ") + arguments[argument]))
                return EXIT_FAILURE;
            unsigned long sum = 0;
            for (const std::byte byte : client.data())
                sum = sum * 31 + std::to_integer<unsigned char>(byte);
            std::printf("%s %lu\n", arguments[argument], sum);
        }
    }
    return EXIT_SUCCESS;
}
