#include "platform/clipboard.h"

#include <poll.h>
#include <xcb/xcb.h>

#include <chrono>
#include <cstdlib>
#include <memory>
#include <string_view>

namespace {

using Clock = std::chrono::steady_clock;

struct Freed {
    void operator()(void *memory) const { std::free(memory); }
    void operator()(xcb_connection_t *connection) const { xcb_disconnect(connection); }
};

template <typename Reply>
using Owned = std::unique_ptr<Reply, Freed>;

xcb_atom_t atomNamed(xcb_connection_t *connection, std::string_view name)
{
    const auto asked = xcb_intern_atom(connection, 0, static_cast<std::uint16_t>(name.size()), name.data());
    const Owned<xcb_intern_atom_reply_t> reply(xcb_intern_atom_reply(connection, asked, nullptr));
    return reply ? reply->atom : static_cast<xcb_atom_t>(XCB_ATOM_NONE);
}

/// Waits for the owner's answer to a conversion that was asked for.
bool isAnswered(xcb_connection_t *connection, Clock::time_point deadline)
{
    for (;;) {
        while (const Owned<xcb_generic_event_t> event{xcb_poll_for_event(connection)}) {
            constexpr int sentByAProgram = 0x80;
            if ((event->response_type & ~sentByAProgram) == XCB_SELECTION_NOTIFY)
                return true;
        }
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now()).count();
        pollfd ready{xcb_get_file_descriptor(connection), POLLIN, 0};
        if (left <= 0 || poll(&ready, 1, static_cast<int>(left)) == 0)
            return false;
        if (xcb_connection_has_error(connection) != 0)
            return true;
    }
}

} // namespace

bool clipboardAnswers()
{
    // A connection of its own: what comes here is nobody else's.
    const Owned<xcb_connection_t> connection(xcb_connect(nullptr, nullptr));
    if (xcb_connection_has_error(connection.get()) != 0)
        return true;
    const xcb_atom_t clipboard = atomNamed(connection.get(), "CLIPBOARD");
    const xcb_atom_t targets = atomNamed(connection.get(), "TARGETS");
    const Owned<xcb_get_selection_owner_reply_t> owner(
        xcb_get_selection_owner_reply(connection.get(), xcb_get_selection_owner(connection.get(), clipboard), nullptr));
    if (!owner || owner->owner == XCB_WINDOW_NONE)
        return true;

    const xcb_screen_t *screen = xcb_setup_roots_iterator(xcb_get_setup(connection.get())).data;
    const xcb_window_t asking = xcb_generate_id(connection.get());
    xcb_create_window(connection.get(), XCB_COPY_FROM_PARENT, asking, screen->root, 0, 0, 1, 1, 0,
                      XCB_WINDOW_CLASS_INPUT_ONLY, XCB_COPY_FROM_PARENT, 0, nullptr);
    xcb_convert_selection(connection.get(), asking, clipboard, targets, targets, XCB_CURRENT_TIME);
    xcb_flush(connection.get());
    return isAnswered(connection.get(), Clock::now() + std::chrono::seconds(1));
}
