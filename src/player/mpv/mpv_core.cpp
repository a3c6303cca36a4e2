#include "player/mpv/mpv_core.h"

#include "widgets/disk_wait.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <thread>
#include <utility>
#include <vector>

namespace {

struct CoreOption {
    const char *name;
    const char *value;
};

/// Without each of these pictures would not be exact, or more than the film would be opened: a core that does not know
/// one is not used.
constexpr std::array<CoreOption, 11> neededOptions{{
    {"config", "no"},
    {"vo", "libmpv"},
    {"hwdec", "no"},
    {"pause", "yes"},
    {"idle", "yes"},
    {"hr-seek", "yes"},
    // A file stays open at its end.
    {"keep-open", "always"},
    {"keep-open-pause", "no"},
    // The core reads the file itself; what a format would open by name, it asks a protocol for.
    {"access-references", "no"},
    {"load-unsafe-playlists", "no"},
    // The core by itself plays what an edit list leaves out.
    {"demuxer-lavf-o", "protocol_whitelist=none,advanced_editlist=1"},
}};

/// A build that does not know one of these is a build without what it switches off, or one that does without.
constexpr std::array<CoreOption, 25> wishedOptions{{
    // Nothing of the user's own player set-up, and nothing written.
    {"load-scripts", "no"},
    {"ytdl", "no"},
    {"osc", "no"},
    {"osd-level", "0"},
    {"terminal", "no"},
    {"input-default-bindings", "no"},
    {"input-vo-keyboard", "no"},
    {"save-position-on-quit", "no"},
    {"resume-playback", "no"},
    // The file itself and nothing beside it.
    {"ordered-chapters", "no"},
    {"sub-auto", "no"},
    {"audio-file-auto", "no"},
    {"cover-art-auto", "no"},
    {"audio-display", "no"},
    {"sid", "no"},
    {"cache", "no"},
    // Without it a seek that meets the selection of the sound loses its first packet, which is a key picture's.
    {"demuxer-seekable-cache", "yes"},
    {"demuxer-max-back-bytes", "0"},
    // What is transparent lies on black, whichever way it is drawn.
    {"alpha", "blend"},
    // Sound at every speed of the track bar: without a named filter there is none beyond 0.25 to 8, and scaletempo2
    // up to libmpv 0.36 writes past its buffer where a single channel's sound ends.
    {"af", "scaletempo"},
    // A clock where there is no sound device.
    {"audio-fallback-to-null", "yes"},
    {"ao", "pulse,pipewire,alsa,wasapi"},
    {"audio-client-name", "Таврин"},
    // What mixers call the stream.
    {"title", "${filename}"},
    {"gapless-audio", "no"},
}};

} // namespace

MpvCore::MpvCore() : m_handle(mpv_create())
{
    if (m_handle && !start())
        m_handle.reset();
}

MpvCore::~MpvCore()
{
    if (m_handle)
        mpv_set_wakeup_callback(m_handle.get(), nullptr, nullptr);
}

bool MpvCore::start()
{
    const auto isTaken = [this](const CoreOption &option) {
        return mpv_set_option_string(m_handle.get(), option.name, option.value) >= 0;
    };
    for (const CoreOption &option : neededOptions) {
        if (!isTaken(option)) {
            qWarning("the player core does not take %s=%s", option.name, option.value);
            return false;
        }
    }
    for (const CoreOption &option : wishedOptions)
        (void)isTaken(option);
    return mpv_initialize(m_handle.get()) >= 0;
}

std::optional<double> MpvCore::number(const char *property) const
{
    double value = 0.0;
    if (mpv_get_property(m_handle.get(), property, MPV_FORMAT_DOUBLE, &value) < 0)
        return std::nullopt;
    return value;
}

bool MpvCore::flag(const char *property) const
{
    int value = 0;
    return mpv_get_property(m_handle.get(), property, MPV_FORMAT_FLAG, &value) >= 0 && value != 0;
}

QByteArray MpvCore::string(const char *property) const
{
    char *value = mpv_get_property_string(m_handle.get(), property);
    QByteArray text(value);
    mpv_free(value);
    return text;
}

bool MpvCore::setFlag(const char *property, bool value)
{
    int number = value ? 1 : 0;
    return mpv_set_property(m_handle.get(), property, MPV_FORMAT_FLAG, &number) >= 0;
}

bool MpvCore::setNumber(const char *property, double value)
{
    return mpv_set_property(m_handle.get(), property, MPV_FORMAT_DOUBLE, &value) >= 0;
}

bool MpvCore::setString(const char *property, const char *value)
{
    return mpv_set_property_string(m_handle.get(), property, value) >= 0;
}

bool MpvCore::command(std::initializer_list<const char *> words)
{
    std::vector<const char *> terminated(words);
    terminated.push_back(nullptr);
    return mpv_command(m_handle.get(), terminated.data()) >= 0;
}

void MpvCore::closeFilm()
{
    command({"stop"});
    constexpr auto poll = std::chrono::milliseconds(1);
    while (!string("path").isEmpty())
        std::this_thread::sleep_for(poll);
}

void MpvCore::startCommand(const char *word)
{
    const char *words[] = {word, nullptr};
    mpv_command_async(m_handle.get(), 0, words);
}

void MpvCore::observe(std::uint64_t mark, const char *property, mpv_format format)
{
    mpv_observe_property(m_handle.get(), mark, property, format);
}

const mpv_event &MpvCore::waitForEvent(double seconds)
{
    return *mpv_wait_event(m_handle.get(), seconds);
}

void MpvCore::handleEvents(std::function<void(const mpv_event &)> handler)
{
    m_handler = std::move(handler);
    mpv_set_wakeup_callback(m_handle.get(), &MpvCore::onWakeup, this);
    onWakeup(this);
}

void MpvCore::onWakeup(void *data)
{
    // Called on the core's threads, where nothing but queueing a call is allowed.
    auto *core = static_cast<MpvCore *>(data);
    if (!core->m_drainQueued.exchange(true))
        QMetaObject::invokeMethod(core, &MpvCore::drain, Qt::QueuedConnection);
}

void MpvCore::drain()
{
    if (!m_handler || DiskWait::putsOff(this, &MpvCore::drain))
        return;
    m_drainQueued = false;
    for (const mpv_event *event = &waitForEvent(0.0); event->event_id != MPV_EVENT_NONE; event = &waitForEvent(0.0))
        m_handler(*event);
}
