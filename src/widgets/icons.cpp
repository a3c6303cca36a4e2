#include "widgets/icons.h"

#include <QIconEngine>
#include <QPixmap>

namespace {

/// Hands everything on to an icon of the framework's, which is made late.
class LateIconEngine : public QIconEngine {
public:
    explicit LateIconEngine(const char *name) : m_name(name) {}

    void paint(QPainter *painter, const QRect &rect, QIcon::Mode mode, QIcon::State state) override
    {
        icon().paint(painter, rect, Qt::AlignCenter, mode, state);
    }

    // `size` is in device pixels.
    QPixmap pixmap(const QSize &size, QIcon::Mode mode, QIcon::State state) override
    {
        return icon().pixmap(size, 1, mode, state);
    }

    QIconEngine *clone() const override { return new LateIconEngine(m_name); } // QIcon takes it

private:
    const QIcon &icon()
    {
        // Where the format is not named, the framework loads all that it knows.
        if (m_icon.isNull())
            m_icon = QPixmap(QStringLiteral(":/icons/%1.png").arg(QLatin1String(m_name)), "PNG");
        return m_icon;
    }

    const char *m_name;
    QIcon m_icon;
};

} // namespace

QIcon icon(const char *name)
{
    return QIcon(new LateIconEngine(name)); // QIcon takes it
}
