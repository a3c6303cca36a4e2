#include "reader_films.h"

#include "films/film_witness.h"
#include "random_seed.h"

#include <QElapsedTimer>
#include <QRandomGenerator>
#include <QTemporaryDir>
#include <QTest>

#include <limits>

namespace {

void addFilms(std::initializer_list<const char *> names)
{
    QTest::addColumn<QString>("name");
    for (const char *name : names)
        QTest::newRow(name) << QString(name);
}

} // namespace

// Films that a reader could give up on: it answers every read of them, and in time.

class HardFilmsTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { av_log_set_level(AV_LOG_QUIET); }
    void damagedStretch_data()
    {
        addFilms({"reader_h264.mp4", "reader_h264.mkv", "reader_h264.ts", "reader_h264.avi", "reader_h264.flv",
                  "reader_hevc.mp4", "reader_hevc.ts", "reader_mpeg2.ts", "reader_mpeg2.mpg", "reader_mpeg4.avi",
                  "reader_vp9.webm", "reader_av1.mkv", "reader_mjpeg.avi", "reader_wmv2.wmv"});
    }

    void damagedStretch()
    {
        QFETCH(const QString, name);
        const QString whole = readerFilm(name);
        QByteArray bytes = contentOf(whole);
        QRandomGenerator random(randomSeed());
        for (qsizetype at = bytes.size() * 45 / 100; at < bytes.size() * 55 / 100; ++at)
            bytes[at] = static_cast<char>(random.generate());
        const auto film = filmOf(bytes);
        QVERIFY(film);
        const std::vector<WitnessedPicture> pictures = witnessedPictures(whole);
        for (const int index : {129, 0, 60, 64, 65, 66, 67, 70, 20, 128, 30, 65}) {
            const QImage picture = readPicture(*film, index);
            const int number = paintedFrameNumber(picture).value_or(-1);
            const QByteArray told = QByteArray::number(index) + " is " + QByteArray::number(number);
            QVERIFY2(!picture.isNull(), told);
            // Those at the ends are intact, and no picture nearby refers to damage.
            if (index <= 30 || index >= 128)
                QVERIFY2(pictureHash(picture) == pictures[static_cast<std::size_t>(index)].hash, told);
            else
                QVERIFY2(number <= index, told);
        }
    }

    void withoutAnyPictureItIsBlack()
    {
        QByteArray bytes = contentOf(readerFilm("reader_h264.mp4"));
        const qsizetype data = bytes.indexOf("mdat");
        const qsizetype table = bytes.indexOf("moov");
        QVERIFY(data > 0 && table > data);
        std::fill(bytes.begin() + data + 4, bytes.begin() + table - 4, '\0');
        const auto film = filmOf(bytes);
        QVERIFY(film);
        QImage black(160, 120, QImage::Format_BGR888);
        black.fill(Qt::black);
        for (const int index : {0, 50, 129, 1000})
            QCOMPARE(readPicture(*film, index), black);
    }
    void aShortenedFilmIsReadToItsEnd_data()
    {
        addFilms({"reader_h264.mkv", "reader_h264.ts", "reader_h264.flv", "reader_h264_fragments.mp4", "reader_hevc.ts",
                  "reader_mpeg2.mpg", "reader_mpeg4.avi", "reader_vp9.webm"});
    }

    // A download that was broken off.
    void aShortenedFilmIsReadToItsEnd()
    {
        QFETCH(const QString, name);
        const QByteArray bytes = contentOf(readerFilm(name));
        const auto film = filmOf(bytes.first(bytes.size() * 6 / 10));
        QVERIFY(film);
        const auto last = numberAt(*film, 129);
        // The last picture itself may be broken off.
        QVERIFY2(!last || (*last > 40 && *last < 129), qPrintable(QString::number(*last)));
        QCOMPARE(readPicture(*film, 1'000'000), readPicture(*film, 129));
        QCOMPARE(numberAt(*film, 40), 40);
        QCOMPARE(numberAt(*film, 25), 25);
    }
    void aFileThatCannotBeRead_data()
    {
        addFilms({"reader_h264.mp4", "reader_h264.ts", "reader_h264.mkv", "reader_mpeg4.avi", "reader_mpeg2.mpg",
                  "reader_h264.h264"});
    }

    void aFileThatCannotBeRead()
    {
        QFETCH(const QString, name);
        bool away = false;
        const auto film = filmOf(contentOf(readerFilm(name)), [&away] { return away; });
        QVERIFY(film);
        away = true;
        const int before = numberAt(*film, 100).value_or(100);
        QVERIFY2(before < 100, qPrintable(QString::number(before)));
        // What could not be read is not the film's end.
        away = false;
        QCOMPARE(numberAt(*film, 100), 100);

        QVERIFY(QFile::resize(m_path, 500));
        for (const int index : {5, 129, 60, 0, 77})
            QVERIFY(!readPicture(*film, index).isNull());
    }
    void tenHours_data() { addFilms({"film.mkv", "film.ts", "film.mp4", "film.avi"}); }

    void tenHours()
    {
        QFETCH(const QString, name);
        constexpr int pictures = 100;
        constexpr int rounds = 9000;
        const bool avi = name.endsWith(".avi");
        const QString codec = avi ? "-c:v mpeg4 -q:v 31 -g 100 -bf 0" : "-c:v libx264 -crf 38 -g 50 -pix_fmt yuv420p";
        const QString made = makeFilm({.file = avi ? "hard_short.avi" : "hard_short.mkv",
                                       .size = {120, 60},
                                       .frames = pictures,
                                       .video = codec.split(' ')});
        const QString path = m_folder.filePath(name);
        (void)outputOf("ffmpeg", {"-nostdin", "-v", "error", "-stream_loop", QString::number(rounds - 1), "-i", made,
                                  "-c", "copy", path});

        // The program waits three seconds for a film to open and six for a picture.
        QElapsedTimer clock;
        clock.start();
        const auto film = Film::open(path.toStdString(), never, never);
        QVERIFY2(film && clock.elapsed() < 2000, qPrintable(QString::number(clock.elapsed())));
        QVERIFY2(std::abs(film->frameCount() - pictures * rounds) <= 25,
                 qPrintable(QString::number(film->frameCount())));
        for (const int index : {450'010, 12, 899'999, 2'000'000, 300'033, 300'034, 77}) {
            clock.restart();
            QCOMPARE(numberAt(*film, index), std::min(index, pictures * rounds - 1) % pictures);
            QVERIFY2(clock.elapsed() < 2000, qPrintable(QString("%1: %2 ms").arg(index).arg(clock.elapsed())));
        }
    }

    void picturesLargerThanCanBeHeldAreRefused()
    {
        // Pixels of the picture, its aspect and a turn, against what a signed 32-bit number of bytes or the memory holds.
        constexpr int most = std::numeric_limits<int>::max();
        QVERIFY(shownGeometry(160, 120, {1, 1}, 0));
        QVERIFY(!shownGeometry(30'000, 30'000, {1, 1}, 0));
        QVERIFY(!shownGeometry(16'384, 16'384, {100, 1}, 1));
        QVERIFY(!shownGeometry(160, 120, {1, most}, 0));
        QVERIFY(!shownGeometry(most, most, {0, 1}, 3));
        QVERIFY(!shownGeometry(0, 120, {1, 1}, 0));
    }

private:
    std::unique_ptr<Film> filmOf(const QByteArray &bytes, const Interrupted &ended = never)
    {
        writeFile(m_path, bytes);
        return Film::open(m_path.toStdString(), never, ended);
    }
    static std::optional<int> numberAt(Film &film, int index) { return paintedFrameNumber(readPicture(film, index)); }

    const QTemporaryDir m_folder;
    const QString m_path = m_folder.filePath("film");
};

QTEST_APPLESS_MAIN(HardFilmsTest)
#include "hard_films_test.moc"
