#pragma once

#include "player/mpv/mpv_handle.h"

#include <QByteArray>
#include <QObject>

#include <atomic>
#include <cstdint>
#include <functional>
#include <initializer_list>
#include <optional>

/// A running player core: its options, properties, commands and events.
class MpvCore : public QObject {
    Q_OBJECT

public:
    /// Starts a core that plays nothing yet. `isValid` tells whether it runs and does all that exact pictures need.
    MpvCore();
    ~MpvCore() override;

    [[nodiscard]] bool isValid() const { return m_handle != nullptr; }
    [[nodiscard]] mpv_handle *handle() const { return m_handle.get(); }

    /// A property's value, or nothing where it has none now.
    [[nodiscard]] std::optional<double> number(const char *property) const;
    /// False where the property has no value now.
    [[nodiscard]] bool flag(const char *property) const;
    /// Empty where the property has no value now.
    [[nodiscard]] QByteArray string(const char *property) const;

    // These tell whether the core has taken it.
    bool setFlag(const char *property, bool value);
    bool setNumber(const char *property, double value);
    bool setString(const char *property, const char *value);
    bool command(std::initializer_list<const char *> words);

    /// Ends the film; returns once nothing reads from its file any more. For any thread.
    void closeFilm();

    /// Does not wait for what comes of it.
    void startCommand(const char *word);

    /// Each change of the property becomes an event with this mark.
    void observe(std::uint64_t mark, const char *property, mpv_format format);

    /// Waits for one event; MPV_EVENT_NONE when none has come in time. For the time before `handleEvents`.
    [[nodiscard]] const mpv_event &waitForEvent(double seconds);

    /// From now on events go to `handler`, from this thread's event loop and from `drain`.
    void handleEvents(std::function<void(const mpv_event &)> handler);

    /// Hands over what has come, without waiting for the event loop; later if a wait for the disk is under way.
    void drain();

private:
    [[nodiscard]] bool start();
    static void onWakeup(void *core);

    MpvHandle m_handle;
    std::function<void(const mpv_event &)> m_handler;
    std::atomic_bool m_drainQueued = false;
};
