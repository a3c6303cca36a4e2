#include "widgets/icons.h"

#include <QGuiApplication>
#include <QIconEngine>
#include <QPainter>
#include <QPalette>
#include <QPixmap>
#include <QSvgRenderer>

#include <map>
#include <utility>

// A static library's resources are there only once asked for; the macro wants no namespace around it.
static void loadIconFiles()
{
    Q_INIT_RESOURCE(icons);
}

namespace {

class SvgIconEngine : public QIconEngine {
public:
    explicit SvgIconEngine(const char *name) : m_name(name) {}

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
        loadIconFiles();
        QSvgRenderer picture(QStringLiteral(":/icons/") + QLatin1String(m_name) + QStringLiteral(".svg"));
        if (picture.isValid()) {
            QPainter painter(&image);
            picture.setAspectRatioMode(Qt::KeepAspectRatio);
            picture.render(&painter);
            if (disabled) {
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

    QIconEngine *clone() const override { return new SvgIconEngine(m_name); } // QIcon takes it

private:
    const char *m_name;
    std::map<std::pair<std::pair<int, int>, bool>, QPixmap> m_drawn;
};

} // namespace

QIcon icon(const char *name)
{
    return QIcon(new SvgIconEngine(name)); // QIcon takes it
}
