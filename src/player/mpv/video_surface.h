#pragma once

#include "player/mpv/mpv_handle.h"

#include <QImage>
#include <QObject>

#include <atomic>
#include <memory>

class QWidget;

/// The widget a player core draws into, inside the video panel. It outlives the cores: one at a time is attached.
class VideoSurface : public QObject {
    Q_OBJECT

public:
    ~VideoSurface() override;

    /// Lets the core draw here; must happen before it loads a file. False if the core cannot draw this way.
    [[nodiscard]] bool attach(mpv_handle *core);

    /// Ends the core's drawing and clears the surface; nothing if no core is attached.
    void detach();

    /// Draws the picture that the core holds ready, if any. The user-interface thread calls this by itself; one
    /// that blocks while it waits for the core has to call it meanwhile, since the core waits for its picture.
    void service();

    [[nodiscard]] virtual QWidget *widget() const = 0;

    /// What is on the surface now, in device pixels. For tests and measurements.
    [[nodiscard]] virtual QImage picture() = 0;

Q_SIGNALS:
    /// A picture new to the core has been drawn.
    void pictureDrawn();

protected:
    VideoSurface() = default;

    [[nodiscard]] virtual MpvRenderContext createContext(mpv_handle *core) = 0;

    /// Draws the core's current picture; `context()` is set.
    virtual void draw() = 0;

    /// Shows what was drawn, or nothing after a detach.
    virtual void present() = 0;

    /// Called before the context ends, so that what it needs can be made current.
    virtual void beforeContextEnds() = 0;

    [[nodiscard]] mpv_render_context *context() const { return m_context.get(); }

private:
    static void onUpdate(void *surface);

    MpvRenderContext m_context;
    std::atomic_bool m_serviceQueued = false;
};

/// The surface for this machine inside `panel`: OpenGL where it runs on graphics hardware, else the core's own
/// software drawing. Owned by the caller, its widget by the panel.
[[nodiscard]] std::unique_ptr<VideoSurface> createVideoSurface(QWidget *panel);

/// The two kinds by name.
[[nodiscard]] std::unique_ptr<VideoSurface> createSoftwareSurface(QWidget *panel);
[[nodiscard]] std::unique_ptr<VideoSurface> createOpenGlSurface(QWidget *panel);
