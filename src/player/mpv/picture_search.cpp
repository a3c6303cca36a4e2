#include "player/mpv/picture_search.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

namespace {

/// What rounding of times in a container can move a picture by (seconds).
constexpr double jitter = 0.001;

/// The core shows the first picture that starts no more than 5 ms before a seek's target. The odd fraction keeps
/// the target away from the times that pictures have, which is how a seek past the last one is known.
constexpr double coreTolerance = 0.005;
constexpr double oddFraction = 0.000063;
constexpr double targetShift = coreTolerance - PictureSearch::seekTolerance - oddFraction;

constexpr double knownShift = coreTolerance - PictureSearch::knownTolerance - oddFraction;

/// The demuxer starts this many seconds before the group of a known picture, each time that the picture was missed.
constexpr std::array<double, 3> knownOffsets{0.5, 4.0, 16.0};

/// A demuxer without an index may go by the sound while that plays, which may lie so many seconds before the pictures.
constexpr double soundBefore = 1.0;

/// More steps than this are no way to a known picture.
constexpr int mostKnownSteps = 8;

/// While the film runs, a seek may have gone on by so much when its landing is seen (seconds).
constexpr double runningOn = 0.25;

/// A core that steps over a longer time without a picture (seconds) takes its time for it.
constexpr double longestStep = 5.0;

/// Stepping is cheaper than seeking for times at most this many pictures ahead.
constexpr double steppedPictures = 3.0;

/// The next of a series of ever longer ways back (seconds); the last one is the beginning of any film.
double furtherBack(double back, double frame)
{
    if (back <= 0.0)
        return 1.5 * frame;
    return back < 1.0 ? 1.0 : 4.0 * back;
}

} // namespace

PictureSearch::PictureSearch(const FilmTimes &film, double shown, double target, SeekTo goal, bool paused,
                             std::optional<KnownPicture> known)
    : m_film(film), m_shown(shown), m_target(known && film.frame > 0.0 ? known->seconds : std::max(target, film.first)),
      m_goal(goal), m_paused(paused), m_known(known), m_origin(shown), m_reached(shown),
      m_moment(goal == SeekTo::Time && paused ? m_target : std::numeric_limits<double>::infinity())
{
    if (m_film.last && !m_known)
        m_target = std::min(m_target, *m_film.last);
}

SearchCommand PictureSearch::start()
{
    if (m_film.frame <= 0.0)
        return seekSound();
    if (m_known)
        return startKnown();
    if (m_goal == SeekTo::NextPicture)
        return m_film.last && m_shown >= *m_film.last - jitter ? SearchCommand{} : step();
    if (m_goal == SeekTo::PreviousPicture) {
        if (m_shown <= m_film.first + jitter)
            return {};
        m_phase = Phase::SteppingBack;
        return {SearchCommand::StepBack};
    }
    const double ahead = m_target - m_shown;
    if (m_paused && ahead > seekTolerance && ahead < steppedPictures * m_film.frame)
        return step();
    return seekTarget();
}

SearchCommand PictureSearch::landed(double here, bool atEnd, bool hasPicture)
{
    switch (m_phase) {
    case Phase::SeekingKnown:
    case Phase::SteppingKnown:
        return knownLanded(here, atEnd, hasPicture);
    case Phase::SeekingSound:
        return soundLanded(hasPicture);
    case Phase::Seeking:
        return seekLanded(here, atEnd);
    case Phase::Stepping:
        return stepLanded(here, atEnd);
    case Phase::SteppingBack: {
        const double distance = m_origin - here;
        if (!atEnd && distance > jitter && distance < 1.5 * m_film.frame) {
            m_shown = here;
            return {};
        }
        return seekBefore();
    }
    case Phase::SeekingBefore:
        if (!atEnd && here < m_origin - jitter) {
            m_candidate = here;
            m_phase = Phase::SteppingUp;
            return {SearchCommand::StepForward};
        }
        return seekBefore();
    case Phase::SteppingUp:
        if (!atEnd && here < m_origin - jitter) {
            m_candidate = here;
            return {SearchCommand::StepForward};
        }
        m_goal = SeekTo::Time;
        m_target = m_candidate;
        return seekTarget();
    }
    return {};
}

SearchCommand PictureSearch::seek(double seconds)
{
    m_phase = Phase::Seeking;
    return {SearchCommand::Seek, std::max(seconds, m_film.first) + targetShift, m_demuxerOffset};
}

SearchCommand PictureSearch::seekTarget()
{
    m_back = 0.0;
    m_demuxerOffset = 0.0;
    m_lateLanding.reset();
    return seek(m_target);
}

SearchCommand PictureSearch::step()
{
    m_phase = Phase::Stepping;
    return {SearchCommand::StepForward};
}

