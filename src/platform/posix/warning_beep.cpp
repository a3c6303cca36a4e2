#include "platform/warning_beep.h"

#include <canberra.h>

#include <chrono>
#include <future>
#include <memory>
#include <thread>

namespace {

void playWarning()
{
    ca_context *context = nullptr;
    if (ca_context_create(&context) != CA_SUCCESS)
        return;
    ca_proplist *properties = nullptr;
    ca_proplist_create(&properties);
    ca_proplist_sets(properties, CA_PROP_EVENT_ID, "dialog-warning");
    ca_proplist_sets(properties, CA_PROP_EVENT_DESCRIPTION, "Таврин");

    // The context has to outlive its sound; the bound is for a sound server that never reports the end.
    const auto finished = std::make_shared<std::promise<void>>();
    constexpr auto longestSound = std::chrono::seconds(10);
    const auto onFinished = [](ca_context *, uint32_t, int, void *data) {
        static_cast<std::promise<void> *>(data)->set_value();
    };
    if (ca_context_play_full(context, 0, properties, onFinished, finished.get()) == CA_SUCCESS)
        finished->get_future().wait_for(longestSound);
    ca_proplist_destroy(properties);
    ca_context_destroy(context);
}

} // namespace

void warningBeep()
{
    // Connecting to a sound server may block, and the window must not wait for it.
    std::thread(playWarning).detach();
}
