#pragma once

#include "player/mpv/mpv_handle.h"

#include <QImage>
#include <QObject>

#include <atomic>
#include <cstdint>
#include <memory>

class QWidget;

/// The widget a player core draws into, inside the film's panel. It outlives the cores: one at a time is attached.
class VideoSurface : public QObject {
    Q_OBJECT

public:
    /// Lets the core draw here; must happen before it loads a file. False if the core cannot draw this way.
    [[nodiscard]] virtual bool attach(mpv_handle *core) = 0;

    /// Ends the core's drawing and clears the surface; nothing if no core is attached.
    virtual void detach() = 0;

    /// Draws the picture that the core holds ready, if drawing is this thread's work. The event loop calls this by
    /// itself; a caller that blocks while it waits for the core has to call it meanwhile, since the core waits for
    /// its picture to be taken.
    virtual void service() = 0;

    [[nodiscard]] virtual QWidget *widget() const = 0;

    /// True if drawing turns pictures upright that a film carries on their side; false if the core has to turn them
    /// before.
    [[nodiscard]] virtual bool turnsPictures() const = 0;

    /// What is on the surface now, in device pixels. For tests and measurements.
    [[nodiscard]] virtual QImage picture() = 0;

    /// How many pictures new to the core drawing has begun, and ended, with.
    [[nodiscard]] std::uint64_t picturesBegun() const { return m_picturesBegun; }
    [[nodiscard]] std::uint64_t picturesDrawn() const { return m_picturesDrawn; }

Q_SIGNALS:
    /// `picturesDrawn` has grown.
    void pictureDrawn();

protected:
    VideoSurface() = default;

    void beginPicture() { ++m_picturesBegun; }
    void endPicture()
    {
        ++m_picturesDrawn;
        Q_EMIT pictureDrawn();
    }

private:
    std::atomic_uint64_t m_picturesBegun = 0;
    std::atomic_uint64_t m_picturesDrawn = 0;
};

/// True if the picture that `context` is about to draw was not drawn before.
[[nodiscard]] bool isNewPicture(mpv_render_context *context);

/// The surface for this machine inside `panel`: OpenGL where the system has it and graphics hardware runs it, else the
/// core's own software drawing. Owned by the caller, its widget by the panel.
[[nodiscard]] std::unique_ptr<VideoSurface> createVideoSurface(QWidget *panel);

/// The two kinds by name.
[[nodiscard]] std::unique_ptr<VideoSurface> createSoftwareSurface(QWidget *panel);
[[nodiscard]] std::unique_ptr<VideoSurface> createOpenGlSurface(QWidget *panel);
