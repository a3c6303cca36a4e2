#include "player/mpv/mpv_session.h"

#include "player/mpv/picture_time.h"

#include <QByteArray>
#include <QWidget>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <utility>

namespace {

/// An exact seek shows the first picture that starts no more than this before its time (seconds).
constexpr double seekTolerance = 0.005;

/// Stepping is cheaper than seeking for times at most this many pictures ahead.
constexpr double steppedPictures = 3.0;

constexpr std::array<std::pair<const char *, const char *>, 31> coreOptions{{
    // Nothing of the user's own player set-up, and nothing written.
    {"config", "no"},
    {"load-scripts", "no"},
    {"ytdl", "no"},
    {"osc", "no"},
    {"osd-level", "0"},
    {"terminal", "no"},
    {"input-default-bindings", "no"},
    {"input-vo-keyboard", "no"},
    {"save-position-on-quit", "no"},
    {"resume-playback", "no"},
    // The file itself and nothing beside or behind it.
    {"access-references", "no"},
    {"load-unsafe-playlists", "no"},
    {"ordered-chapters", "no"},
    {"sub-auto", "no"},
    {"audio-file-auto", "no"},
    {"cover-art-auto", "no"},
    {"audio-display", "no"},
    {"sid", "no"},
    {"demuxer-lavf-o", "protocol_whitelist=file"},
    {"cache", "no"},
    // Exact pictures, and a file that stays open at its end.
    {"vo", "libmpv"},
    {"hwdec", "no"},
    {"pause", "yes"},
    {"idle", "yes"},
    {"hr-seek", "yes"},
    {"keep-open", "always"},
    {"keep-open-pause", "no"},
    // Sound at every speed of the track bar, and a clock where there is no sound device.
    {"af", "scaletempo2=min-speed=0.05:max-speed=8"},
    {"audio-fallback-to-null", "yes"},
    {"audio-client-name", "Таврин"},
    {"gapless-audio", "no"},
}};

enum : std::uint64_t { observeTime = 1, observeEnd, observeSound };

} // namespace

MpvSession::MpvSession(VideoSurface &surface) : m_surface(surface), m_core(mpv_create())
{
    if (!m_core)
        return;
    for (const auto &[name, value] : coreOptions) {
        if (mpv_set_option_string(m_core.get(), name, value) < 0)
            qFatal("the player core knows no option %s=%s", name, value);
    }
    if (mpv_initialize(m_core.get()) < 0) {
        m_core.reset();
        return;
    }
    mpv_observe_property(m_core.get(), observeTime, "time-pos", MPV_FORMAT_DOUBLE);
    mpv_observe_property(m_core.get(), observeEnd, "eof-reached", MPV_FORMAT_FLAG);
    mpv_observe_property(m_core.get(), observeSound, "current-ao", MPV_FORMAT_STRING);
    m_attached = m_surface.attach(m_core.get());

    m_stepPatience.setSingleShot(true);
    m_stepPatience.setInterval(std::chrono::seconds(3));
    connect(&m_stepPatience, &QTimer::timeout, this, &MpvSession::stepLanded);
}

MpvSession::~MpvSession()
{
    if (m_core)
        mpv_set_wakeup_callback(m_core.get(), nullptr, nullptr);
    if (m_attached)
        m_surface.detach();
}

// Loading

Status MpvSession::render(const QString &path)
{
    const QByteArray name = path.toUtf8();
    if (!command({"loadfile", name.constData()}) || !waitForFirstPicture())
        return statusFailure;
    mpv_set_wakeup_callback(m_core.get(), &MpvSession::onWakeup, this);
    onWakeup(this);
    return statusOk;
}

bool MpvSession::waitForFirstPicture()
{
    QElapsedTimer waited;
    waited.start();
    constexpr auto longestWaitMs = 60'000;
    constexpr double pollSeconds = 0.002;
    bool loaded = false;
    while (waited.elapsed() < longestWaitMs) {
        // The core waits for its picture to be taken, and nothing else runs on this thread meanwhile.
        m_surface.service();
        const mpv_event *event = mpv_wait_event(m_core.get(), pollSeconds);
        if (event->event_id == MPV_EVENT_END_FILE || event->event_id == MPV_EVENT_SHUTDOWN)
            return false;
        if (event->event_id == MPV_EVENT_FILE_LOADED)
            loaded = true;
        if (event->event_id == MPV_EVENT_PLAYBACK_RESTART && loaded) {
            readVideoParameters();
            return true;
        }
    }
    return false;
}

