#include "player/mpv/video_surface.h"

#include <mpv/render_gl.h>

#include <QOpenGLContext>
#include <QOpenGLFunctions>
#include <QOpenGLWidget>
#include <QPointer>

#include <array>

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
    QImage picture() override { return m_widget->grabFramebuffer(); }

    void paint()
    {
        if (!context()) {
            QOpenGLFunctions *gl = QOpenGLContext::currentContext()->functions();
            gl->glClearColor(0.0F, 0.0F, 0.0F, 1.0F);
            gl->glClear(GL_COLOR_BUFFER_BIT);
            return;
        }
        const QSize size = m_widget->size() * m_widget->devicePixelRatioF();
        mpv_opengl_fbo target{static_cast<int>(m_widget->defaultFramebufferObject()), size.width(), size.height(),
                              0};
        int flip = 1;
        // Qt decides when the picture appears; waiting for its time here would block the window.
        int wait = 0;
        std::array parameters{mpv_render_param{MPV_RENDER_PARAM_OPENGL_FBO, &target},
                              mpv_render_param{MPV_RENDER_PARAM_FLIP_Y, &flip},
                              mpv_render_param{MPV_RENDER_PARAM_BLOCK_FOR_TARGET_TIME, &wait},
                              mpv_render_param{MPV_RENDER_PARAM_INVALID, nullptr}};
        mpv_render_context_render(context(), parameters.data());
    }

protected:
    MpvRenderContext createContext(mpv_handle *core) override
    {
        // A widget has its OpenGL context once it has been shown.
        m_widget->show();
        if (!m_widget->isValid())
            (void)m_widget->grabFramebuffer();
        if (!m_widget->isValid())
            return nullptr;
        m_widget->makeCurrent();
        mpv_opengl_init_params functions{functionAddress, nullptr};
        std::array parameters{
            mpv_render_param{MPV_RENDER_PARAM_API_TYPE, const_cast<char *>(MPV_RENDER_API_TYPE_OPENGL)},
            mpv_render_param{MPV_RENDER_PARAM_OPENGL_INIT_PARAMS, &functions},
            mpv_render_param{MPV_RENDER_PARAM_INVALID, nullptr}};
        mpv_render_context *created = nullptr;
        mpv_render_context_create(&created, core, parameters.data());
        m_widget->doneCurrent();
        return MpvRenderContext(created);
    }

    void draw() override
    {
        // A hidden or minimised widget is not painted, yet the core waits for its picture to be taken.
        if (m_widget->isVisible() && !m_widget->window()->isMinimized())
            return;
        m_widget->makeCurrent();
        paint();
        m_widget->doneCurrent();
    }

    void present() override
    {
        if (m_widget)
            m_widget->repaint();
    }

    void beforeContextEnds() override
    {
        if (m_widget)
            m_widget->makeCurrent();
    }

private:
    QPointer<OpenGlWidget> m_widget;
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
