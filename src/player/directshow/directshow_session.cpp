#include "player/directshow/directshow_session.h"

#include "util/media_time.h"
#include "widgets/disk_wait.h"

#include <QDir>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <limits>
#include <utility>

namespace {

using namespace std::chrono_literals;

/// Longer than a decoder needs that begins at the key picture of the longest group.
constexpr auto longestWait = 5s;
constexpr auto lookAfter = 10ms;
/// From when a picture has passed until the renderer has drawn it and a screen shows it.
constexpr auto drawingTime = 20ms;

/// Sound that outlasts the last picture by less is what an encoder leaves, and no part of the film (seconds).
constexpr double shortestTail = 0.25;

double inSeconds(REFERENCE_TIME time)
{
    return static_cast<double>(time) / static_cast<double>(unitsPerSecond);
}

bool hasPassed(const QElapsedTimer &timer, std::chrono::milliseconds time)
{
    return timer.hasExpired(time.count());
}

} // namespace

DirectShowSession::DirectShowSession(Com<IGraphBuilder> graph) : m_graph(std::move(graph))
{
    m_timer.setInterval(lookAfter);
    connect(&m_timer, &QTimer::timeout, this, &DirectShowSession::advance);
}

DirectShowSession::~DirectShowSession()
{
    stop();
}

Status DirectShowSession::render(const QString &path)
{
    Status status = ask(*m_graph.Get(), IID_IMediaControl, m_control);
    if (SUCCEEDED(status))
        status = ask(*m_graph.Get(), IID_IMediaSeeking, m_seeking);
    if (FAILED(status))
        return status;
    const Status rendered = m_graph->RenderFile(QDir::toNativeSeparators(path).toStdWString().c_str(), nullptr);
    if (FAILED(rendered))
        return rendered;
    m_pictures = KnownPictures::open(path, 0.0);
    if (!m_pictures || !m_pictures->areShownAsCoded())
        return statusFailure;
    m_passing = PassingPictures::watch(
        *m_graph.Get(), [this] { QMetaObject::invokeMethod(this, &DirectShowSession::advance, Qt::QueuedConnection); });
    return m_passing && showFirst() ? rendered : statusFailure;
}

bool DirectShowSession::showFirst()
{
    m_first = m_shown = m_pictures->first();
    m_frame = 1.0 / m_pictures->frameRate();
    // Before it has an owner, its window would be one of the desktop's.
    Com<IVideoWindow> window;
    if (FAILED(ask(*m_graph.Get(), IID_IVideoWindow, window)) || FAILED(window->put_AutoShow(OAFALSE))
        || FAILED(m_control->Pause()))
        return false;
    QElapsedTimer waited;
    waited.start();
    while (!m_passing->newest() && !hasPassed(waited, longestWait)) {
        // Lets other threads' calls of this one's windows through.
        MSG message;
        PeekMessageW(&message, nullptr, 0, 0, PM_NOREMOVE);
        Sleep(2);
    }
    const auto start = m_passing->newest();
    LONGLONG end = 0;
    if (!start || FAILED(m_seeking->GetDuration(&end)))
        return false;
    // Some graphs count from the first picture. One that counts from elsewhere has another idea of the film's times, as
    // of its edit list.
    m_zero = m_first - inSeconds(*start);
    if (std::abs(m_zero) > momentTolerance && std::abs(inSeconds(*start)) > momentTolerance)
        return false;
    m_begun = m_zero;
    m_duration = end - std::llround((m_first - m_zero) * unitsPerSecond);
    return true;
}

// Playing

Status DirectShowSession::run()
{
    m_isPaused = false;
    if (m_tail && !m_search) {
        (void)setPosition(*m_tail);
        m_tail.reset();
    }
    return m_control->Run();
}

Status DirectShowSession::pause()
{
    const double here = m_search ? m_search->picture : runningPosition();
    m_isPaused = true;
    const Status status = m_control->Pause();
    if (m_search || FAILED(status))
        return status;
    // The picture that is drawn may be the one before.
    const auto picture = m_pictures->at(here);
    if (picture && isTail(here, *picture)) {
        m_shown = *picture;
        m_tail = here;
    } else {
        goTo(picture.value_or(m_shown));
    }
    return status;
}

void DirectShowSession::stop()
{
    m_search.reset();
    m_timer.stop();
    if (m_control)
        m_control->Stop();
}

Status DirectShowSession::setRate(double rate)
{
    if (rate == this->rate())
        return statusOk;
    const Status status = m_seeking->SetRate(rate);
    if (status != S_OK)
        return status;
    // The graph begins anew with a rate, and what was under way may be lost.
    if (m_search)
        goTo(m_search->picture);
    else if (m_isPaused && !m_tail)
        goTo(m_shown);
    return rate == this->rate() ? statusOk : S_FALSE;
}

double DirectShowSession::rate() const
{
    double rate = 1.0;
    return SUCCEEDED(m_seeking->GetRate(&rate)) ? rate : 1.0;
}

