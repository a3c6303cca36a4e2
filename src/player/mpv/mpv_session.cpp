#include "player/mpv/mpv_session.h"

#include <QByteArray>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QWidget>

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <limits>
#include <utility>
#include <vector>

namespace {

/// The core's own upper bound for its rate.
constexpr double fastestRate = 100.0;

/// A seek that has run past the last picture tells its own target for a time, give or take a sample of the sound
/// (seconds).
constexpr double endOfSeek = 60e-6;

/// How often a step that brings no picture is looked at.
constexpr auto endCheckInterval = std::chrono::milliseconds(80);

/// How soon after a start it is looked whether the core has started; twice as long each time it has not. A demuxer
/// that has come to the film's end now and then reads nothing for the sound that is selected again, and the core
/// waits for it forever.
constexpr auto firstStartCheck = std::chrono::milliseconds(300);

/// A command that has not landed by then is taken as landed where the core stands.
constexpr auto longestWait = std::chrono::seconds(5);

constexpr std::array<std::pair<const char *, const char *>, 33> coreOptions{{
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
    // The core reads the file itself; what a format would open by name, it asks a protocol for.
    {"demuxer-lavf-o", "protocol_whitelist=none"},
    {"cache", "no"},
    // Exact pictures, and a file that stays open at its end.
    {"vo", "libmpv"},
    {"hwdec", "no"},
    // What is transparent lies on black, whichever way it is drawn.
    {"alpha", "blend"},
    {"pause", "yes"},
    {"idle", "yes"},
    {"hr-seek", "yes"},
    {"keep-open", "always"},
    {"keep-open-pause", "no"},
    // Sound at every speed of the track bar: without a named filter there is none beyond 0.25 to 8, and scaletempo2
    // up to libmpv 0.36 writes past its buffer where a single channel's sound ends.
    {"af", "scaletempo"},
    // A clock where there is no sound device.
    {"audio-fallback-to-null", "yes"},
    {"ao", "pulse,pipewire,alsa"},
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
    if (m_attached && !m_surface.turnsPictures()) {
        setString("video-rotate", "no");
        mpv_hook_add(m_core.get(), 0, "on_preloaded", 0);
    }

    connect(&m_surface, &VideoSurface::pictureDrawn, this, [this] {
        m_toldAtPicture = m_told;
        landIfDrawn();
    });
    m_patience.setSingleShot(true);
    connect(&m_patience, &QTimer::timeout, this, &MpvSession::land);
    m_startCheck.setSingleShot(true);
    connect(&m_startCheck, &QTimer::timeout, this, &MpvSession::checkStart);
    m_endCheck.setInterval(endCheckInterval);
    connect(&m_endCheck, &QTimer::timeout, this, &MpvSession::checkForEnd);
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
    // The core would wait for a pipe's writer, play the files of a folder one after another, and take a relative
    // name for an address or an option.
    const QFileInfo file(path);
    if (!file.isFile())
        return statusFailure;
    const QByteArray name = QFile::encodeName(file.absoluteFilePath());
    if (!command({"loadfile", name.constData()}) || !waitForFirstPicture())
        return statusFailure;
    // The stream may have appeared meanwhile.
    setLevel(m_level);
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
        if (event->event_id == MPV_EVENT_HOOK) {
            turnPictures();
            mpv_hook_continue(m_core.get(), static_cast<const mpv_event_hook *>(event->data)->id);
        }
        if (event->event_id == MPV_EVENT_FILE_LOADED)
            loaded = true;
        if (event->event_id == MPV_EVENT_PLAYBACK_RESTART && loaded) {
            readVideoParameters();
            return true;
        }
    }
    return false;
}

void MpvSession::turnPictures()
{
    const auto tracks = static_cast<int>(number("track-list/count").value_or(0.0));
    for (int track = 0; track < tracks; ++track) {
        const QByteArray rotation = "track-list/" + QByteArray::number(track) + "/demux-rotation";
        switch (static_cast<int>(number(rotation.constData()).value_or(0.0))) {
        case 90:
            setString("vf", "transpose=dir=clock");
            return;
        case 180:
            setString("vf", "hflip,vflip");
            return;
        case 270:
            setString("vf", "transpose=dir=cclock");
            return;
        default:
            break;
        }
    }
}

void MpvSession::readVideoParameters()
{
    const bool hasPicture = number("video-out-params/w").has_value();
    if (hasPicture) {
        auto width = static_cast<std::int32_t>(number("video-out-params/dw").value_or(0.0));
        auto height = static_cast<std::int32_t>(number("video-out-params/dh").value_or(0.0));
        const auto quarterTurns = static_cast<int>(number("video-out-params/rotate").value_or(0.0)) / 90;
        if (quarterTurns % 2 != 0)
            std::swap(width, height);
        m_width = width;
        m_height = height;
        constexpr double guessedFrameRate = 25.0;
        const double rate = number("container-fps").value_or(0.0);
        m_film.frame = 1.0 / (rate > 0.0 && std::isfinite(rate) ? rate : guessedFrameRate);
        m_film.first = m_shown = number("time-pos").value_or(0.0);
        m_toldAtPicture = m_shown;
    }
    const double end = number("duration").value_or(0.0);
    m_film.end = std::max(end, m_film.first);
    m_duration = static_cast<MediaTime>(std::llround((m_film.end - m_film.first) * unitsPerSecond));
}

// Playing

Status MpvSession::run()
{
    m_wantPaused = false;
    // A search for a picture ends before the film runs on from it.
    if (!m_search)
        applyPause();
    return statusOk;
}

Status MpvSession::pause()
{
    m_wantPaused = true;
    applyPause();
    if (m_search) {
        // What a seek finds while the sound is on may be the sound's time.
        if (m_film.frame > 0.0 && !m_silent && !m_wish)
            m_wish = {m_searched, SeekTo::Time};
        return statusOk;
    }
    m_shown = number("time-pos").value_or(m_shown);
    if (m_film.frame <= 0.0)
        return statusOk;
    if (m_film.last)
        m_shown = std::min(m_shown, *m_film.last);
    else if (m_duration > 0 && (flag("eof-reached") || tellsMoreThanIsDrawn(m_shown)))
        // Once the pictures have ended the core tells the sound's time; the picture that is there has to be found.
        pursue({pictureMediaTime(m_shown - m_film.first, 1.0 / m_film.frame), SeekTo::Time});
    return statusOk;
}

bool MpvSession::tellsMoreThanIsDrawn(double told) const
{
    // The next picture's time is told a little before that picture is drawn.
    constexpr double jitter = 0.001;
    return !m_toldAtPicture || told - *m_toldAtPicture > m_film.frame + jitter;
}

void MpvSession::stop()
{
    command({"stop"});
}

void MpvSession::applyPause()
{
    // A step pauses by itself when it lands, which then applies what is wanted.
    if (m_underWay == SearchCommand::StepForward || m_underWay == SearchCommand::StepBack)
        return;
    if (!m_wantPaused) {
        if (std::exchange(m_silent, false))
            setString("aid", "auto");
        m_startedAt = number("time-pos");
        m_startCheck.start(firstStartCheck);
    }
    setFlag("pause", m_wantPaused);
}

void MpvSession::checkStart()
{
    const bool started = number("audio-pts") || number("time-pos") != m_startedAt || flag("eof-reached");
    if (m_wantPaused || started)
        return;
    setString("aid", "no");
    setString("aid", "auto");
    m_startCheck.start(2 * m_startCheck.intervalAsDuration());
}

Status MpvSession::setRate(double rate)
{
    if (m_underWay != SearchCommand::StepForward && !setNumber("speed", rate))
        return statusFailure;
    m_rate = rate;
    return statusOk;
}

// Reaching a picture

Status MpvSession::seek(MediaTime time, SeekTo picture)
{
    drain();
    if (m_duration <= 0) {
        // A stream without times of its own cannot be sought; it still goes on by a picture.
        if (m_wantPaused && picture == SeekTo::NextPicture && m_film.frame > 0.0 && !m_search)
            pursue({position() + static_cast<MediaTime>(m_film.frame * unitsPerSecond), picture});
        return statusOk;
    }
    // A neighbour is the neighbour of a picture that is there; while one is still being looked for, or while the
    // pictures run, the time computed for it is the only one that has a meaning.
    const bool step = m_wantPaused && !m_search;
    const Wish wish{std::max<MediaTime>(0, time), step ? picture : SeekTo::Time};
    if (m_search)
        m_wish = wish;
    else
        pursue(wish);
    return statusOk;
}

MediaTime MpvSession::position()
{
    drain();
    if (m_wish)
        return m_wish->time;
    if (m_search)
        return m_searched;
    double seconds = m_shown;
    if (!m_wantPaused) {
        seconds = number("time-pos").value_or(m_shown);
        if (m_film.last && flag("eof-reached"))
            seconds = *m_film.last;
    }
    return pictureMediaTime(seconds - m_film.first, m_film.frame > 0.0 ? 1.0 / m_film.frame : 0.0);
}

void MpvSession::pursue(const Wish &wish)
{
    m_searched = wish.time;
    if (!m_wantPaused)
        m_shown = number("time-pos").value_or(m_shown);
    if (m_wantPaused && m_film.frame > 0.0 && !m_silent) {
        // Somebody may have set the stream's level outside; the next stream takes it over.
        (void)level();
        m_silent = setString("aid", "no");
        m_levelApplied = false;
    }
    m_search.emplace(m_film, m_shown, m_film.first + secondsOf(wish.time), wish.picture, m_wantPaused);
    m_here = m_shown;
    execute(m_search->start());
}

void MpvSession::execute(const SearchCommand &next)
{
    m_underWay = next.kind;
    m_reported = false;
    m_awaitedPicture = m_surface.picturesBegun() + 1;
    m_patience.start(longestWait);
    bool sent = false;
    switch (next.kind) {
    case SearchCommand::Seek: {
        setNumber("speed", m_rate);
        setNumber("hr-seek-demuxer-offset", next.demuxerOffset);
        // The core counts negative times from the end.
        m_sent = std::max(0.0, next.seconds);
        sent = command({"seek", QByteArray::number(m_sent, 'f', 7).constData(), "absolute+exact"});
        break;
    }
    case SearchCommand::StepForward:
        // The core shows the next picture no sooner than the rate has it follow.
        setNumber("speed", fastestRate);
        sent = command({"frame-step"});
        m_endCheck.start();
        break;
    case SearchCommand::StepBack:
        sent = command({"frame-back-step"});
        break;
    case SearchCommand::Done:
        break;
    }
    if (!sent)
        finish();
}

void MpvSession::landIfDrawn()
{
    if (m_underWay != SearchCommand::Done && m_reported && isDrawn())
        land();
}

bool MpvSession::isDrawn() const
{
    return m_film.frame <= 0.0 || m_surface.picturesDrawn() >= m_awaitedPicture;
}

void MpvSession::checkForEnd()
{
    // The step is over and has brought no picture.
    if (m_underWay == SearchCommand::StepForward && !isDrawn() && flag("pause") && flag("eof-reached"))
        land();
}

void MpvSession::land()
{
    m_endCheck.stop();
    const double here = number("time-pos").value_or(m_shown);
    // With the sound on, the target's time is told where the sound goes on beyond the pictures.
    const bool seekEnded = m_silent && m_underWay == SearchCommand::Seek && std::abs(here - m_sent) < endOfSeek;
    const bool atEnd = seekEnded || flag("eof-reached");
    m_here = here;
    const SearchCommand next = m_search->landed(here, atEnd);
    m_shown = m_search->shown();
    if (next.kind == SearchCommand::Done) {
        finish();
    } else if (m_wish && !atEnd) {
        // What the search would not settle for is the picture that the wish starts from.
        m_shown = here;
        finish();
    } else {
        execute(next);
    }
}

void MpvSession::finish()
{
    m_patience.stop();
    m_endCheck.stop();
    m_film.last = m_search->last();
    m_search.reset();
    m_underWay = SearchCommand::Done;
    if (!m_wantPaused)
        m_toldAtPicture.reset();
    // Before any sound: the core's tempo filter fails at the rate of a step.
    setNumber("speed", m_rate);
    applyPause();
    if (const auto wish = std::exchange(m_wish, std::nullopt)) {
        // Where the sound's time may have been told, the picture is not known, and nothing can be stepped from it.
        if (!m_silent)
            m_shown = m_film.first + secondsOf(wish->time);
        pursue(*wish);
    } else {
        Q_EMIT landed();
    }
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
        if (m_underWay == SearchCommand::Seek || m_underWay == SearchCommand::StepBack) {
            m_reported = true;
            // The core tells this once its picture was taken, which may not be drawn yet.
            m_awaitedPicture = std::max(m_awaitedPicture, m_surface.picturesBegun());
            // At the end of the film there may be no picture to draw.
            if (flag("eof-reached"))
                land();
            else
                landIfDrawn();
        }
        break;
    case MPV_EVENT_END_FILE:
        if (m_search)
            finish();
        break;
    case MPV_EVENT_PROPERTY_CHANGE:
        propertyChanged(event.reply_userdata, *static_cast<const mpv_event_property *>(event.data));
        break;
    default:
        break;
    }
}

