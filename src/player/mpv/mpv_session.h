#pragma once

#include "player/graph.h"
#include "player/mpv/mpv_handle.h"
#include "player/mpv/video_surface.h"

#include <QElapsedTimer>
#include <QObject>
#include <QString>
#include <QTimer>

#include <atomic>
#include <cstdint>
#include <optional>

/// One file in one player core: everything behind the graph's roles.
///
/// How a picture is reached. One command is under way at a time; a wish that comes meanwhile replaces the wish
/// before it and is pursued when the command has landed.
///  1. While paused, the next picture is one frame step, the previous one a frame step back; times a few pictures
///     ahead are stepped to as well, since that decodes those pictures only.
///  2. Everything else is an exact seek, which shows the first picture that starts at most 5 ms before its time.
///  3. A landing is proven by the picture's time. Transport and program streams land late: the seek is repeated
///     with the demuxer starting earlier, up to the beginning of the file, until it lands right or lands on the
///     same picture twice, which then is the first one after a gap.
///  4. A step that finds no picture, at either end of the film, leaves the picture that is there.
class MpvSession : public QObject {
    Q_OBJECT

public:
    /// Starts a core that draws into `surface`, which must outlive the session. `isValid` tells whether it runs.
    explicit MpvSession(VideoSurface &surface);
    ~MpvSession() override;

    [[nodiscard]] bool isValid() const { return m_core && m_attached; }

    /// Loads a local file, paused on its first picture. Blocks until that is there or cannot be.
    [[nodiscard]] Status render(const QString &path);

    [[nodiscard]] Status run();
    [[nodiscard]] Status pause();
    void stop();

    Status seek(MediaTime time, SeekTo picture);
    [[nodiscard]] MediaTime position();
    [[nodiscard]] MediaTime duration() const { return m_duration; }

    [[nodiscard]] Status setRate(double rate);
    [[nodiscard]] double rate();

    [[nodiscard]] std::int32_t width() const { return m_width; }
    [[nodiscard]] std::int32_t height() const { return m_height; }

    /// Seconds; 0 without a picture.
    [[nodiscard]] double averageTimePerFrame() const { return m_frameSeconds; }

    [[nodiscard]] VideoSurface &surface() const { return m_surface; }

    /// The level (0 to 0xFFFF) of this program's stream in the sound server, or nothing while it has none.
    [[nodiscard]] std::optional<std::uint16_t> streamLevel();

    /// Sets the level of the stream, or of the core's own mixer until there is a stream.
    void setLevel(std::uint16_t level);

Q_SIGNALS:
    /// The newest wish's picture is on the surface.
    void landed();

private:
    enum class Command { None, Seek, StepForward, StepBack };

    struct Wish {
        MediaTime time = 0;
        SeekTo picture = SeekTo::Time;
    };

    static void onWakeup(void *session);
    void drain();
    void handle(const mpv_event &event);

    void pursue();
    void sendSeek(double seconds);
    void sendStep(Command step);
    void seekLanded();
    void stepLanded();
    void finish();
    void applyPause();

    [[nodiscard]] std::optional<double> number(const char *property) const;
    [[nodiscard]] bool flag(const char *property) const;
    bool setFlag(const char *property, bool value);
    bool setNumber(const char *property, double value);
    bool command(std::initializer_list<const char *> words);
    void readVideoParameters();
    [[nodiscard]] bool waitForFirstPicture();

    VideoSurface &m_surface;
    MpvHandle m_core;
    bool m_attached = false;
    std::atomic_bool m_drainQueued = false;

    // What the file is.
    double m_zero = 0.0; ///< the core's time of the video's first picture, seconds
    MediaTime m_duration = 0;
    double m_frameSeconds = 0.0;
    std::int32_t m_width = 0;
    std::int32_t m_height = 0;

    // Where it stands.
    bool m_wantPaused = true;
    double m_shown = 0.0; ///< the core's time of the picture that is on the surface, seconds
    std::optional<Wish> m_wish;
    Command m_underWay = Command::None;
    Wish m_pursued;
    double m_seekSeconds = 0.0;
    double m_demuxerOffset = 0.0;
    std::optional<double> m_previousLanding;
    QTimer m_stepPatience;

    std::uint16_t m_level = 0xFFFF;
};
