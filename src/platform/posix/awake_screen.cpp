#include "platform/awake_screen.h"

#include <dbus/dbus.h>

#include <condition_variable>
#include <cstdlib>
#include <mutex>
#include <thread>
#include <utility>

namespace {

constexpr int longestAnswer = 5000; // milliseconds

struct Letting {
    void operator()(DBusMessage *message) const { dbus_message_unref(message); }
    void operator()(DBusConnection *bus) const
    {
        dbus_connection_close(bus);
        dbus_connection_unref(bus);
    }
};
using Message = std::unique_ptr<DBusMessage, Letting>;
using Bus = std::unique_ptr<DBusConnection, Letting>;

// The session bus that is there; the library's own search would start one.
std::string busAddress()
{
    if (const char *address = std::getenv("DBUS_SESSION_BUS_ADDRESS"))
        return address;
    const char *runtime = std::getenv("XDG_RUNTIME_DIR");
    if (runtime == nullptr)
        return {};
    char *escaped = dbus_address_escape_value(runtime);
    const std::string folder = escaped == nullptr ? "" : escaped;
    dbus_free(escaped);
    return folder.empty() ? folder : "unix:path=" + folder + "/bus";
}

Bus connect(const std::string &address)
{
    Bus bus(address.empty() ? nullptr : dbus_connection_open_private(address.c_str(), nullptr));
    if (!bus)
        return bus;
    dbus_connection_set_exit_on_disconnect(bus.get(), FALSE);
    if (dbus_bus_register(bus.get(), nullptr) == FALSE)
        bus.reset();
    return bus;
}

// The answer; null for an error and for silence.
Message call(DBusConnection *bus, const Message &message)
{
    return Message(dbus_connection_send_with_reply_and_block(bus, message.get(), longestAnswer, nullptr));
}

// What undoes an inhibition; null where there is none.
using Inhibition = Message;

Inhibition inhibitScreenSaver(DBusConnection *bus, const char *program, const char *reason)
{
    constexpr const char *service = "org.freedesktop.ScreenSaver";
    constexpr const char *object = "/org/freedesktop/ScreenSaver";
    const Message question(dbus_message_new_method_call(service, object, service, "Inhibit"));
    dbus_message_append_args(question.get(), DBUS_TYPE_STRING, &program, DBUS_TYPE_STRING, &reason, DBUS_TYPE_INVALID);
    const Message answer = call(bus, question);
    dbus_uint32_t cookie = 0;
    if (!answer || dbus_message_get_args(answer.get(), nullptr, DBUS_TYPE_UINT32, &cookie, DBUS_TYPE_INVALID) == FALSE)
        return nullptr;
    Inhibition undo(dbus_message_new_method_call(service, object, service, "UnInhibit"));
    dbus_message_append_args(undo.get(), DBUS_TYPE_UINT32, &cookie, DBUS_TYPE_INVALID);
    return undo;
}

void appendReason(DBusMessageIter &arguments, const char *reason)
{
    const char *key = "reason";
    DBusMessageIter options;
    DBusMessageIter option;
    DBusMessageIter value;
    dbus_message_iter_open_container(&arguments, DBUS_TYPE_ARRAY, "{sv}", &options);
    dbus_message_iter_open_container(&options, DBUS_TYPE_DICT_ENTRY, nullptr, &option);
    dbus_message_iter_append_basic(&option, DBUS_TYPE_STRING, &key);
    dbus_message_iter_open_container(&option, DBUS_TYPE_VARIANT, "s", &value);
    dbus_message_iter_append_basic(&value, DBUS_TYPE_STRING, &reason);
    dbus_message_iter_close_container(&option, &value);
    dbus_message_iter_close_container(&options, &option);
    dbus_message_iter_close_container(&arguments, &options);
}

Inhibition inhibitByPortal(DBusConnection *bus, const char *reason)
{
    constexpr const char *service = "org.freedesktop.portal.Desktop";
    const Message question(dbus_message_new_method_call(service, "/org/freedesktop/portal/desktop",
                                                        "org.freedesktop.portal.Inhibit", "Inhibit"));
    const char *noWindow = "";
    const dbus_uint32_t idling = 8;
    DBusMessageIter arguments;
    dbus_message_iter_init_append(question.get(), &arguments);
    dbus_message_iter_append_basic(&arguments, DBUS_TYPE_STRING, &noWindow);
    dbus_message_iter_append_basic(&arguments, DBUS_TYPE_UINT32, &idling);
    appendReason(arguments, reason);
    const Message answer = call(bus, question);
    const char *handle = nullptr;
    if (!answer
        || dbus_message_get_args(answer.get(), nullptr, DBUS_TYPE_OBJECT_PATH, &handle, DBUS_TYPE_INVALID) == FALSE)
        return nullptr;
    return Inhibition(dbus_message_new_method_call(service, handle, "org.freedesktop.portal.Request", "Close"));
}

// Shared with a thread that may outlive its owner: a bus can be slow to answer.
class Wish {
public:
    void end()
    {
        const std::lock_guard guard(m_access);
        m_over = true;
        m_change.notify_all();
    }

    void awaitEnd()
    {
        std::unique_lock lock(m_access);
        m_change.wait(lock, [this] { return m_over; });
    }

private:
    std::mutex m_access;
    std::condition_variable m_change;
    bool m_over = false;
};

// Most desktops take an inhibition back with its connection, not all.
void inhibitUntilEnd(Wish &wish, const std::string &address, const std::string &program, const std::string &reason)
{
    const Bus bus = connect(address);
    if (!bus)
        return;
    Inhibition undo = inhibitScreenSaver(bus.get(), program.c_str(), reason.c_str());
    if (!undo)
        undo = inhibitByPortal(bus.get(), reason.c_str());
    if (!undo)
        return;
    wish.awaitEnd();
    (void)call(bus.get(), undo);
}

class PosixAwakeScreen final : public AwakeScreen {
public:
    PosixAwakeScreen(std::string program, std::string reason)
    {
        std::thread([wish = m_wish, address = busAddress(), program = std::move(program), reason = std::move(reason)] {
            inhibitUntilEnd(*wish, address, program, reason);
        }).detach();
    }
    ~PosixAwakeScreen() override { m_wish->end(); }

private:
    std::shared_ptr<Wish> m_wish = std::make_shared<Wish>();
};

} // namespace

std::unique_ptr<AwakeScreen> AwakeScreen::hold(std::string program, std::string reason)
{
    return std::make_unique<PosixAwakeScreen>(std::move(program), std::move(reason));
}
