#include "player/mpv/picture_command.h"

#include <QByteArray>

#include <algorithm>
#include <chrono>
#include <cmath>

namespace {

/// The core's own upper bound for its rate.
constexpr double fastestRate = 100.0;

/// A seek that has run past the last picture tells its own target for a time, give or take a sample of the sound
/// (seconds).
constexpr double endOfSeek = 60e-6;

/// How often a step that brings no picture is looked at.
constexpr auto endCheckInterval = std::chrono::milliseconds(80);

/// A command that has not landed by then is taken as landed where the core stands; later a seek of a film that stands,
/// while the core still works at it: its disk hangs.
constexpr auto longestWait = std::chrono::seconds(5);
constexpr auto longestSeek = std::chrono::minutes(2);

} // namespace

PictureCommand::PictureCommand(MpvCore &core, VideoSurface &surface) : m_core(core), m_surface(surface)
{
    m_patience.setSingleShot(true);
    connect(&m_patience, &QTimer::timeout, this, &PictureCommand::lookAgain);
    m_endCheck.setInterval(endCheckInterval);
    connect(&m_endCheck, &QTimer::timeout, this, &PictureCommand::checkForEnd);
}

bool PictureCommand::send(const SearchCommand &command, double from, double rate)
{
    m_kind = command.kind;
    m_isOfSound = command.isOfSound;
    m_from = from;
    m_reported = false;
    m_awaitedPicture = m_surface.picturesBegun() + 1;
    m_patience.start(longestWait);
    m_sent.start();
    return order(command, rate);
}

bool PictureCommand::order(const SearchCommand &command, double rate)
{
    switch (command.kind) {
    case SearchCommand::Seek:
        m_core.setNumber("speed", rate);
        m_core.setNumber("hr-seek-demuxer-offset", command.demuxerOffset);
        // The core counts negative times from the end.
        m_target = std::max(0.0, command.seconds);
        return m_core.command({"seek", QByteArray::number(m_target, 'f', 7).constData(), "absolute+exact"});
    case SearchCommand::StepForward:
        // The core shows the next picture no sooner than the rate has it follow.
        m_core.setNumber("speed", fastestRate);
        m_endCheck.start();
        return m_core.command({"frame-step"});
    case SearchCommand::StepBack:
        return m_core.command({"frame-back-step"});
    case SearchCommand::Done:
        break;
    }
    return false;
}

void PictureCommand::end()
{
    m_kind = SearchCommand::Done;
    m_patience.stop();
    m_endCheck.stop();
}

bool PictureCommand::isSeekPastEnd(double told) const
{
    return m_kind == SearchCommand::Seek && std::abs(told - m_target) < endOfSeek;
}

void PictureCommand::coreHasRestarted()
{
    if (m_kind != SearchCommand::Seek && m_kind != SearchCommand::StepBack)
        return;
    m_reported = true;
    // The core tells this once its picture was taken, which may not be drawn yet.
    m_awaitedPicture = std::max(m_awaitedPicture, m_surface.picturesBegun());
    // At the end of the film there may be no picture to draw.
    if (m_core.flag("eof-reached"))
        land();
    else
        pictureIsDrawn();
}

void PictureCommand::coreTells(double seconds)
{
    if (!isStepForward() || seconds <= m_from)
        return;
    m_reported = true;
    pictureIsDrawn();
}

void PictureCommand::pictureIsDrawn()
{
    if (m_kind != SearchCommand::Done && m_reported && isDrawn())
        land();
}

bool PictureCommand::isDrawn() const
{
    return m_isOfSound || m_surface.picturesDrawn() >= m_awaitedPicture;
}

void PictureCommand::checkForEnd()
{
    // The step is over and has brought no picture.
    if (isStepForward() && !isDrawn() && m_core.flag("pause") && m_core.flag("eof-reached"))
        land();
}

void PictureCommand::lookAgain()
{
    const bool goesOn = m_kind == SearchCommand::Seek && m_core.flag("pause") && m_core.flag("seeking")
                        && !m_sent.hasExpired(std::chrono::milliseconds(longestSeek).count());
    if (goesOn) {
        m_patience.start(longestWait);
        return;
    }
    // Else the core would take the step after the next command.
    if (isStepForward())
        m_core.setFlag("pause", true);
    land();
}

void PictureCommand::land()
{
    m_endCheck.stop();
    Q_EMIT landed();
}
