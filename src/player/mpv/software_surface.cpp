#include "player/mpv/video_surface.h"

#include <mpv/render.h>

#include <QPaintEvent>
#include <QPainter>
#include <QPointer>
#include <QWidget>

#include <array>

namespace {

class SoftwareSurface;

/// Shows the surface's picture and asks for a new one when its size has changed.
class SoftwareWidget : public QWidget {
public:
    SoftwareWidget(QWidget *panel, SoftwareSurface &surface) : QWidget(panel), m_surface(surface)
    {
        setAttribute(Qt::WA_OpaquePaintEvent);
        setAttribute(Qt::WA_NoMousePropagation, false);
    }

protected:
    void paintEvent(QPaintEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;

private:
    SoftwareSurface &m_surface;
};

/// The core scales and converts each picture into an image of the widget's size in device pixels.
class SoftwareSurface final : public VideoSurface {
public:
    explicit SoftwareSurface(QWidget *panel) : m_widget(new SoftwareWidget(panel, *this)) {}
    ~SoftwareSurface() override
    {
        detach();
        delete m_widget.data(); // the panel may have ended before and taken it along
    }

    QWidget *widget() const override { return m_widget; }
    QImage picture() override { return m_image; }

    void resized()
    {
        if (context()) {
            draw();
            present();
        }
    }

protected:
    MpvRenderContext createContext(mpv_handle *core) override
    {
        std::array parameters{
            mpv_render_param{MPV_RENDER_PARAM_API_TYPE, const_cast<char *>(MPV_RENDER_API_TYPE_SW)},
            mpv_render_param{MPV_RENDER_PARAM_INVALID, nullptr}};
        mpv_render_context *created = nullptr;
        mpv_render_context_create(&created, core, parameters.data());
        return MpvRenderContext(created);
    }

    void draw() override
    {
        const QSize size = m_widget->size() * m_widget->devicePixelRatioF();
        if (size.isEmpty())
            return;
        if (m_image.size() != size)
            m_image = QImage(size, QImage::Format_RGB32);
        std::array<int, 2> target{size.width(), size.height()};
        auto stride = static_cast<std::size_t>(m_image.bytesPerLine());
        std::array parameters{
            mpv_render_param{MPV_RENDER_PARAM_SW_SIZE, target.data()},
            mpv_render_param{MPV_RENDER_PARAM_SW_FORMAT, const_cast<char *>("bgr0")},
            mpv_render_param{MPV_RENDER_PARAM_SW_STRIDE, &stride},
            mpv_render_param{MPV_RENDER_PARAM_SW_POINTER, m_image.bits()},
            mpv_render_param{MPV_RENDER_PARAM_INVALID, nullptr}};
        mpv_render_context_render(context(), parameters.data());
        m_image.setDevicePixelRatio(m_widget->devicePixelRatioF());
    }

    void present() override
    {
        if (!context())
            m_image = {};
        if (m_widget)
            m_widget->update();
    }

    void beforeContextEnds() override {}

private:
    QPointer<SoftwareWidget> m_widget;
    QImage m_image;
};

void SoftwareWidget::paintEvent(QPaintEvent *event)
{
    QPainter painter(this);
    const QImage picture = m_surface.picture();
    if (picture.isNull())
        painter.fillRect(event->rect(), Qt::black);
    else
        painter.drawImage(QPoint(0, 0), picture);
}

void SoftwareWidget::resizeEvent(QResizeEvent *event)
{
    QWidget::resizeEvent(event);
    m_surface.resized();
}

} // namespace

std::unique_ptr<VideoSurface> createSoftwareSurface(QWidget *panel)
{
    return std::make_unique<SoftwareSurface>(panel);
}
