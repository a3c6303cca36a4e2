#include "player/mpv/mpv_session.h"

#include "widgets/disk_wait.h"

#include <QElapsedTimer>
#include <QThread>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <limits>
#include <utility>

namespace {

using namespace std::chrono_literals;

/// Sound that outlasts the last picture by less is what an encoder leaves, and no part of the film (seconds).
constexpr double shortestTail = 0.25;

/// The sound's time may be behind that of the picture by what its device has not played yet (seconds).
constexpr double longestSoundDelay = 0.5;

enum : std::uint64_t { observeTime = 1, observeEnd, observeSound };

} // namespace

MpvSession::MpvSession(VideoSurface &surface) : m_surface(surface), m_sound(m_core), m_command(m_core, surface)
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
    if (!m_attached)
        return;
    m_surface.disconnect(this);
    // Drawing does not end before the core has let go of the film.
    waitForDisk([this] { m_core.closeFilm(); }, [this] { m_surface.service(); });
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
    if (m_film.hasPictures())
        m_pictures = KnownPictures::open(path, m_core.number("demuxer-start-time").value_or(0.0));
    if (m_pictures && !goToFirst())
        m_pictures.reset();
    return statusOk;
}

bool MpvSession::goToFirst()
{
    const FilmTimes told = m_film.times;
    const double first = m_pictures->first();
    m_film.times.first = first;
    m_film.times.frame = 1.0 / m_pictures->frameRate();
    if (std::abs(m_shown - first) > momentTolerance) {
        pursue({0, SeekTo::Time});
        QElapsedTimer waited;
        waited.start();
        DiskWait wait;
        constexpr auto longestWait = 10s;
        while (!isSettled() && !waited.hasExpired(std::chrono::milliseconds(longestWait).count())) {
            m_surface.service();
            m_command.pictureIsDrawn();
            wait.goOn();
            QThread::usleep(std::chrono::microseconds(2ms).count());
        }
    }
    if (std::abs(m_shown - first) <= momentTolerance) {
        m_film.duration = std::llround((m_film.times.end - first) * unitsPerSecond);
        return true;
    }
    m_film.times = told;
    return false;
}

// Playing

Status MpvSession::run()
{
    m_wantPaused = false;
    // A search for a picture ends before the film runs on from it.
    if (m_search)
        return statusOk;
    if (m_tail && m_sound.isSilent())
        pursue({mediaTimeAt(*m_tail - m_film.times.first), SeekTo::Time});
    else
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
    const FilmTimes &times = m_film.times;
    m_shown = m_core.flag("eof-reached") ? end() : m_core.number("time-pos").value_or(m_shown);
    m_shown = std::max(m_shown, times.first);
    m_next.reset();
    if (!m_film.hasPictures())
        return statusOk;
    if (m_pictures)
        standAt(m_shown);
    else if (times.last)
        m_shown = std::min(m_shown, *times.last);
    else if (m_film.duration > 0 && (m_core.flag("eof-reached") || tellsMoreThanIsDrawn(m_shown)))
        // Once the pictures have ended the core tells the sound's time; the picture that is there has to be found.
        pursue({pictureMediaTime(m_shown - times.first, 1.0 / times.frame), SeekTo::Time});
    return statusOk;
}

void MpvSession::standAt(double told)
{
    // Where the pictures end, the core goes over from their time to the sound's, which may be a little behind.
    const double drawn = m_toldAtPicture.value_or(told);
    double latest = drawn - told < shortestTail ? std::max(told, drawn) : told;
    const bool isPictureTime = isOfPicture(latest);
    if (!isPictureTime) {
        // The position has told a sound's time just before a picture as that picture's.
        const double first = m_film.times.first;
        latest = first + secondsOf(pictureMediaTime(latest - first, 1.0 / m_film.times.frame));
    }
    const auto picture = m_pictures->at(latest);
    if (!picture)
        return;
    m_shown = *picture;
    if (isTail(told, *picture)) {
        m_tail = told;
        return;
    }
    // Where the pictures have ended, what the sound's time happens to name proves nothing.
    const auto later = m_pictures->at(latest + longestSoundDelay).value_or(*picture);
    const auto next = m_pictures->after(later);
    const bool isAtEnd = next.isKnown && !next.picture;
    // A core whose decoder has found no picture since a seek tells the sound's time, and what is drawn is older.
    if (isAtEnd || !isPictureTime)
        pursue({pictureMediaTime(*picture - m_film.times.first, 1.0 / m_film.times.frame), SeekTo::Time});
}

