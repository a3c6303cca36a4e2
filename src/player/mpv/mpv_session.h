#pragma once

#include "player/graph.h"
#include "player/known_pictures.h"
#include "player/mpv/mpv_core.h"
#include "player/mpv/mpv_film.h"
#include "player/mpv/mpv_sound.h"
#include "player/mpv/picture_command.h"
#include "player/mpv/picture_search.h"
#include "player/mpv/video_surface.h"

#include <QObject>
#include <QString>

#include <cstdint>
#include <memory>
#include <optional>

/// One film in one player core: everything behind the graph's roles. One search for a picture is under way at a
/// time; a wish that comes meanwhile replaces the wish before it and is pursued when the command under way has
/// landed.
class MpvSession : public QObject {
    Q_OBJECT

public:
    /// Starts a core that draws into `surface`, which must outlive the session. `isValid` tells whether it runs.
    explicit MpvSession(VideoSurface &surface);
    ~MpvSession() override;

    [[nodiscard]] bool isValid() const { return m_attached; }

    /// Loads a regular local file, paused on its first picture. Blocks until that is there or cannot be.
    [[nodiscard]] Status render(const QString &path);

    [[nodiscard]] Status run();
    [[nodiscard]] Status pause();
    void stop();
    [[nodiscard]] bool isPaused() const { return m_wantPaused; }

    /// Looks for the picture at `time`, or for the neighbour of the one on the surface.
    [[nodiscard]] Status seek(MediaTime time, SeekTo picture);

    /// Seconds from the film's first picture to the one on the surface, to the one that is looked for, or to where
    /// the film runs.
    [[nodiscard]] double position();

    /// While paused, seconds from the film's first picture to the one after that on the surface; infinite where that
    /// is not known.
    [[nodiscard]] double nextPicture();

    /// True when no picture is being looked for: the newest wish's picture is on the surface.
    [[nodiscard]] bool isSettled();

    [[nodiscard]] Status setRate(double rate);
    [[nodiscard]] double rate() const { return m_rate; }

    [[nodiscard]] const MpvFilm &film() const { return m_film; }
    [[nodiscard]] double frameDuration() const { return m_film.times.frame; }
    [[nodiscard]] MediaTime duration() const { return m_film.duration; }
    [[nodiscard]] MpvSound &sound() { return m_sound; }
    [[nodiscard]] VideoSurface &surface() const { return m_surface; }

Q_SIGNALS:
    /// The newest wish's picture is on the surface.
    void landed();

private:
    struct Wish {
        MediaTime time = 0;
        SeekTo picture = SeekTo::Time;
    };

    void handle(const mpv_event &event);
    void propertyChanged(std::uint64_t observed, const mpv_event_property &property);
    void pictureDrawn();

    /// False if the core cannot show the film's first picture as its packets tell it.
    [[nodiscard]] bool goToFirst();

    /// What a wish means where the film's pictures are known.
    struct Aim {
        std::optional<KnownPicture> picture;
        bool isNowhere = false;     ///< there is no such neighbour
        std::optional<double> tail; ///< the time asked for, where only sound is left
    };
    [[nodiscard]] Aim aimOf(const Wish &wish);
    [[nodiscard]] std::optional<KnownPicture> knownPicture(std::optional<double> seconds);
    [[nodiscard]] bool isTail(double seconds, double picture);
    [[nodiscard]] double end();
    void standAt(double told);

    void pursue(const Wish &wish);
    void execute(const SearchCommand &command, double from);
    void land();
    void finish();
    void applyPause();
    /// False if the core tells a time that no picture has: that of the sound.
    [[nodiscard]] bool isOfPicture(double told);
    [[nodiscard]] bool tellsMoreThanIsDrawn(double told) const;

    VideoSurface &m_surface;
    MpvCore m_core;
    MpvFilm m_film;
    std::unique_ptr<KnownPictures> m_pictures; ///< null where they are not known
    MpvSound m_sound;
    PictureCommand m_command;
    bool m_attached = false;

    bool m_wantPaused = true;
    double m_rate = 1.0;
    double m_shown = 0.0;                  ///< time of the picture on the surface while paused (core's, seconds)
    std::optional<double> m_tail;          ///< where the sound stands after the last picture, while paused
    std::optional<double> m_tailAsked;     ///< what that is after the search
    std::optional<double> m_next;          ///< the picture after `m_shown`, once it was asked for; may be infinite
    std::optional<double> m_end;           ///< where the film stands at its end, once it was asked for
    double m_told = 0.0;                   ///< the core's time as it was observed last, seconds
    std::optional<double> m_toldAtPicture; ///< what that was at the last picture drawn, if one was since a search
    std::optional<PictureSearch> m_search; ///< under way
    Wish m_searched;                       ///< what it is for
    std::optional<Wish> m_wish;            ///< what to search next
};
