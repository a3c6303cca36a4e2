#pragma once

#include "player/mpv/mpv_core.h"

#include <QTimer>

#include <cstdint>
#include <optional>

/// A core's sound: its level, and whether its track is selected. While pictures are searched none is, since past the
/// last picture the core tells the time of the sound; playing brings it back.
class MpvSound : public QObject {
    Q_OBJECT

public:
    /// Of `core`, which must outlive this.
    explicit MpvSound(MpvCore &core);

    /// The level (0 to 0xFFFF) of this program's stream in the sound server, which others may change there; while
    /// there is no stream, the level that the next one gets. Half the level is half the amplitude, whatever device
    /// plays.
    [[nodiscard]] std::uint16_t level();

    /// Sets the level of the stream, or of the core's own mixer until there is a stream.
    void setLevel(std::uint16_t level);

    /// To be called when a stream may have appeared.
    void applyLevel() { setLevel(m_level); }

    /// To be called when the core's sound device has changed. Where the sound server has gone, it is looked for again
    /// from time to time.
    void deviceChanged();

    /// No track is selected: the times that the core tells are those of pictures.
    [[nodiscard]] bool isSilent() const { return m_silent; }
    void silence();

    /// Selects the track again and sees to it that the core, which is told to run next, starts.
    void wake();

    /// The core does not run any more.
    void rest()
    {
        m_startCheck.stop();
        m_deviceSearch.stop();
    }

private:
    [[nodiscard]] bool deviceIsLinear() const;
    void checkStart();
    void checkDevice();
    void searchDevice();

    MpvCore &m_core;
    std::uint16_t m_level = 0xFFFF;
    bool m_levelApplied = false; ///< the stream has taken it
    bool m_silent = false;
    std::optional<double> m_startedAt; ///< the core's time when it was told to run, seconds
    QTimer m_startCheck;
    bool m_hadDevice = false; ///< there was a stream that is heard
    QTimer m_deviceSearch;
};
