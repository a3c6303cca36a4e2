#include "reader/film.h"
#include "reader_films.h"

#include "films/film_witness.h"

#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QImage>
#include <QProcess>
#include <QRandomGenerator>
#include <QTemporaryDir>
#include <QTest>

#include <array>
#include <cstring>

// Films that a reader could give up on: it answers every read of them, and in time.

class HardFilmsTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { av_log_set_level(AV_LOG_QUIET); }
    void damagedStretch_data();
    void damagedStretch();
    void withoutAnyPictureItIsBlack();
    void aShortenedFilmIsReadToItsEnd_data();
    void aShortenedFilmIsReadToItsEnd();
    void tenHours_data();
    void tenHours();
    void picturesLargerThanCanBeHeldAreRefused();
    void coloursThatDoNotExistAreGuessed();
};

namespace {

bool never()
{
    return false;
}

QByteArray contentOf(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

QString filmCalled(const QString &name)
{
    for (const ReaderFilm &film : readerFilms()) {
        if (film.made.file == name)
            return makeReaderFilm(film);
    }
    qFatal("no film %s", qPrintable(name));
}

bool write(const QString &path, const QByteArray &bytes)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size();
}

QByteArray readPicture(Film &film, std::int64_t index)
{
    QByteArray pixels(static_cast<qsizetype>(film.pictureBytes()), '\x55');
    const bool answered =
        film.read(index, std::as_writable_bytes(std::span(pixels.data(), film.pictureBytes())), never);
    return answered ? pixels : QByteArray();
}

std::optional<int> numberOf(const Film &film, const QByteArray &pixels)
{
    return paintedFrameNumber(QImage(reinterpret_cast<const uchar *>(pixels.constData()), film.width(), film.height(),
                                     film.width() * 3, QImage::Format_BGR888));
}

void addFilms(std::initializer_list<const char *> names)
{
    QTest::addColumn<QString>("name");
    for (const char *name : names)
        QTest::newRow(name) << QString(name);
}

} // namespace

void HardFilmsTest::damagedStretch_data()
{
    addFilms({"reader_h264.mp4", "reader_h264.mkv", "reader_h264.ts", "reader_h264.avi", "reader_h264.flv",
              "reader_hevc.mp4", "reader_hevc.ts", "reader_mpeg2.ts", "reader_mpeg2.mpg", "reader_mpeg4.avi",
              "reader_vp9.webm", "reader_av1.mkv", "reader_mjpeg.avi", "reader_wmv2.wmv"});
}

void HardFilmsTest::damagedStretch()
{
    QFETCH(QString, name);
    const QString whole = filmCalled(name);
    QByteArray bytes = contentOf(whole);
    const quint32 seed = QRandomGenerator::global()->generate();
    qInfo("seed %u", seed);
    QRandomGenerator random(seed);
    for (qsizetype at = bytes.size() * 45 / 100; at < bytes.size() * 55 / 100; ++at)
        bytes[at] = static_cast<char>(random.generate());
    const QTemporaryDir folder;
    const QString path = folder.filePath(QFileInfo(whole).fileName());
    QVERIFY(write(path, bytes));

    const auto film = Film::open(path.toStdString(), never, never);
    QVERIFY(film);
    const std::vector<WitnessedPicture> pictures = witnessedPictures(whole);
    for (const int index : {129, 0, 60, 64, 65, 66, 67, 70, 20, 128, 30, 65}) {
        const QByteArray pixels = readPicture(*film, index);
        QVERIFY2(!pixels.isEmpty(), qPrintable(QString::number(index)));
        const auto number = numberOf(*film, pixels);
        if (index <= 30 || index >= 128) {
            // Intact, and no picture nearby refers to damage.
            const QByteArray hash = pictureHash(pixels.constData(), pixels.size());
            QVERIFY2(hash == pictures[static_cast<std::size_t>(index)].hash,
                     qPrintable(QString("%1 is %2").arg(index).arg(number.value_or(-1))));
        } else if (number) {
            QVERIFY2(*number <= index, qPrintable(QString("%1 is %2").arg(index).arg(*number)));
        }
    }
}

void HardFilmsTest::withoutAnyPictureItIsBlack()
{
    QByteArray bytes = contentOf(filmCalled("reader_h264.mp4"));
    const qsizetype data = bytes.indexOf("mdat");
    const qsizetype table = bytes.indexOf("moov");
    QVERIFY(data > 0 && table > data);
    std::fill(bytes.begin() + data + 4, bytes.begin() + table - 4, '\0');
    const QTemporaryDir folder;
    const QString path = folder.filePath("nothing.mp4");
    QVERIFY(write(path, bytes));
    const auto film = Film::open(path.toStdString(), never, never);
    QVERIFY(film);
    QCOMPARE(QSize(film->width(), film->height()), QSize(160, 120));
    for (const int index : {0, 50, 129, 1000})
        QCOMPARE(readPicture(*film, index), QByteArray(160 * 120 * 3, '\0'));
}

void HardFilmsTest::aShortenedFilmIsReadToItsEnd_data()
{
    addFilms({"reader_h264.mkv", "reader_h264.ts", "reader_h264.flv", "reader_h264_fragments.mp4", "reader_hevc.ts",
              "reader_mpeg2.mpg", "reader_mpeg4.avi", "reader_vp9.webm"});
}

