#include "reader/starter_watch.h"

#include "platform/process.h"
#include "platform/shared_objects.h"

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <memory>
#include <thread>

Interrupted watchStarter()
{
    const auto hasEnded = std::make_shared<std::atomic_bool>(StartingProcess::hasEnded());
    std::thread([hasEnded] {
        while (!StartingProcess::hasEnded())
            StartingProcess::waitForEnd(std::chrono::hours(1));
        *hasEnded = true;
        constexpr auto patience = std::chrono::seconds(2);
        std::this_thread::sleep_for(patience);
        removeSharedNames();
        std::_Exit(EXIT_FAILURE);
    }).detach();
    return [hasEnded] { return hasEnded->load(std::memory_order_relaxed); };
}
