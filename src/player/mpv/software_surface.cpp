#include "player/mpv/video_surface.h"

#include <mpv/render.h>

#include <QPaintEvent>
#include <QPainter>
#include <QPointer>
#include <QWidget>

#include <array>
#include <condition_variable>
#include <mutex>
#include <thread>
#include <utility>

namespace {

class SoftwareSurface;

/// Shows the surface's picture and tells it the size to draw in.
class SoftwareWidget : public QWidget {
public:
    SoftwareWidget(QWidget *panel, SoftwareSurface &surface) : QWidget(panel), m_surface(surface)
    {
        setAttribute(Qt::WA_OpaquePaintEvent);
    }

protected:
    void paintEvent(QPaintEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;

private:
    SoftwareSurface &m_surface;
};

/// The core scales and converts each picture into an image of the widget's size in device pixels, on a thread of
/// its own: the core waits for its pictures to be taken, and the window now and then for the core.
class SoftwareSurface final : public VideoSurface {
public:
    explicit SoftwareSurface(QWidget *panel) : m_widget(new SoftwareWidget(panel, *this)) {}
    ~SoftwareSurface() override
    {
        detach();
        delete m_widget.data(); // the panel may have ended before and taken it along
    }

    bool attach(mpv_handle *core) override;
    void detach() override;
    void service() override {}
    QWidget *widget() const override { return m_widget; }
    bool turnsPictures() const override { return false; }

    QImage picture() override
    {
        const std::scoped_lock lock(m_mutex);
        return m_image;
    }

    void resized()
    {
        const std::scoped_lock lock(m_mutex);
        m_ratio = m_widget->devicePixelRatioF();
        m_size = m_widget->size() * m_ratio;
        m_redraw = true;
        m_changed.notify_one();
    }

private:
    void drawPictures();
    [[nodiscard]] QImage draw(QSize size);

    QPointer<SoftwareWidget> m_widget;
    MpvRenderContext m_context;
    std::thread m_thread;

    std::mutex m_mutex;
    std::condition_variable m_changed;
    bool m_updated = false; ///< the core has something new
    bool m_redraw = false;  ///< the widget has a new size
    bool m_ended = false;
    QSize m_size;
    double m_ratio = 1.0;
    QImage m_image;
    QImage m_spare; ///< the image before, drawn into next if nobody holds it any more
};

bool SoftwareSurface::attach(mpv_handle *core)
{
    std::array parameters{mpv_render_param{MPV_RENDER_PARAM_API_TYPE, const_cast<char *>(MPV_RENDER_API_TYPE_SW)},
                          mpv_render_param{MPV_RENDER_PARAM_INVALID, nullptr}};
    mpv_render_context *created = nullptr;
    if (mpv_render_context_create(&created, core, parameters.data()) < 0)
        return false;
    m_context.reset(created);
    m_ended = false;
    resized();
    const auto onUpdate = [](void *data) {
        auto *surface = static_cast<SoftwareSurface *>(data);
        const std::scoped_lock lock(surface->m_mutex);
        surface->m_updated = true;
        surface->m_changed.notify_one();
    };
    mpv_render_context_set_update_callback(created, onUpdate, this);
    m_thread = std::thread(&SoftwareSurface::drawPictures, this);
    return true;
}

void SoftwareSurface::detach()
{
    if (!m_context)
        return;
    mpv_render_context_set_update_callback(m_context.get(), nullptr, nullptr);
    {
        const std::scoped_lock lock(m_mutex);
        m_ended = true;
        m_changed.notify_one();
    }
    m_thread.join();
    m_context.reset();
    m_image = {};
    if (m_widget)
        m_widget->update();
}

void SoftwareSurface::drawPictures()
{
    std::unique_lock lock(m_mutex);
    for (;;) {
        m_changed.wait(lock, [this] { return m_updated || m_redraw || m_ended; });
        if (m_ended)
            return;
        const bool updated = std::exchange(m_updated, false);
        const bool redraw = std::exchange(m_redraw, false);
        const QSize size = m_size;
        const double ratio = m_ratio;
        lock.unlock();

        const bool ready = updated && (mpv_render_context_update(m_context.get()) & MPV_RENDER_UPDATE_FRAME);
        if (ready || redraw) {
            const bool isNew = isNewPicture(m_context.get());
            if (isNew)
                beginPicture();
            QImage drawn = draw(size);
            drawn.setDevicePixelRatio(ratio);
            lock.lock();
            m_spare = std::exchange(m_image, std::move(drawn));
            lock.unlock();
            mpv_render_context_report_swap(m_context.get());
            QMetaObject::invokeMethod(m_widget.data(), qOverload<>(&QWidget::update), Qt::QueuedConnection);
            if (isNew)
                endPicture();
        }
        lock.lock();
    }
}

QImage SoftwareSurface::draw(QSize size)
{
    size = size.expandedTo(QSize(1, 1));
    QImage image = std::exchange(m_spare, {});
    if (image.size() != size || !image.isDetached())
        image = QImage(size, QImage::Format_RGB32);
    std::array<int, 2> target{size.width(), size.height()};
    auto stride = static_cast<std::size_t>(image.bytesPerLine());
    std::array parameters{mpv_render_param{MPV_RENDER_PARAM_SW_SIZE, target.data()},
                          mpv_render_param{MPV_RENDER_PARAM_SW_FORMAT, const_cast<char *>("bgr0")},
                          mpv_render_param{MPV_RENDER_PARAM_SW_STRIDE, &stride},
                          mpv_render_param{MPV_RENDER_PARAM_SW_POINTER, image.bits()},
                          mpv_render_param{MPV_RENDER_PARAM_INVALID, nullptr}};
    mpv_render_context_render(m_context.get(), parameters.data());
    return image;
}

void SoftwareWidget::paintEvent(QPaintEvent *event)
{
    QPainter painter(this);
    const QImage picture = m_surface.picture();
    // The picture of the size before does not cover a widget that has grown.
    if (picture.deviceIndependentSize() != QSizeF(size()))
        painter.fillRect(event->rect(), Qt::black);
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