void MpvSession::propertyChanged(std::uint64_t observed, const mpv_event_property &property)
{
    if (observed == observeSound) {
        setLevel(m_level);
        return;
    }
    if (property.format == MPV_FORMAT_NONE)
        return;
    if (observed == observeTime)
        m_told = *static_cast<const double *>(property.data);
    if (m_underWay != SearchCommand::StepForward)
        return;
    if (observed == observeTime && m_told > m_here) {
        m_reported = true;
        landIfDrawn();
    } else if (observed == observeEnd) {
        checkForEnd();
    }
}

// Sound

std::uint16_t MpvSession::level()
{
    constexpr double full = 0xFFFF;
    if (const std::optional<double> percent = m_levelApplied ? number("ao-volume") : std::nullopt)
        m_level = static_cast<std::uint16_t>(std::clamp(std::round(*percent / 100.0 * full), 0.0, full));
    return m_level;
}

void MpvSession::setLevel(std::uint16_t level)
{
    m_level = level;
    const double percent = level / static_cast<double>(0xFFFF) * 100.0;
    // One of the two mixers sets the level and the other one stays open.
    m_levelApplied = setNumber("ao-volume", percent);
    setNumber("volume", m_levelApplied ? 100.0 : percent);
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

bool MpvSession::setString(const char *property, const char *value)
{
    return mpv_set_property_string(m_core.get(), property, value) >= 0;
}

bool MpvSession::command(std::initializer_list<const char *> words)
{
    std::vector<const char *> terminated(words);
    terminated.push_back(nullptr);
    return mpv_command(m_core.get(), terminated.data()) >= 0;
}
