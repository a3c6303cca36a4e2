#pragma once

#include "player/directshow/com.h"
#include "player/directshow/passing_pictures.h"
#include "player/graph.h"
#include "player/known_pictures.h"

#include <QElapsedTimer>
#include <QObject>
#include <QRect>
#include <QTimer>

#include <memory>
#include <optional>

/// One film in one DirectShow graph: everything behind the graph's roles. What picture is to be shown is known from
/// the film's packets; the graph is sent to the middle of its time, and the picture that comes out tells whether it is
/// the one. One seek is under way at a time; a wish that comes meanwhile replaces the wish before it.
class DirectShowSession : public QObject {
    Q_OBJECT

public:
    explicit DirectShowSession(Com<IGraphBuilder> graph);
    ~DirectShowSession() override;

    [[nodiscard]] IGraphBuilder &graph() const { return *m_graph.Get(); }

    /// Loads a regular local file, paused on its first picture. Refuses, besides what DirectShow refuses, what it
    /// cannot show picture by picture: a film whose packets tell no times, one whose pictures have to be turned or
    /// stretched, one whose pictures do not come out.
    [[nodiscard]] Status render(const QString &path);

    [[nodiscard]] Status run();
    [[nodiscard]] Status pause();
    void stop();
    [[nodiscard]] bool isPaused() const { return m_isPaused; }

    /// Looks for the picture at `time`, or for the neighbour of the one on the screen.
    [[nodiscard]] Status seek(MediaTime time, SeekTo picture);
    [[nodiscard]] bool isSettled();

    /// Seconds from the film's first picture, as `MediaSeeking` asks for them.
    [[nodiscard]] double position();
    [[nodiscard]] double nextPicture();
    [[nodiscard]] double frameDuration() const { return m_frame; }
    [[nodiscard]] MediaTime duration() const { return m_duration; }

    [[nodiscard]] Status setRate(double rate);
    [[nodiscard]] double rate() const;

Q_SIGNALS:
    /// The newest wish's picture is on the screen.
    void landed();

private:
    struct Wish {
        MediaTime time = 0;
        SeekTo picture = SeekTo::Time;
    };
    /// A picture that is looked for; container's seconds.
    struct Search {
        double picture = 0.0;
        double target = 0.0;
        QElapsedTimer since;
        QElapsedTimer come; ///< since its picture is on its way to the screen
    };

    [[nodiscard]] bool showFirst();
    void pursue(const Wish &wish);
    void goTo(double picture);
    void advance();
    void finish();
    [[nodiscard]] Status setPosition(double seconds);
    [[nodiscard]] double graphPosition() const;
    [[nodiscard]] double last();
    [[nodiscard]] bool isTail(double seconds, double picture);
    [[nodiscard]] double runningPosition();
    [[nodiscard]] bool isReady() const;

    Com<IGraphBuilder> m_graph;
    Com<IMediaControl> m_control;
    Com<IMediaSeeking> m_seeking;
    std::unique_ptr<KnownPictures> m_pictures; ///< in the container's seconds, as all seconds here
    std::unique_ptr<PassingPictures> m_passing;

    double m_first = 0.0;
    double m_frame = 0.0;
    MediaTime m_duration = 0;
    double m_zero = 0.0;          ///< the graph's position 0
    std::optional<double> m_last; ///< the film's last picture, once it was asked for
    bool m_isPaused = true;
    double m_shown = 0.0;         ///< the picture on the screen while paused
    std::optional<double> m_tail; ///< where the sound stands after the last picture, while paused
    double m_begun = 0.0;         ///< the moment that the graph was sent to last
    std::optional<Search> m_search;
    std::optional<Wish> m_wish; ///< what to look for next
    QTimer m_timer;             ///< looks after a search
};
