#include "widgets/icons.h"

#include <QDir>
#include <QDirIterator>
#include <QImage>
#include <QPixmap>
#include <QTest>

class IconsTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void everyFileIsDrawn_data();
    void everyFileIsDrawn();
    void unknownNamePaintsNothing();
};

namespace {

int inkedPixels(const QImage &image)
{
    int count = 0;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x)
            count += qAlpha(image.pixel(x, y)) > 64 ? 1 : 0;
    }
    return count;
}

bool hasColour(const QImage &image)
{
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            const QColor color = image.pixelColor(x, y);
            if (color.alpha() > 128 && color.saturation() > 80)
                return true;
        }
    }
    return false;
}

} // namespace

void IconsTest::everyFileIsDrawn_data()
{
    QTest::addColumn<QByteArray>("name");
    (void)icon("open").pixmap(16, 16); // the files are there from the first use
    QDirIterator files(":/icons", {"*.svg"});
    int count = 0;
    while (files.hasNext()) {
        const QByteArray name = QFileInfo(files.next()).completeBaseName().toLatin1();
        QTest::newRow(name.constData()) << name;
        ++count;
    }
    QVERIFY(count > 30);
}

void IconsTest::everyFileIsDrawn()
{
    QFETCH(QByteArray, name);
    const QIcon drawn = icon(name.constData());
    for (const qreal ratio : {1.0, 1.5, 2.0}) {
        const QPixmap pixmap = drawn.pixmap(QSize(16, 16), ratio);
        const int side = qRound(16 * ratio);
        QCOMPARE(pixmap.size(), QSize(side, side));
        const int inked = inkedPixels(pixmap.toImage());
        QVERIFY2(inked > side * side / 20, qPrintable(QString::number(inked)));
    }
    const QImage disabled = drawn.pixmap(QSize(32, 32), 1, QIcon::Disabled).toImage();
    QVERIFY(inkedPixels(disabled) > 40);
    QVERIFY(!hasColour(disabled));
}

void IconsTest::unknownNamePaintsNothing()
{
    QCOMPARE(inkedPixels(icon("no such icon").pixmap(16, 16).toImage()), 0);
}

QTEST_MAIN(IconsTest)
#include "icons_test.moc"
