#pragma once

#include "util/media_time.h"

#include <QString>

#include <algorithm>
#include <cstdint>
#include <limits>
#include <memory>
#include <optional>

class QWidget;

// The roles of a media library's playback graph, as the engine uses them. What a library reports is a status:
// negative is a failure, zero success, a positive one success with a remark.

using Status = std::int32_t;

constexpr Status statusOk = 0;
constexpr Status statusFailure = static_cast<Status>(0x80004005u);

[[nodiscard]] constexpr bool failed(Status status)
{
    return status < 0;
}

/// Which picture a seek means. A frame step names the neighbour of the picture on the screen: where frames are
/// not equally long, its time is not the one computed from the frame rate.
enum class SeekTo { Time, NextPicture, PreviousPicture };

/// Starts and stops the stream.
class MediaControl {
public:
    virtual ~MediaControl() = default;
    [[nodiscard]] virtual Status run() = 0;
    [[nodiscard]] virtual Status pause() = 0;
    virtual Status stop() = 0;
};

/// Obtained for the session and never read.
class MediaEvent {
public:
    virtual ~MediaEvent() = default;
};

/// Position, duration and rate. Media times are in 100-ns units. What every graph has to clamp, round and remember is
/// done here, once; a body does the rest in the functions that begin with `do`.
class MediaSeeking {
public:
    virtual ~MediaSeeking() = default;

    /// Seeks to `current` (absolute) and leaves the stop position alone. A time means the picture that is on the screen
    /// then: the last that starts at most `momentTolerance` after it. Times before the first or after the last picture
    /// mean that picture; of a stream without a duration only the next picture can be reached, while paused.
    /// A neighbour is the one of the picture that is there: while one is looked for, or while the pictures run, the
    /// time counts instead. The newest call counts.
    Status setPositions(MediaTime current, SeekTo picture);

    /// While paused the moment that stands for the picture on the screen (`pictureMediaTime`), or that of the sound
    /// where only sound is left; from a seek until its picture is there, the time asked for, inside the film.
    [[nodiscard]] MediaTime currentPosition();

    /// True when no picture is looked for: that of the newest seek is on the screen.
    [[nodiscard]] bool isSettled() { return doIsSettled(); }

    /// 0 for a stream that tells none.
    [[nodiscard]] MediaTime duration() { return std::max<MediaTime>(0, doDuration()); }

    [[nodiscard]] Status setRate(double rate) { return rate > 0.0 ? doSetRate(rate) : statusFailure; }
    [[nodiscard]] double rate() { return doRate(); }

protected:
    /// A body calls this when the picture of its newest seek is on the screen, at the earliest from within `doSeek`.
    void settled() { m_asked.reset(); }

private:
    /// Starts for `time`, which lies inside the film, or for a neighbour of the picture on the screen, about `time`;
    /// takes the place of a seek under way.
    [[nodiscard]] virtual Status doSeek(MediaTime time, SeekTo picture) = 0;
    [[nodiscard]] virtual bool doIsSettled() = 0;
    [[nodiscard]] virtual bool doIsPaused() = 0;

    /// Seconds from the film's first picture to the one on the screen, as the library tells them; to what is heard
    /// and seen while the film runs.
    [[nodiscard]] virtual double doPosition() = 0;
    /// While paused, seconds from the film's first picture to the one after that on the screen; infinite where that is
    /// not known.
    [[nodiscard]] virtual double doNextPicture() { return std::numeric_limits<double>::infinity(); }
    /// Average seconds from picture to picture; 0 without pictures.
    [[nodiscard]] virtual double doFrameDuration() = 0;
    [[nodiscard]] virtual MediaTime doDuration() = 0;
    [[nodiscard]] virtual Status doSetRate(double rate) = 0;
    [[nodiscard]] virtual double doRate() = 0;

    std::optional<MediaTime> m_asked; ///< the time of a seek that has not settled
};

/// What the film's picture is like.
class BasicVideo {
public:
    virtual ~BasicVideo() = default;

    /// Pixels, as shown; 0 without a picture.
    [[nodiscard]] virtual std::int32_t sourceWidth() = 0;
    [[nodiscard]] virtual std::int32_t sourceHeight() = 0;

    /// Seconds; 0 if the stream has no frame duration.
    [[nodiscard]] virtual double averageTimePerFrame() = 0;
};

/// Where the picture is shown.
class VideoWindow {
public:
    virtual ~VideoWindow() = default;
    [[nodiscard]] virtual Status setOwner(QWidget *owner) = 0;
    [[nodiscard]] virtual Status setWindowStyle(std::uint32_t styleBits) = 0;

    /// Logical pixels, relative to the owner.
    [[nodiscard]] virtual Status setWindowPosition(int x, int y, int width, int height) = 0;
};

/// An interface asked for, or null with the status that says why.
template <typename Interface>
struct Queried {
    Status status = statusFailure;
    std::unique_ptr<Interface> object;
};

/// One graph: renders one file and hands out the other roles. The roles must be released before their graph.
class GraphBuilder {
public:
    virtual ~GraphBuilder() = default;
    [[nodiscard]] virtual Queried<MediaControl> queryControl() = 0;
    [[nodiscard]] virtual Queried<MediaEvent> queryEvent() = 0;
    [[nodiscard]] virtual Queried<BasicVideo> queryBasicVideo() = 0;
    [[nodiscard]] virtual Queried<MediaSeeking> querySeeking() = 0;
    [[nodiscard]] virtual Queried<VideoWindow> queryVideoWindow() = 0;

    /// Loads the file and builds what plays it, without starting. Blocks until its first picture is known, as DiskWait
    /// does. Nothing but a regular local file is ever opened: no folder, pipe, device or address, whatever the name
    /// looks like.
    [[nodiscard]] Status renderFile(const QString &path);

private:
    /// `path` is absolute and names a regular file, which may be no film.
    [[nodiscard]] virtual Status doRenderFile(const QString &path) = 0;
};

/// The left and right level of the program's sound, 0 to 0xFFFF each.
struct WaveLevel {
    std::uint16_t left = 0xFFFF;
    std::uint16_t right = 0xFFFF;
};

/// A media library: where graphs come from.
class GraphSystem {
public:
    virtual ~GraphSystem() = default;

    /// Begin and end of the library's use on this thread, around the life of each graph.
    [[nodiscard]] virtual Status initialize() = 0;
    virtual void uninitialize() = 0;

    /// What the library lacks to be used, in Russian, for the user; empty where nothing is known to be missing.
    [[nodiscard]] virtual QString lack() const { return {}; }

    /// The library's name, for the user, where there is more than one; else empty.
    [[nodiscard]] virtual QString name() const { return {}; }

    /// The system that is to open the files that this one's graphs refuse to render; null where there is none.
    [[nodiscard]] virtual GraphSystem *successor() { return nullptr; }

    [[nodiscard]] virtual Queried<GraphBuilder> createGraphBuilder() = 0;

    /// The level of the program's own sound, which outlives a session and can be changed from outside.
    [[nodiscard]] virtual WaveLevel waveVolume() = 0;
    virtual void setWaveVolume(WaveLevel level) = 0;
};