void MpvSession::readVideoParameters()
{
    const bool hasPicture = number("video-params/w").has_value();
    if (hasPicture) {
        auto width = static_cast<std::int32_t>(number("video-params/dw").value_or(0.0));
        auto height = static_cast<std::int32_t>(number("video-params/dh").value_or(0.0));
        const auto quarterTurns = static_cast<int>(number("video-params/rotate").value_or(0.0)) / 90;
        if (quarterTurns % 2 != 0)
            std::swap(width, height);
        m_width = width;
        m_height = height;
        constexpr double guessedFrameRate = 25.0;
        const double rate = number("container-fps").value_or(0.0);
        m_frameSeconds = 1.0 / (rate > 0.0 && std::isfinite(rate) ? rate : guessedFrameRate);
        m_zero = m_shown = number("time-pos").value_or(0.0);
    }
    const double seconds = number("duration").value_or(0.0) - m_zero;
    m_duration = seconds > 0.0 ? static_cast<MediaTime>(std::llround(seconds * unitsPerSecond)) : 0;
}

// Playing

Status MpvSession::run()
{
    m_wantPaused = false;
    applyPause();
    return statusOk;
}

Status MpvSession::pause()
{
    m_wantPaused = true;
    applyPause();
    return statusOk;
}

void MpvSession::stop()
{
    command({"stop"});
}

void MpvSession::applyPause()
{
    // A step pauses by itself when it lands, which then applies what is wanted.
    if (m_underWay != Command::StepForward && m_underWay != Command::StepBack)
        setFlag("pause", m_wantPaused);
}

Status MpvSession::setRate(double rate)
{
    return setNumber("speed", rate) ? statusOk : statusFailure;
}

double MpvSession::rate()
{
    return number("speed").value_or(1.0);
}

// Reaching a picture

Status MpvSession::seek(MediaTime time, SeekTo picture)
{
    const bool underWay = m_underWay != Command::None;
    // A neighbour is the neighbour of a picture that is there; while one is still being looked for, or while the
    // pictures run, the time computed for it is the only one that has a meaning.
    const bool step = picture != SeekTo::Time && m_wantPaused && !underWay;
    m_wish = Wish{std::max<MediaTime>(0, time), step ? picture : SeekTo::Time};
    if (!underWay)
        pursue();
    return statusOk;
}

MediaTime MpvSession::position()
{
    drain();
    if (m_wish)
        return m_wish->time;
    if (m_underWay != Command::None)
        return m_pursued.time;
    m_shown = number("time-pos").value_or(m_shown);
    return pictureMediaTime(m_shown - m_zero, m_frameSeconds > 0.0 ? 1.0 / m_frameSeconds : 0.0);
}

void MpvSession::pursue()
{
    m_pursued = *std::exchange(m_wish, std::nullopt);
    m_shown = number("time-pos").value_or(m_shown);

    const double target = m_zero + secondsOf(m_pursued.time);
    const double ahead = target - m_shown;
    const bool nearAhead = ahead > seekTolerance && ahead < steppedPictures * m_frameSeconds;
    if (m_pursued.picture == SeekTo::PreviousPicture) {
        sendStep(Command::StepBack);
    } else if (m_pursued.picture == SeekTo::NextPicture || (m_wantPaused && nearAhead)) {
        sendStep(Command::StepForward);
    } else {
        m_demuxerOffset = 0.0;
        m_previousLanding.reset();
        sendSeek(target);
    }
}

void MpvSession::sendSeek(double seconds)
{
    m_underWay = Command::Seek;
    m_seekSeconds = seconds;
    setNumber("hr-seek-demuxer-offset", m_demuxerOffset);
    // The core counts negative times from the end.
    const QByteArray target = QByteArray::number(std::max(0.0, seconds), 'f', 7);
    if (!command({"seek", target.constData(), "absolute+exact"}))
        finish();
}

void MpvSession::sendStep(Command step)
{
    // At the end of the film there is no next picture to wait for.
    if (m_frameSeconds <= 0.0 || (step == Command::StepForward && flag("eof-reached"))) {
        finish();
        return;
    }
    m_underWay = step;
    if (!command({step == Command::StepForward ? "frame-step" : "frame-back-step"}))
        finish();
    else if (step == Command::StepForward)
        m_stepPatience.start();
}

