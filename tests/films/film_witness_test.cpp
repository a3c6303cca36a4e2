#include "film_maker.h"
#include "film_witness.h"

#include <QImage>
#include <QPainter>
#include <QProcess>
#include <QTest>

#include <algorithm>

class FilmWitnessTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void everyFrameIsReadBack_data();
    void everyFrameIsReadBack();
    void filmsAreWhatTheyAreNamedFor();
    void smallAndBorderedPicturesAreRead();
    void otherPicturesAreRefused();
};

namespace {

// Every picture of a film as the ffmpeg program shows it, upright.
std::vector<QImage> pictures(const QString &path, const QSize &size)
{
    QProcess decoder;
    decoder.start("ffmpeg", {"-nostdin", "-loglevel", "error", "-i", path, "-map", "0:v:0", "-vsync", "passthrough",
                             "-f", "rawvideo", "-pix_fmt", "rgb24", "pipe:1"});
    if (!decoder.waitForFinished(60'000) || decoder.exitCode() != 0)
        qFatal("%s", decoder.readAllStandardError().constData());
    const QByteArray bytes = decoder.readAllStandardOutput();
    const qsizetype each = static_cast<qsizetype>(size.width()) * size.height() * 3;
    std::vector<QImage> result;
    for (qsizetype at = 0; at + each <= bytes.size(); at += each) {
        result.push_back(QImage(reinterpret_cast<const uchar *>(bytes.constData() + at), size.width(), size.height(),
                                size.width() * 3, QImage::Format_RGB888)
                             .copy());
    }
    return result;
}

} // namespace

void FilmWitnessTest::everyFrameIsReadBack_data()
{
    QTest::addColumn<QString>("file");
    for (const FilmSpec &film : standardFilms())
        QTest::newRow(qPrintable(film.file)) << film.file;
}

void FilmWitnessTest::everyFrameIsReadBack()
{
    QFETCH(QString, file);
    const FilmSpec &film = standardFilm(file);
    const std::vector<QImage> frames = pictures(makeFilm(film), film.size);
    QCOMPARE(static_cast<int>(frames.size()), film.frames);
    for (int number = 0; number < film.frames; ++number)
        QCOMPARE(paintedFrameNumber(frames[static_cast<std::size_t>(number)]).value_or(-1), number);
}

void FilmWitnessTest::filmsAreWhatTheyAreNamedFor()
{
    for (const FilmSpec &film : standardFilms()) {
        const QString path = makeFilm(film);
        const std::vector<double> times = presentationTimes(path);
        std::vector<double> durations;
        for (std::size_t at = 1; at < times.size(); ++at)
            durations.push_back(times[at] - times[at - 1]);
        QVERIFY2(!durations.empty(), qPrintable(film.file));
        const auto [least, most] = std::minmax_element(durations.begin(), durations.end());
        if (film.constantRate) {
            QVERIFY2(*most - *least < 0.0021, qPrintable(film.file));
        } else {
            QVERIFY2(*least < 0.0205, qPrintable(film.file));
            QVERIFY2(*most > 0.059, qPrintable(film.file));
        }
        if (film.file.endsWith(".ts") || film.file.endsWith(".mpg"))
            QVERIFY2(times.front() > 0.3, qPrintable(film.file));
    }

    // Groups of 250 pictures that hold B pictures.
    QProcess probe;
    probe.start("ffprobe", {"-v", "error", "-select_streams", "v:0", "-show_entries", "frame=pict_type", "-of",
                            "csv=p=0", makeFilm(standardFilm("h264_25.mp4"))});
    QVERIFY(probe.waitForFinished(60'000));
    QByteArray types;
    for (const QByteArray &line : probe.readAllStandardOutput().split('\n'))
        types += line.left(1);
    QCOMPARE(types.count('I'), 2);
    QCOMPARE(types.lastIndexOf('I'), 250);
    QVERIFY(types.count('B') > 250);
}

void FilmWitnessTest::smallAndBorderedPicturesAreRead()
{
    const FilmSpec &film = standardFilm("h264_25.mp4");
    const std::vector<QImage> frames = pictures(makeFilm(film), film.size);
    for (const int number : {0, 1, 255, 256, 419}) {
        const QImage &frame = frames.at(static_cast<std::size_t>(number));
        for (const QSize size : {QSize(300, 169), QSize(160, 90), QSize(1280, 720), QSize(301, 240)}) {
            for (const auto mode : {Qt::FastTransformation, Qt::SmoothTransformation}) {
                const QImage scaled = frame.scaled(size, Qt::IgnoreAspectRatio, mode);
                QCOMPARE(paintedFrameNumber(scaled).value_or(-1), number);
            }
        }
        QImage bordered(500, 300, QImage::Format_RGB32);
        bordered.fill(Qt::black);
        QPainter(&bordered).drawImage(QRect(37, 11, 400, 225), frame);
        QCOMPARE(paintedFrameNumber(bordered).value_or(-1), number);
        QCOMPARE(paintedFrameNumber(frame.copy(1, 1, 318, 178)).value_or(-1), number);
    }
}

void FilmWitnessTest::otherPicturesAreRefused()
{
    const FilmSpec &film = standardFilm("h264_25.mp4");
    const std::vector<QImage> frames = pictures(makeFilm(film), film.size);

    QImage mixed = frames.at(100);
    QPainter painter(&mixed);
    painter.setOpacity(0.5);
    painter.drawImage(0, 0, frames.at(101));
    painter.end();
    QCOMPARE(paintedFrameNumber(mixed), std::nullopt);

    QImage torn = frames.at(100);
    QPainter(&torn).drawImage(220, 0, frames.at(101).copy(220, 0, 100, 180));
    QCOMPARE(paintedFrameNumber(torn), std::nullopt);

    QCOMPARE(paintedFrameNumber(frames.at(100).mirrored(true, true)), std::nullopt);
    QCOMPARE(paintedFrameNumber(frames.at(100).copy(0, 40, 320, 140)), std::nullopt);
    QImage grey(320, 180, QImage::Format_RGB32);
    grey.fill(Qt::gray);
    QCOMPARE(paintedFrameNumber(grey), std::nullopt);
    grey.fill(Qt::black);
    QCOMPARE(paintedFrameNumber(grey), std::nullopt);
    QCOMPARE(paintedFrameNumber(QImage()), std::nullopt);
}

QTEST_APPLESS_MAIN(FilmWitnessTest)
#include "film_witness_test.moc"
