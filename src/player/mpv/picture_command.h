#pragma once

#include "player/mpv/mpv_core.h"
#include "player/mpv/picture_search.h"
#include "player/mpv/video_surface.h"

#include <QElapsedTimer>
#include <QTimer>

#include <cstdint>

/// One command of a search at a time: from the order to the core until the picture that it brings is drawn.
class PictureCommand : public QObject {
    Q_OBJECT

public:
    /// All of these must outlive this.
    PictureCommand(MpvCore &core, VideoSurface &surface);

    /// Sends `command` from the picture at `from` (the core's seconds); `rate` is the rate that the film plays at.
    /// False if there is nothing to send or the core refuses it.
    [[nodiscard]] bool send(const SearchCommand &command, double from, double rate);

    /// Nothing is under way any more.
    void end();

    [[nodiscard]] bool isStepForward() const { return m_kind == SearchCommand::StepForward; }

    /// The core runs and pauses by itself until this is over.
    [[nodiscard]] bool isStep() const { return isStepForward() || m_kind == SearchCommand::StepBack; }

    /// A seek of sound alone, and whether a picture came with it.
    [[nodiscard]] bool isOfSound() const { return m_isOfSound; }
    [[nodiscard]] bool hasBegunPicture() const { return m_surface.picturesBegun() >= m_awaitedPicture; }

    /// The core tells the seek's own target, as it does once it has run past the last picture.
    [[nodiscard]] bool isSeekPastEnd(double told) const;

    // What may have ended it.
    void coreHasRestarted();
    void coreTells(double seconds);
    void pictureIsDrawn();
    void checkForEnd();

Q_SIGNALS:
    /// It is over: its picture is on the surface, or the film's end was met, or nothing more is to be expected.
    void landed();

private:
    [[nodiscard]] bool order(const SearchCommand &command, double rate);
    [[nodiscard]] bool isDrawn() const;
    void lookAgain();
    void land();

    MpvCore &m_core;
    VideoSurface &m_surface;
    SearchCommand::Kind m_kind = SearchCommand::Done;
    double m_from = 0.0;
    double m_target = 0.0; ///< of a seek, seconds
    bool m_isOfSound = false;
    bool m_reported = false;            ///< the core has told that it is done
    std::uint64_t m_awaitedPicture = 0; ///< the surface's count of pictures that ends it
    QElapsedTimer m_sent;
    QTimer m_patience;
    QTimer m_endCheck;
};