void MpvSession::seekLanded()
{
    const double landing = number("time-pos").value_or(m_shown);
    m_shown = landing;
    // What rounding of times in the container can move a picture by.
    constexpr double jitter = 0.001;
    const bool late = m_frameSeconds > 0.0 && landing > m_seekSeconds + m_frameSeconds - seekTolerance + jitter;
    const bool moved = !m_previousLanding || landing < *m_previousLanding - jitter;
    constexpr double farthestOffset = 64.0;
    if (!m_wish && late && moved && m_demuxerOffset < farthestOffset) {
        m_previousLanding = landing;
        m_demuxerOffset = std::max(1.0, 4.0 * m_demuxerOffset);
        sendSeek(m_seekSeconds);
        return;
    }
    finish();
}

void MpvSession::stepLanded()
{
    m_stepPatience.stop();
    const double before = m_shown;
    m_shown = number("time-pos").value_or(m_shown);
    const bool moved = m_shown > before;
    const bool there = m_zero + secondsOf(m_pursued.time) <= m_shown + seekTolerance;
    if (!m_wish && m_wantPaused && moved && !there && m_pursued.picture == SeekTo::Time)
        sendStep(Command::StepForward);
    else
        finish();
}

void MpvSession::finish()
{
    m_underWay = Command::None;
    applyPause();
    if (m_wish)
        pursue();
    else
        Q_EMIT landed();
}

// Events

void MpvSession::onWakeup(void *data)
{
    // Called on the core's threads, where nothing but queueing a call is allowed.
    auto *session = static_cast<MpvSession *>(data);
    if (!session->m_drainQueued.exchange(true))
        QMetaObject::invokeMethod(session, &MpvSession::drain, Qt::QueuedConnection);
}

void MpvSession::drain()
{
    m_drainQueued = false;
    for (const mpv_event *event = mpv_wait_event(m_core.get(), 0.0); event->event_id != MPV_EVENT_NONE;
         event = mpv_wait_event(m_core.get(), 0.0))
        handle(*event);
}

void MpvSession::handle(const mpv_event &event)
{
    switch (event.event_id) {
    case MPV_EVENT_PLAYBACK_RESTART:
        if (m_underWay == Command::Seek)
            seekLanded();
        else if (m_underWay == Command::StepBack)
            stepLanded();
        break;
    case MPV_EVENT_END_FILE:
        if (m_underWay != Command::None)
            finish();
        break;
    case MPV_EVENT_PROPERTY_CHANGE: {
        const auto &property = *static_cast<const mpv_event_property *>(event.data);
        if (event.reply_userdata == observeSound) {
            setLevel(m_level);
        } else if (m_underWay == Command::StepForward && property.format != MPV_FORMAT_NONE) {
            const bool next = event.reply_userdata == observeTime
                && *static_cast<const double *>(property.data) > m_shown;
            const bool end = event.reply_userdata == observeEnd && *static_cast<const int *>(property.data) != 0;
            if (next || end)
                stepLanded();
        }
        break;
    }
    default:
        break;
    }
}

// Sound

std::optional<std::uint16_t> MpvSession::streamLevel()
{
    const std::optional<double> percent = number("ao-volume");
    if (!percent)
        return std::nullopt;
    constexpr double full = 0xFFFF;
    return static_cast<std::uint16_t>(std::clamp(std::round(*percent / 100.0 * full), 0.0, full));
}

void MpvSession::setLevel(std::uint16_t level)
{
    m_level = level;
    const double percent = level / static_cast<double>(0xFFFF) * 100.0;
    // One of the two mixers sets the level and the other one stays open.
    const bool inServer = setNumber("ao-volume", percent);
    setNumber("volume", inServer ? 100.0 : percent);
}

// Properties

std::optional<double> MpvSession::number(const char *property) const
{
    double value = 0.0;
    if (mpv_get_property(m_core.get(), property, MPV_FORMAT_DOUBLE, &value) < 0)
        return std::nullopt;
    return value;
}

bool MpvSession::flag(const char *property) const
{
    int value = 0;
    return mpv_get_property(m_core.get(), property, MPV_FORMAT_FLAG, &value) >= 0 && value != 0;
}

bool MpvSession::setFlag(const char *property, bool value)
{
    int number = value ? 1 : 0;
    return mpv_set_property(m_core.get(), property, MPV_FORMAT_FLAG, &number) >= 0;
}

bool MpvSession::setNumber(const char *property, double value)
{
    return mpv_set_property(m_core.get(), property, MPV_FORMAT_DOUBLE, &value) >= 0;
}

bool MpvSession::command(std::initializer_list<const char *> words)
{
    std::vector<const char *> terminated(words);
    terminated.push_back(nullptr);
    return mpv_command(m_core.get(), terminated.data()) >= 0;
}