// A download that was broken off.
void HardFilmsTest::aShortenedFilmIsReadToItsEnd()
{
    QFETCH(QString, name);
    const QString whole = filmCalled(name);
    const QByteArray bytes = contentOf(whole);
    const QTemporaryDir folder;
    const QString path = folder.filePath(QFileInfo(whole).fileName());
    QVERIFY(write(path, bytes.first(bytes.size() * 6 / 10)));
    const auto film = Film::open(path.toStdString(), never, never);
    QVERIFY(film);
    const auto last = numberOf(*film, readPicture(*film, 129));
    // The last picture itself may be broken off.
    QVERIFY2(!last || (*last > 40 && *last < 129), qPrintable(QString::number(*last)));
    QCOMPARE(readPicture(*film, 1'000'000), readPicture(*film, 129));
    QCOMPARE(numberOf(*film, readPicture(*film, 40)), 40);
    QCOMPARE(numberOf(*film, readPicture(*film, 25)), 25);
}

void HardFilmsTest::tenHours_data()
{
    addFilms({"film.mkv", "film.ts", "film.mp4", "film.avi"});
}

void HardFilmsTest::tenHours()
{
    QFETCH(QString, name);
    constexpr int pictures = 100;
    constexpr int rounds = 9000;
    const bool avi = name.endsWith(".avi");
    const QStringList codec = avi ? QStringList{"-c:v", "mpeg4", "-q:v", "31", "-g", "100", "-bf", "0"}
                                  : QStringList{"-c:v", "libx264", "-crf", "38", "-g", "50", "-pix_fmt", "yuv420p"};
    const FilmSpec spec{.file = avi ? "hard_short.avi" : "hard_short.mkv",
                        .size = {120, 60},
                        .frames = pictures,
                        .video = codec,
                        .audio = {}};
    const QTemporaryDir folder;
    const QString path = folder.filePath(name);
    QCOMPARE(QProcess::execute("ffmpeg", {"-nostdin", "-v", "error", "-stream_loop", QString::number(rounds - 1), "-i",
                                          makeFilm(spec), "-c", "copy", path}),
             0);

    // The program waits three seconds for a film to open and six for a picture.
    QElapsedTimer clock;
    clock.start();
    const auto film = Film::open(path.toStdString(), never, never);
    QVERIFY2(film && clock.elapsed() < 2000, qPrintable(QString::number(clock.elapsed())));
    QVERIFY2(std::abs(film->frameCount() - pictures * rounds) <= 25, qPrintable(QString::number(film->frameCount())));
    for (const int index : {450'010, 12, 899'999, 2'000'000, 300'033, 300'034, 77}) {
        clock.restart();
        const auto number = numberOf(*film, readPicture(*film, index));
        QCOMPARE(number, std::min(index, pictures * rounds - 1) % pictures);
        QVERIFY2(clock.elapsed() < 2000, qPrintable(QString("%1: %2 ms").arg(index).arg(clock.elapsed())));
    }
}

void HardFilmsTest::picturesLargerThanCanBeHeldAreRefused()
{
    // Pixels of the picture, its aspect and a turn, against what a signed 32-bit number of bytes or the memory holds.
    QVERIFY(shownGeometry(160, 120, {1, 1}, 0));
    QVERIFY(!shownGeometry(30'000, 30'000, {1, 1}, 0));
    QVERIFY(!shownGeometry(16'384, 16'384, {100, 1}, 1));
    QVERIFY(!shownGeometry(1, 1, {std::numeric_limits<int>::max(), 1}, 0));
    QVERIFY(!shownGeometry(160, 120, {1, std::numeric_limits<int>::max()}, 0));
    QVERIFY(!shownGeometry(std::numeric_limits<int>::max(), std::numeric_limits<int>::max(), {0, 1}, 3));
    QVERIFY(!shownGeometry(0, 120, {1, 1}, 0));
}

// Decoders pass on the numbers that damaged headers hold.
void HardFilmsTest::coloursThatDoNotExistAreGuessed()
{
    const Frame picture(av_frame_alloc());
    picture->width = 16;
    picture->height = 16;
    picture->format = AV_PIX_FMT_YUV420P;
    QVERIFY(av_frame_get_buffer(picture.get(), 0) >= 0);
    for (int plane = 0; plane < 3; ++plane)
        std::fill_n(picture->data[plane], picture->linesize[plane] * (plane == 0 ? 16 : 8), 90 + 40 * plane);
    using Pixels = std::array<std::byte, 16 * 16 * 3>;
    const auto paint = [&](int matrix, int range) {
        std::memcpy(&picture->colorspace, &matrix, sizeof matrix);
        std::memcpy(&picture->color_range, &range, sizeof range);
        Pixels pixels{};
        PicturePainter painter(*shownGeometry(16, 16, {1, 1}, 0));
        return painter.paint(*picture, pixels) ? pixels : Pixels{};
    };
    const Pixels guessed = paint(AVCOL_SPC_UNSPECIFIED, AVCOL_RANGE_UNSPECIFIED);
    QVERIFY(guessed != Pixels{});
    QVERIFY(paint(70, 99) == guessed);
    QVERIFY(paint(AVCOL_SPC_BT709, AVCOL_RANGE_UNSPECIFIED) != guessed);
}

QTEST_APPLESS_MAIN(HardFilmsTest)
#include "hard_films_test.moc"