// Reaching a picture

Status DirectShowSession::seek(MediaTime time, SeekTo picture)
{
    if (m_search)
        m_wish = {time, picture};
    else
        pursue({time, picture});
    return statusOk;
}

void DirectShowSession::pursue(const Wish &wish)
{
    const double asked = m_first + secondsOf(wish.time);
    if (wish.picture != SeekTo::Time) {
        const auto neighbour =
            wish.picture == SeekTo::NextPicture ? m_pictures->after(m_shown) : m_pictures->before(m_shown);
        if (neighbour.picture) {
            m_tail.reset();
            goTo(*neighbour.picture);
            return;
        }
        if (neighbour.isKnown) {
            finish();
            return;
        }
    }
    const double picture = m_pictures->at(asked).value_or(asked);
    m_tail.reset();
    if (!isTail(asked, picture)) {
        goTo(picture);
    } else if (m_isPaused) {
        goTo(picture);
        m_tail = asked;
    } else {
        (void)setPosition(asked);
        finish();
    }
}

void DirectShowSession::goTo(double picture)
{
    // Sent to a picture's own time, a graph may round to its neighbour. Some slots of a film hold no picture: a graph
    // sent there shows the next.
    const double next = m_pictures->after(picture).picture.value_or(picture + m_frame);
    const double target = picture + std::min(next - picture, m_frame) / 2.0;
    m_search.emplace();
    m_search->picture = picture;
    m_search->target = target;
    m_search->since.start();
    m_passing->expect();
    if (FAILED(setPosition(target)))
        finish();
    else
        m_timer.start();
}

void DirectShowSession::advance()
{
    if (DiskWait::putsOff(this, &DirectShowSession::advance))
        return;
    if (!m_search)
        return;
    const auto begin = m_passing->begin();
    if (begin && !m_search->come.isValid())
        m_search->come.start();
    const bool isDrawn = begin && isReady() && hasPassed(m_search->come, drawingTime);
    if (!isDrawn && !hasPassed(m_search->since, longestWait))
        return;
    m_shown = m_search->picture;
    // What starts later than the moment that was sought is a later picture.
    const double late = begin ? inSeconds(*begin) : 0.0;
    if (late > momentTolerance)
        m_shown = m_pictures->at(m_search->target + late).value_or(m_shown);
    finish();
}

void DirectShowSession::finish()
{
    m_search.reset();
    m_timer.stop();
    if (const auto wish = std::exchange(m_wish, std::nullopt))
        pursue(*wish);
    else
        Q_EMIT landed();
}

bool DirectShowSession::isReady() const
{
    OAFilterState state = State_Stopped;
    return m_control->GetState(0, &state) != VFW_S_STATE_INTERMEDIATE;
}

bool DirectShowSession::isSettled()
{
    advance();
    return !m_search;
}

Status DirectShowSession::setPosition(double seconds)
{
    m_begun = seconds;
    LONGLONG position = std::max<LONGLONG>(0, std::llround((seconds - m_zero) * unitsPerSecond));
    return m_seeking->SetPositions(&position, AM_SEEKING_AbsolutePositioning, nullptr, AM_SEEKING_NoPositioning);
}

// Where it stands

double DirectShowSession::graphPosition() const
{
    LONGLONG position = 0;
    return SUCCEEDED(m_seeking->GetCurrentPosition(&position)) ? m_zero + inSeconds(position) : m_shown;
}

double DirectShowSession::last()
{
    if (!m_last)
        m_last = m_pictures->at(m_first + secondsOf(m_duration));
    return m_last.value_or(std::numeric_limits<double>::infinity());
}

bool DirectShowSession::isTail(double seconds, double picture)
{
    if (seconds - picture <= m_frame + shortestTail)
        return false;
    const auto next = m_pictures->after(picture);
    return next.isKnown && !next.picture;
}

double DirectShowSession::runningPosition()
{
    const double told = std::min(graphPosition(), m_first + secondsOf(m_duration));
    double here = told;
    // What the graph tells runs ahead of the screen while its sound begins. Only at the normal rate are a stream's
    // times the film's.
    const auto newest = m_passing->newest();
    if (newest && rate() == 1.0)
        here = m_begun + inSeconds(*newest);
    const double end = m_first + secondsOf(m_duration);
    if (here < end - 2.0 * m_frame && told - here <= m_frame + shortestTail)
        return here;
    if (isTail(told, last()))
        return told;
    return std::min(here, last());
}

double DirectShowSession::position()
{
    if (m_search)
        return m_search->picture - m_first;
    return (m_isPaused ? m_tail.value_or(m_shown) : runningPosition()) - m_first;
}

double DirectShowSession::nextPicture()
{
    constexpr double never = std::numeric_limits<double>::infinity();
    if (m_search || m_tail)
        return never;
    const auto next = m_pictures->after(m_shown);
    return next.picture ? *next.picture - m_first : next.isKnown ? secondsOf(m_duration) : never;
}
