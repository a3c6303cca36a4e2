#include "player/mpv/video_surface.h"

#include "platform/graphics_hardware.h"

#include <QWidget>

VideoSurface::~VideoSurface() = default;

bool VideoSurface::attach(mpv_handle *core)
{
    m_context = createContext(core);
    if (!m_context)
        return false;
    mpv_render_context_set_update_callback(m_context.get(), &VideoSurface::onUpdate, this);
    return true;
}

void VideoSurface::detach()
{
    if (!m_context)
        return;
    mpv_render_context_set_update_callback(m_context.get(), nullptr, nullptr);
    beforeContextEnds();
    m_context.reset();
    present();
}

void VideoSurface::service()
{
    m_serviceQueued = false;
    if (!m_context)
        return;
    if (mpv_render_context_update(m_context.get()) & MPV_RENDER_UPDATE_FRAME) {
        draw();
        present();
        mpv_render_context_report_swap(m_context.get());
        Q_EMIT pictureDrawn();
    }
}

void VideoSurface::onUpdate(void *data)
{
    // Called on the core's threads, where nothing but queueing a call is allowed.
    auto *surface = static_cast<VideoSurface *>(data);
    if (!surface->m_serviceQueued.exchange(true))
        QMetaObject::invokeMethod(surface, &VideoSurface::service, Qt::QueuedConnection);
}

std::unique_ptr<VideoSurface> createVideoSurface(QWidget *panel)
{
    if (hasGraphicsHardware()) {
        if (auto surface = createOpenGlSurface(panel))
            return surface;
    }
    return createSoftwareSurface(panel);
}
