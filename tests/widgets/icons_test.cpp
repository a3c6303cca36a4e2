#include "widgets/icons.h"

#include <QDirIterator>
#include <QImage>
#include <QPixmap>
#include <QTest>

class IconsTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void everyFileIsDrawn();
};

namespace {

/// How many pixels are painted; those with a colour, or all.
int painted(const QImage &image, int leastSaturation = 0)
{
    int count = 0;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            const QColor color = image.pixelColor(x, y);
            count += color.alpha() > 64 && color.saturation() >= leastSaturation;
        }
    }
    return count;
}

} // namespace

void IconsTest::everyFileIsDrawn()
{
    // The files are there from the first use.
    QCOMPARE(painted(icon("no such icon").pixmap(16, 16).toImage()), 0);
    QDirIterator files(":/icons", {"*.svg"});
    int count = 0;
    for (; files.hasNext(); ++count) {
        const QByteArray name = QFileInfo(files.next()).completeBaseName().toLatin1();
        const QIcon drawn = icon(name);
        for (const qreal ratio : {1.0, 1.5, 2.0}) {
            const QPixmap pixmap = drawn.pixmap(QSize(16, 16), ratio);
            const int side = qRound(16 * ratio);
            QCOMPARE(pixmap.size(), QSize(side, side));
            QVERIFY2(painted(pixmap.toImage()) > side * side / 20, name);
        }
        const QImage disabled = drawn.pixmap(QSize(32, 32), 1, QIcon::Disabled).toImage();
        QVERIFY2(painted(disabled) > 40 && painted(disabled, 80) == 0, name);
    }
    QVERIFY(count > 30);
}

QTEST_MAIN(IconsTest)
#include "icons_test.moc"