SearchCommand PictureSearch::seekLanded(double here, bool atEnd)
{
    const double sought = m_target - m_back;
    if (atEnd) {
        if (sought <= m_film.first) {
            m_shown = m_film.first;
            return {};
        }
        if (m_back <= 0.0)
            m_target = std::min(m_target, m_film.end);
        m_back = furtherBack(m_back, m_film.frame);
        return seek(m_target - m_back);
    }
    const bool late = here > std::max(sought, m_film.first) + m_film.frame - seekTolerance + jitter;
    const bool moved = !m_lateLanding || here < *m_lateLanding - jitter;
    // A demuxer that started that much earlier cannot have missed a picture in between.
    const bool proven = !moved && m_demuxerOffset >= here - sought;
    constexpr double farthestOffset = 64.0;
    if (late && !proven && m_demuxerOffset < farthestOffset) {
        m_lateLanding = here;
        m_demuxerOffset = std::max(1.0, 4.0 * m_demuxerOffset);
        return seek(sought);
    }
    m_shown = here;
    return m_paused && here < m_target - seekTolerance - jitter ? step() : settle();
}

SearchCommand PictureSearch::stepLanded(double here, bool atEnd)
{
    if (atEnd) {
        m_film.last = m_shown;
        return {};
    }
    m_shown = here;
    const bool there = m_goal == SeekTo::NextPicture || here >= m_target - seekTolerance - jitter;
    return there ? settle() : step();
}

// The picture that is there is the one, unless it starts after the moment that is meant.
SearchCommand PictureSearch::settle()
{
    if (m_shown <= std::max(m_moment, m_film.first) + seekTolerance)
        return {};
    m_moment = std::numeric_limits<double>::infinity();
    m_origin = m_shown;
    m_back = 0.0;
    m_phase = Phase::SteppingBack;
    return {SearchCommand::StepBack};
}

SearchCommand PictureSearch::seekBefore()
{
    if (m_back > 0.0 && m_origin - m_back <= m_film.first) {
        // There is no picture before: back to the one that was shown.
        m_goal = SeekTo::Time;
        m_target = m_origin;
        return seekTarget();
    }
    m_back = m_back > 0.0 ? furtherBack(m_back, m_film.frame) : 3.0 * m_film.frame;
    const SearchCommand before = seek(m_origin - m_back);
    m_phase = Phase::SeekingBefore;
    return before;
}

// Known pictures

SearchCommand PictureSearch::startKnown()
{
    const double ahead = m_target - m_shown;
    const bool isNear = m_goal == SeekTo::NextPicture ? ahead < longestStep : ahead < steppedPictures * m_film.frame;
    return m_paused && ahead > jitter && isNear ? stepKnown() : seekKnown();
}

SearchCommand PictureSearch::stepKnown()
{
    ++m_steps;
    m_phase = Phase::SteppingKnown;
    return {SearchCommand::StepForward};
}

SearchCommand PictureSearch::seekKnown()
{
    m_phase = Phase::SeekingKnown;
    const double offset = m_seeks == 0 && m_known->isIndexed ? 0.0 : groupOffset();
    ++m_seeks;
    return {SearchCommand::Seek, m_target + knownShift, offset};
}

// How much before the known picture the demuxer starts.
double PictureSearch::groupOffset() const
{
    const double further = m_seeks > 0 ? knownOffsets.at(static_cast<std::size_t>(m_seeks) - 1) : 0.0;
    return m_known->groupSeconds + (m_paused ? 0.0 : soundBefore) + further;
}

SearchCommand PictureSearch::knownLanded(double here, bool atEnd, bool hasPicture)
{
    const double late = here - m_target;
    const bool hasRunOn = !m_paused && !atEnd && hasPicture && late > 0.0 && late < runningOn;
    if (std::abs(late) <= knownTolerance || hasRunOn) {
        // Not what the core tells, which it has rounded.
        m_shown = m_target;
        return {};
    }
    const bool sought = m_phase == Phase::SeekingKnown;
    if (atEnd && sought) {
        // The core tells no picture's time here.
        m_demuxerOffset = m_known->isIndexed ? 0.0 : m_known->groupSeconds;
        m_known.reset();
        m_back = furtherBack(0.0, m_film.frame);
        return seek(m_target - m_back);
    }
    const bool isNear = late < 0.0 && (!sought || -late < steppedPictures * m_film.frame);
    // A core that waits for sound near a film's end takes no step.
    const bool hasMoved = sought || here > m_reached + jitter;
    m_reached = here;
    if (m_paused && !atEnd && isNear && hasMoved && m_steps < mostKnownSteps)
        return stepKnown();
    if (static_cast<std::size_t>(m_seeks) <= knownOffsets.size())
        return seekKnown();
    m_shown = here;
    if (m_goal != SeekTo::PreviousPicture || here < m_origin - jitter)
        return {};
    m_known.reset();
    return seekBefore();
}

// Sound alone

SearchCommand PictureSearch::seekSound()
{
    m_phase = Phase::SeekingSound;
    double offset = 0.0;
    if (m_known) {
        offset = m_target - m_known->seconds + groupOffset();
        ++m_seeks;
    }
    return {SearchCommand::Seek, m_target + targetShift, offset, true};
}

SearchCommand PictureSearch::soundLanded(bool hasPicture)
{
    if (m_known && !hasPicture && static_cast<std::size_t>(m_seeks) <= knownOffsets.size())
        return seekSound();
    // Sound is sought exactly, but the core tells a time earlier by what the device has not played yet.
    m_shown = std::min(m_target, m_film.end);
    return {};
}
