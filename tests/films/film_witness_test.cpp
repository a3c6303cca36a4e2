#include "film_maker.h"
#include "film_witness.h"

#include <QImage>
#include <QPainter>
#include <QTest>

// A picture is no witness unless it is one picture, whole and upright.

class FilmWitnessTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void onlyWholePicturesAreRead()
    {
        const QString path = makeFilm({.file = "witness.mkv", .frames = 2, .video = {"-c:v", "ffv1"}});
        const QByteArray pixels =
            outputOf("ffmpeg", {"-nostdin", "-v", "error", "-i", path, "-f", "rawvideo", "-pix_fmt", "gray", "pipe:1"});
        QCOMPARE(pixels.size(), 2 * 320 * 180);
        const auto *bytes = reinterpret_cast<const uchar *>(pixels.constData());
        const QImage first = QImage(bytes, 320, 180, 320, QImage::Format_Grayscale8).copy();
        const QImage second = QImage(bytes + 320 * 180, 320, 180, 320, QImage::Format_Grayscale8).copy();
        QCOMPARE(paintedFrameNumber(first), 0);
        QCOMPARE(paintedFrameNumber(second), 1);

        QImage mixed = first;
        QPainter painter(&mixed);
        painter.setOpacity(0.5);
        painter.drawImage(0, 0, second);
        painter.end();
        QImage torn = first;
        QPainter(&torn).drawImage(220, 0, second.copy(220, 0, 100, 180));
        QImage black = first;
        black.fill(Qt::black);
        for (const QImage &none :
             {mixed, torn, black, first.mirrored(true, true), first.copy(0, 40, 320, 140), QImage()})
            QCOMPARE(paintedFrameNumber(none), std::nullopt);
    }
};

QTEST_APPLESS_MAIN(FilmWitnessTest)
#include "film_witness_test.moc"
