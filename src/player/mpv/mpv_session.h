#pragma once

#include "player/graph.h"
#include "player/mpv/mpv_handle.h"
#include "player/mpv/picture_search.h"
#include "player/mpv/video_surface.h"

#include <QObject>
#include <QString>
#include <QTimer>

#include <atomic>
#include <cstdint>
#include <optional>

/// One file in one player core: everything behind the graph's roles. One search for a picture is under way at a
/// time; a wish that comes meanwhile replaces the wish before it and is pursued when the command under way has
/// landed.
class MpvSession : public QObject {
    Q_OBJECT

public:
    /// Starts a core that draws into `surface`, which must outlive the session. `isValid` tells whether it runs.
    explicit MpvSession(VideoSurface &surface);
    ~MpvSession() override;

    [[nodiscard]] bool isValid() const { return m_core && m_attached; }

    /// Loads a regular local file, paused on its first picture. Blocks until that is there or cannot be. Nothing
    /// else is ever opened, whatever the file names.
    [[nodiscard]] Status render(const QString &path);

    [[nodiscard]] Status run();
    [[nodiscard]] Status pause();
    void stop();

    /// Of a stream without a duration, only its next picture can be reached.
    Status seek(MediaTime time, SeekTo picture);
    [[nodiscard]] MediaTime position();

    /// 0 for a stream that tells none and has no times.
    [[nodiscard]] MediaTime duration() const { return m_duration; }

    /// True when no picture is being looked for: the newest wish's picture is on the surface.
    [[nodiscard]] bool isSettled() const { return !m_search; }

    [[nodiscard]] Status setRate(double rate);
    [[nodiscard]] double rate() const { return m_rate; }

    [[nodiscard]] std::int32_t width() const { return m_width; }
    [[nodiscard]] std::int32_t height() const { return m_height; }

    /// Seconds; 0 without a picture.
    [[nodiscard]] double averageTimePerFrame() const { return m_film.frame; }

    [[nodiscard]] VideoSurface &surface() const { return m_surface; }

    /// The level (0 to 0xFFFF) of this program's stream in the sound server, which others may change there; while
    /// there is no stream, the level that the next one gets.
    [[nodiscard]] std::uint16_t level();

    /// Sets the level of the stream, or of the core's own mixer until there is a stream.
    void setLevel(std::uint16_t level);

Q_SIGNALS:
    /// The newest wish's picture is on the surface.
    void landed();

private:
    struct Wish {
        MediaTime time = 0;
        SeekTo picture = SeekTo::Time;
    };

    static void onWakeup(void *session);
    void drain();
    void handle(const mpv_event &event);
    void propertyChanged(std::uint64_t observed, const mpv_event_property &property);

    void pursue(const Wish &wish);
    void execute(const SearchCommand &command);
    void landIfDrawn();
    [[nodiscard]] bool isDrawn() const;
    void checkForEnd();
    [[nodiscard]] bool tellsMoreThanIsDrawn(double told) const;
    void land();
    void finish();
    void applyPause();
    void checkStart();

    [[nodiscard]] std::optional<double> number(const char *property) const;
    [[nodiscard]] bool flag(const char *property) const;
    bool setFlag(const char *property, bool value);
    bool setNumber(const char *property, double value);
    bool setString(const char *property, const char *value);
    bool command(std::initializer_list<const char *> words);
    void turnPictures();
    void readVideoParameters();
    [[nodiscard]] bool waitForFirstPicture();

    VideoSurface &m_surface;
    MpvHandle m_core;
    bool m_attached = false;
    std::atomic_bool m_drainQueued = false;

    // What the file is.
    FilmTimes m_film;
    MediaTime m_duration = 0;
    std::int32_t m_width = 0;
    std::int32_t m_height = 0;

    // Where it stands.
    bool m_wantPaused = true;
    double m_rate = 1.0;
    double m_shown = 0.0;                  ///< time of the picture on the surface while paused (core's, seconds)
    std::optional<PictureSearch> m_search; ///< under way
    MediaTime m_searched = 0;              ///< the time it was asked for
    std::optional<Wish> m_wish;            ///< what to search next
    SearchCommand::Kind m_underWay = SearchCommand::Done;
    bool m_reported = false;            ///< the core has told that the command under way is done
    std::uint64_t m_awaitedPicture = 0; ///< the surface's count of pictures that ends the command under way
    double m_here = 0.0;                ///< where the command before the one under way has landed, seconds
    double m_sent = 0.0;                ///< target of the seek under way, seconds
    /// No sound track is selected. While pictures are searched none is, since past the last picture the core tells
    /// the time of the sound; playing brings it back.
    bool m_silent = false;
    double m_told = 0.0;                   ///< the core's time as it was observed last, seconds
    std::optional<double> m_toldAtPicture; ///< what that was at the last picture drawn, if one was since a search
    std::optional<double> m_startedAt;     ///< the core's time when it was told to run, seconds
    QTimer m_startCheck;
    QTimer m_patience;
    QTimer m_endCheck;

    std::uint16_t m_level = 0xFFFF;
    bool m_levelApplied = false; ///< the stream has taken it
};
