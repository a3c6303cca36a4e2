#include "widgets/icons.h"

#include "widgets/drawing.h"

#include <QFile>
#include <QGuiApplication>
#include <QIconEngine>
#include <QPainter>
#include <QPalette>
#include <QPixmap>

#include <map>
#include <utility>

// A static library's resources are there only once asked for; the macro wants no namespace around it.
static void loadIconFiles()
{
    Q_INIT_RESOURCE(icons);
}

namespace {

class DrawnIconEngine : public QIconEngine {
public:
    explicit DrawnIconEngine(const char *name) : m_name(name) {}

    void paint(QPainter *painter, const QRect &rect, QIcon::Mode mode, QIcon::State state) override
    {
        const qreal ratio = painter->device() ? painter->device()->devicePixelRatioF() : 1;
        QPixmap drawn = pixmap((QSizeF(rect.size()) * ratio).toSize(), mode, state);
        drawn.setDevicePixelRatio(ratio);
        painter->drawPixmap(rect, drawn);
    }

    // `size` is in device pixels.
    QPixmap pixmap(const QSize &size, QIcon::Mode mode, QIcon::State) override
    {
        const bool disabled = mode == QIcon::Disabled;
        const auto key = std::pair(std::pair(size.width(), size.height()), disabled);
        if (const auto found = m_drawn.find(key); found != m_drawn.end())
            return found->second;
        QImage image(size, QImage::Format_ARGB32_Premultiplied);
        image.fill(Qt::transparent);
        if (const auto drawing = readDrawing()) {
            QPainter painter(&image);
            painter.setRenderHint(QPainter::Antialiasing);
            const QSizeF scaled = drawing->size().scaled(size, Qt::KeepAspectRatio);
            painter.translate((size.width() - scaled.width()) / 2, (size.height() - scaled.height()) / 2);
            painter.scale(scaled.width() / drawing->size().width(), scaled.height() / drawing->size().height());
            drawing->paint(&painter);
            if (disabled) {
                painter.resetTransform();
                painter.setCompositionMode(QPainter::CompositionMode_SourceIn);
                painter.fillRect(image.rect(), QGuiApplication::palette().color(QPalette::Disabled, QPalette::Text));
            }
        }
        return m_drawn.emplace(key, QPixmap::fromImage(image)).first->second;
    }

    QPixmap scaledPixmap(const QSize &size, QIcon::Mode mode, QIcon::State state, qreal) override
    {
        return pixmap(size, mode, state);
    }

    QIconEngine *clone() const override { return new DrawnIconEngine(m_name); } // QIcon takes it

private:
    [[nodiscard]] std::optional<Drawing> readDrawing() const
    {
        loadIconFiles();
        QFile file(QStringLiteral(":/icons/") + QLatin1String(m_name) + QStringLiteral(".svg"));
        return file.open(QIODevice::ReadOnly) ? Drawing::read(file.readAll()) : std::nullopt;
    }

    const char *m_name;
    std::map<std::pair<std::pair<int, int>, bool>, QPixmap> m_drawn;
};

} // namespace

QIcon icon(const char *name)
{
    return QIcon(new DrawnIconEngine(name)); // QIcon takes it
}
