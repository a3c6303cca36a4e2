// FrameReader SHARE-NAME: decodes films for the program that started it, until that program ends.

#include "platform/process.h"
#include "reader/frame_server.h"
#include "reader/starter_watch.h"

#include <cstdlib>

int main(int count, char **arguments)
{
    if (count != 2 || StartingProcess::hasEnded())
        return EXIT_FAILURE;
    av_log_set_level(AV_LOG_QUIET);
    const auto server = FrameServer::create(arguments[1], watchStarter());
    if (!server)
        return EXIT_FAILURE;
    StartingProcess::tellReady();
    server->run();
    return EXIT_SUCCESS;
}
