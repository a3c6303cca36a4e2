#include "player/mpv/video_surface.h"

#include <mpv/render_gl.h>

#include <QOpenGLContext>
#include <QOpenGLFunctions>
#include <QOpenGLWidget>
#include <QPointer>

#include <array>
#include <atomic>

namespace {

class OpenGlSurface;

/// The framebuffer that the core draws into and Qt puts on the screen.
class OpenGlWidget : public QOpenGLWidget {
public:
    OpenGlWidget(QWidget *panel, OpenGlSurface &surface) : QOpenGLWidget(panel), m_surface(surface) {}

protected:
    void paintGL() override;

private:
    OpenGlSurface &m_surface;
};

void *functionAddress(void *, const char *name)
{
    QOpenGLContext *current = QOpenGLContext::currentContext();
    return current ? reinterpret_cast<void *>(current->getProcAddress(name)) : nullptr;
}

/// The core draws with OpenGL into a widget's framebuffer.
class OpenGlSurface final : public VideoSurface {
public:
    explicit OpenGlSurface(QWidget *panel) : m_widget(new OpenGlWidget(panel, *this)) {}
    ~OpenGlSurface() override
    {
        detach();
        delete m_widget.data(); // the panel may have ended before and taken it along
    }

    QWidget *widget() const override { return m_widget; }
    bool turnsPictures() const override { return true; }
    QImage picture() override { return m_widget->grabFramebuffer(); }

    void paint()
    {
        if (!m_context) {
            QOpenGLFunctions *gl = QOpenGLContext::currentContext()->functions();
            gl->glClearColor(0.0F, 0.0F, 0.0F, 1.0F);
            gl->glClear(GL_COLOR_BUFFER_BIT);
            return;
        }
        const QSize size = m_widget->size() * m_widget->devicePixelRatioF();
        mpv_opengl_fbo target{static_cast<int>(m_widget->defaultFramebufferObject()), size.width(), size.height(), 0};
        int flip = 1;
        // Qt decides when the picture appears; waiting for its time here would block the window.
        int wait = 0;
        std::array parameters{mpv_render_param{MPV_RENDER_PARAM_OPENGL_FBO, &target},
                              mpv_render_param{MPV_RENDER_PARAM_FLIP_Y, &flip},
                              mpv_render_param{MPV_RENDER_PARAM_BLOCK_FOR_TARGET_TIME, &wait},
                              mpv_render_param{MPV_RENDER_PARAM_INVALID, nullptr}};
        mpv_render_context_render(m_context.get(), parameters.data());
    }

    bool attach(mpv_handle *core) override
    {
        // A widget has its OpenGL context once it has been shown.
        m_widget->show();
        if (!m_widget->isValid())
            (void)m_widget->grabFramebuffer();
        if (!m_widget->isValid())
            return false;
        m_widget->makeCurrent();
        mpv_opengl_init_params functions{functionAddress, nullptr};
        std::array parameters{
            mpv_render_param{MPV_RENDER_PARAM_API_TYPE, const_cast<char *>(MPV_RENDER_API_TYPE_OPENGL)},
            mpv_render_param{MPV_RENDER_PARAM_OPENGL_INIT_PARAMS, &functions},
            mpv_render_param{MPV_RENDER_PARAM_INVALID, nullptr}};
        mpv_render_context *created = nullptr;
        const bool made = mpv_render_context_create(&created, core, parameters.data()) >= 0;
        m_widget->doneCurrent();
        if (!made)
            return false;
        m_context.reset(created);
        mpv_render_context_set_update_callback(created, &OpenGlSurface::onUpdate, this);
        return true;
    }

    void detach() override
    {
        if (!m_context)
            return;
        mpv_render_context_set_update_callback(m_context.get(), nullptr, nullptr);
        if (m_widget)
            m_widget->makeCurrent();
        m_context.reset();
        if (m_widget)
            m_widget->update();
    }

    void service() override
    {
        m_serviceQueued = false;
        if (!m_context || !(mpv_render_context_update(m_context.get()) & MPV_RENDER_UPDATE_FRAME))
            return;
        const bool isNew = isNewPicture(m_context.get());
        if (isNew)
            beginPicture();
        if (m_widget->isVisible() && !m_widget->window()->isMinimized()) {
            m_widget->repaint();
        } else {
            // A hidden widget is not painted, yet the core waits for its picture to be taken.
            m_widget->makeCurrent();
            paint();
            m_widget->doneCurrent();
        }
        mpv_render_context_report_swap(m_context.get());
        if (isNew)
            endPicture();
    }

private:
    static void onUpdate(void *data)
    {
        // Called on the core's threads, where nothing but queueing a call is allowed.
        auto *surface = static_cast<OpenGlSurface *>(data);
        if (!surface->m_serviceQueued.exchange(true))
            QMetaObject::invokeMethod(surface, &OpenGlSurface::service, Qt::QueuedConnection);
    }

    QPointer<OpenGlWidget> m_widget;
    MpvRenderContext m_context;
    std::atomic_bool m_serviceQueued = false;
};

void OpenGlWidget::paintGL()
{
    m_surface.paint();
}

} // namespace

std::unique_ptr<VideoSurface> createOpenGlSurface(QWidget *panel)
{
    return std::make_unique<OpenGlSurface>(panel);
}