bool MpvSession::isOfPicture(double told)
{
    const auto picture = m_pictures ? m_pictures->at(told) : std::nullopt;
    return !picture || std::abs(told - *picture) <= PictureSearch::knownTolerance;
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

double MpvSession::position()
{
    if (m_search)
        return secondsOf(m_wish ? m_wish->time : m_searched.time);
    double seconds = m_tail.value_or(m_shown);
    if (!m_wantPaused)
        seconds = m_core.flag("eof-reached") ? end() : m_core.number("time-pos").value_or(m_shown);
    return std::max(seconds - m_film.times.first, 0.0);
}

// The core's seconds for where a film that runs stands at its end.
double MpvSession::end()
{
    if (m_pictures && !m_end) {
        if (const auto last = m_pictures->at(m_film.times.end))
            m_end = isTail(m_film.times.end, *last) ? m_film.times.end : *last;
    }
    const auto told = [this] { return m_core.number("time-pos").value_or(m_shown); };
    return m_end ? *m_end : m_film.times.last ? *m_film.times.last : told();
}

double MpvSession::nextPicture()
{
    constexpr double never = std::numeric_limits<double>::infinity();
    if (!m_pictures || m_search || m_tail)
        return never;
    if (!m_next) {
        const auto next = m_pictures->after(m_shown);
        m_next = next.picture.value_or(next.isKnown ? m_film.times.end : never);
    }
    return *m_next - m_film.times.first;
}

bool MpvSession::isSettled()
{
    m_core.drain();
    return !m_search;
}

bool MpvSession::isTail(double seconds, double picture)
{
    if (seconds - picture <= m_film.times.frame + shortestTail)
        return false;
    const auto next = m_pictures->after(picture);
    return next.isKnown && !next.picture;
}

std::optional<KnownPicture> MpvSession::knownPicture(std::optional<double> seconds)
{
    const auto group = seconds ? m_pictures->groupSeconds(*seconds) : std::nullopt;
    return group ? std::optional(KnownPicture{*seconds, *group, m_pictures->hasIndex()}) : std::nullopt;
}

MpvSession::Aim MpvSession::aimOf(const Wish &wish)
{
    if (!m_pictures)
        return {};
    if (wish.picture != SeekTo::Time) {
        const auto neighbour =
            wish.picture == SeekTo::NextPicture ? m_pictures->after(m_shown) : m_pictures->before(m_shown);
        return {knownPicture(neighbour.picture), neighbour.isKnown && !neighbour.picture, m_tail};
    }
    const double asked = m_film.times.first + secondsOf(wish.time);
    const auto picture = m_pictures->at(asked);
    if (picture && isTail(asked, *picture))
        return {knownPicture(picture), false, asked};
    return {knownPicture(picture), false, std::nullopt};
}

void MpvSession::pursue(const Wish &wish)
{
    m_searched = wish;
    if (!m_wantPaused)
        m_shown = m_core.number("time-pos").value_or(m_shown);
    const Aim aim = aimOf(wish);
    m_tail.reset();
    m_tailAsked = aim.isNowhere || wish.picture == SeekTo::Time ? aim.tail : std::nullopt;
    FilmTimes times = m_film.times;
    if (m_tailAsked && !m_wantPaused) {
        // Sound alone is sought.
        times.frame = 0.0;
        m_sound.wake();
    }
    m_search.emplace(times, m_shown, m_film.times.first + secondsOf(wish.time), wish.picture, m_wantPaused,
                     aim.picture);
    if (aim.isNowhere) {
        finish();
        return;
    }
    if (m_wantPaused && m_film.hasPictures())
        m_sound.silence();
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
    const bool hasPicture = m_command.isOfSound() ? m_command.hasBegunPicture() : m_wantPaused || isOfPicture(here);
    const SearchCommand next = m_search->landed(here, atEnd, hasPicture);
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
    m_next.reset();
    m_tail = m_wantPaused && !m_wish ? m_tailAsked : std::nullopt;
    // A film that was told to run meanwhile runs on where its sound is.
    if (!m_wantPaused && !m_wish && m_tailAsked && m_sound.isSilent())
        m_wish = {mediaTimeAt(*m_tailAsked - m_film.times.first), SeekTo::Time};
    if (!m_wantPaused)
        m_toldAtPicture.reset();
    m_told = m_core.number("time-pos").value_or(m_told);
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
    if (DiskWait::putsOff(this, &MpvSession::pictureDrawn))
        return;
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
