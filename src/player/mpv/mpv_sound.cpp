#include "player/mpv/mpv_sound.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <utility>

namespace {

/// How soon after a start it is looked whether the core has started; twice as long each time it has not. A demuxer
/// that has come to the film's end now and then reads nothing for the sound that is selected again, and the core
/// waits for it forever.
constexpr auto firstStartCheck = std::chrono::milliseconds(300);

/// How soon after a sound server has gone it is looked for; twice as long each time it is not there. The sound that the
/// core plays to nowhere meanwhile, and the film with it, stop for a moment each time.
constexpr auto firstDeviceSearch = std::chrono::seconds(1);
constexpr auto rarestDeviceSearch = std::chrono::seconds(16);

/// The one device whose mixer sets the amplitude itself; those of the others, like the core's own, set its cube root.
constexpr const char *linearDevice = "wasapi";

constexpr double full = 0xFFFF;
constexpr double curve = 3.0;

} // namespace

MpvSound::MpvSound(MpvCore &core) : m_core(core)
{
    m_startCheck.setSingleShot(true);
    connect(&m_startCheck, &QTimer::timeout, this, &MpvSound::checkStart);
    m_deviceSearch.setSingleShot(true);
    connect(&m_deviceSearch, &QTimer::timeout, this, &MpvSound::searchDevice);
}

std::uint16_t MpvSound::level()
{
    const std::optional<double> percent = m_levelApplied ? m_core.number("ao-volume") : std::nullopt;
    if (percent) {
        const double level = std::pow(*percent / 100.0, deviceIsLinear() ? 1.0 : curve) * full;
        m_level = static_cast<std::uint16_t>(std::clamp(std::round(level), 0.0, full));
    }
    return m_level;
}

void MpvSound::setLevel(std::uint16_t level)
{
    m_level = level;
    const double linear = level / full * 100.0;
    const double rooted = std::pow(level / full, 1.0 / curve) * 100.0;
    // One of the two mixers sets the level and the other one stays open.
    m_levelApplied = m_core.setNumber("ao-volume", deviceIsLinear() ? linear : rooted);
    m_core.setNumber("volume", m_levelApplied ? 100.0 : rooted);
}

bool MpvSound::deviceIsLinear() const
{
    return m_core.string("current-ao") == linearDevice;
}

void MpvSound::deviceChanged()
{
    applyLevel();
    checkDevice();
}

void MpvSound::checkDevice()
{
    const QByteArray device = m_core.string("current-ao");
    if (device == "null") {
        if (m_hadDevice && !m_deviceSearch.isActive())
            m_deviceSearch.start(firstDeviceSearch);
    } else if (!device.isEmpty()) {
        m_hadDevice = true;
        m_deviceSearch.stop();
    }
}

void MpvSound::searchDevice()
{
    // What is under way goes first: the core tells of the end of either in the same way.
    if (!m_core.flag("seeking"))
        m_core.startCommand("ao-reload");
    m_deviceSearch.start(
        std::min<std::chrono::milliseconds>(2 * m_deviceSearch.intervalAsDuration(), rarestDeviceSearch));
}

void MpvSound::silence()
{
    if (m_silent)
        return;
    // Somebody may have set the stream's level outside; the next stream takes it over.
    (void)level();
    m_silent = m_core.setString("aid", "no");
    m_levelApplied = false;
}

void MpvSound::wake()
{
    if (std::exchange(m_silent, false))
        m_core.setString("aid", "auto");
    m_startedAt = m_core.number("time-pos");
    m_startCheck.start(firstStartCheck);
    checkDevice();
}

void MpvSound::checkStart()
{
    const bool started =
        m_core.number("audio-pts") || m_core.number("time-pos") != m_startedAt || m_core.flag("eof-reached");
    if (started)
        return;
    m_core.setString("aid", "no");
    m_core.setString("aid", "auto");
    m_startCheck.start(2 * m_startCheck.intervalAsDuration());
}
