#include "player/mpv/mpv_session.h"

#include <algorithm>
#include <utility>

namespace {

enum : std::uint64_t { observeTime = 1, observeEnd, observeSound };

} // namespace

MpvSession::MpvSession(VideoSurface &surface) : m_surface(surface), m_sound(m_core), m_command(m_core, surface, m_film)
{
    if (!m_core.isValid())
        return;
    m_core.observe(observeTime, "time-pos", MPV_FORMAT_DOUBLE);
    m_core.observe(observeEnd, "eof-reached", MPV_FORMAT_FLAG);
    m_core.observe(observeSound, "current-ao", MPV_FORMAT_STRING);
    m_attached = m_surface.attach(m_core.handle());
    if (m_attached && !m_surface.turnsPictures())
        letCoreTurnPictures(m_core);
    connect(&m_surface, &VideoSurface::pictureDrawn, this, &MpvSession::pictureDrawn);
    connect(&m_command, &PictureCommand::landed, this, &MpvSession::land);
}

MpvSession::~MpvSession()
{
    if (m_attached)
        m_surface.detach();
}

Status MpvSession::render(const QString &path)
{
    const std::optional<MpvFilm> film = loadFilm(m_core, m_surface, path);
    if (!film)
        return statusFailure;
    m_film = *film;
    m_shown = m_film.times.first;
    if (m_film.hasPictures())
        m_toldAtPicture = m_shown;
    m_sound.applyLevel();
    m_core.handleEvents([this](const mpv_event &event) { handle(event); });
    return statusOk;
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
    m_sound.rest();
    applyPause();
    if (m_search) {
        // What a seek finds while the sound is on may be the sound's time.
        if (m_film.hasPictures() && !m_sound.isSilent() && !m_wish)
            m_wish = {m_searched.time, SeekTo::Time};
        return statusOk;
    }
    m_shown = m_core.number("time-pos").value_or(m_shown);
    const FilmTimes &times = m_film.times;
    if (!m_film.hasPictures())
        return statusOk;
    if (times.last)
        m_shown = std::min(m_shown, *times.last);
    else if (m_film.duration > 0 && (m_core.flag("eof-reached") || tellsMoreThanIsDrawn(m_shown)))
        // Once the pictures have ended the core tells the sound's time; the picture that is there has to be found.
        pursue({pictureMediaTime(m_shown - times.first, 1.0 / times.frame), SeekTo::Time});
    return statusOk;
}

bool MpvSession::tellsMoreThanIsDrawn(double told) const
{
    // The next picture's time is told a little before that picture is drawn.
    constexpr double jitter = 0.001;
    return !m_toldAtPicture || told - *m_toldAtPicture > m_film.times.frame + jitter;
}

void MpvSession::stop()
{
    m_core.command({"stop"});
}

void MpvSession::applyPause()
{
    // A step pauses by itself when it lands, which then applies what is wanted.
    if (m_command.isStep())
        return;
    if (!m_wantPaused)
        m_sound.wake();
    m_core.setFlag("pause", m_wantPaused);
}

Status MpvSession::setRate(double rate)
{
    if (!m_command.isStepForward() && !m_core.setNumber("speed", rate))
        return statusFailure;
    m_rate = rate;
    return statusOk;
}

// Reaching a picture

Status MpvSession::seek(MediaTime time, SeekTo picture)
{
    if (m_search)
        m_wish = {time, picture};
    else
        pursue({time, picture});
    return statusOk;
}

double MpvSession::position() const
{
    if (m_search)
        return secondsOf(m_wish ? m_wish->time : m_searched.time);
    double seconds = m_shown;
    if (!m_wantPaused) {
        seconds = m_core.number("time-pos").value_or(m_shown);
        if (m_film.times.last && m_core.flag("eof-reached"))
            seconds = *m_film.times.last;
    }
    return seconds - m_film.times.first;
}

bool MpvSession::isSettled()
{
    m_core.drain();
    return !m_search;
}

void MpvSession::pursue(const Wish &wish)
{
    m_searched = wish;
    if (!m_wantPaused)
        m_shown = m_core.number("time-pos").value_or(m_shown);
    if (m_wantPaused && m_film.hasPictures())
        m_sound.silence();
    m_search.emplace(m_film.times, m_shown, m_film.times.first + secondsOf(wish.time), wish.picture, m_wantPaused);
    execute(m_search->start(), m_shown);
}

void MpvSession::execute(const SearchCommand &next, double from)
{
    if (!m_command.send(next, from, m_rate))
        finish();
}

void MpvSession::land()
{
    const double here = m_core.number("time-pos").value_or(m_shown);
    // With the sound on, the target's time is told where the sound goes on beyond the pictures.
    const bool atEnd = (m_sound.isSilent() && m_command.isSeekPastEnd(here)) || m_core.flag("eof-reached");
    const SearchCommand next = m_search->landed(here, atEnd);
    m_shown = m_search->shown();
    if (next.kind == SearchCommand::Done) {
        finish();
    } else if (m_wish && !atEnd) {
        // What the search would not settle for is the picture that the wish starts from.
        m_shown = here;
        finish();
    } else {
        execute(next, here);
    }
}

void MpvSession::finish()
{
    m_command.end();
    m_film.times.last = m_search->last();
    m_search.reset();
    if (!m_wantPaused)
        m_toldAtPicture.reset();
    // Before any sound: the core's tempo filter fails at the rate of a step.
    m_core.setNumber("speed", m_rate);
    applyPause();
    if (const auto wish = std::exchange(m_wish, std::nullopt)) {
        // Where the sound's time may have been told, the picture is not known, and nothing can be stepped from it.
        if (!m_sound.isSilent())
            m_shown = m_film.times.first + secondsOf(wish->time);
        pursue(*wish);
    } else {
        Q_EMIT landed();
    }
}

void MpvSession::pictureDrawn()
{
    m_toldAtPicture = m_told;
    m_command.pictureIsDrawn();
}

// Events

void MpvSession::handle(const mpv_event &event)
{
    switch (event.event_id) {
    case MPV_EVENT_PLAYBACK_RESTART:
        m_command.coreHasRestarted();
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
    if (observed == observeSound)
        m_sound.deviceChanged();
    else if (observed == observeEnd)
        m_command.checkForEnd();
    else if (property.format != MPV_FORMAT_NONE) {
        m_told = *static_cast<const double *>(property.data);
        m_command.coreTells(m_told);
    }
}
