#include "random_seed.h"
#include "reader_films.h"
#include "util/media_time.h"

#include <QRandomGenerator>
#include <QTest>

#include <algorithm>
#include <cmath>
#include <numeric>

namespace {

/// The hashes of the pictures that a film's indices stand for.
QList<QByteArray> expectedPictures(const ReaderFilm &tried, const QString &path, const Film &film)
{
    // The quick conversion is for pictures of even size that are shown as large as they are.
    const QSize shown(film.width(), film.height());
    const bool quick = !tried.anamorphic && shown.width() % 2 == 0 && shown.height() % 2 == 0;
    std::vector<WitnessedPicture> pictures = witnessedPictures(path, quick ? QSize() : shown);
    pictures.erase(pictures.begin(), pictures.begin() + tried.madeUp);
    QList<QByteArray> expected;
    for (std::size_t last = 0; last + 1 < pictures.size(); expected << pictures[last].hash) {
        if (!tried.gaps)
            last = static_cast<std::size_t>(expected.size());
        const double end = static_cast<double>(expected.size() + 1) / film.frameRate();
        while (tried.gaps && last + 1 < pictures.size() && pictures[last + 1].seconds < end - containerRounding)
            ++last;
    }
    return expected;
}

} // namespace

// Index n is the n-th picture of a film, in whatever order indices are asked for: compared by hash with what the
// ffmpeg program decodes from the film's beginning to its end.

class ExactPicturesTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { av_log_set_level(AV_LOG_QUIET); }

    void indexIsPicture_data()
    {
        QTest::addColumn<std::size_t>("number");
        for (std::size_t number = 0; number < readerFilms().size(); ++number)
            QTest::addRow("%zu %s", number, qPrintable(readerFilms()[number].made.file)) << number;
    }

    void indexIsPicture()
    {
        QFETCH(const std::size_t, number);
        const ReaderFilm &tried = readerFilms()[number];
        const QString path = makeFilm(tried.made);
        const auto film = Film::open(path.toStdString(), never, never);
        QVERIFY(film);
        const QList<QByteArray> expected = expectedPictures(tried, path, *film);
        QVERIFY(expected.size() > 30);

        std::vector<qsizetype> forwards(static_cast<std::size_t>(expected.size()));
        std::iota(forwards.begin(), forwards.end(), 0);
        const std::vector<qsizetype> backwards(forwards.rbegin(), forwards.rend());
        std::vector<qsizetype> bySeconds;
        for (qsizetype start = 0; start < 25; start += 7) {
            for (qsizetype index = start; index < expected.size(); index += 25)
                bySeconds.push_back(index);
        }
        std::vector<qsizetype> shuffled = forwards;
        std::shuffle(shuffled.begin(), shuffled.end(), QRandomGenerator(randomSeed()));
        for (const auto &order : {forwards, backwards, bySeconds, shuffled}) {
            QStringList wrong;
            for (const qsizetype index : order) {
                const QImage picture = readPicture(*film, index);
                QVERIFY(!picture.isNull());
                film->workAhead(never);
                const QByteArray hash = pictureHash(picture);
                if (hash != expected[index])
                    wrong << QString("%1 is %2").arg(index).arg(expected.indexOf(hash));
            }
            QVERIFY2(wrong.isEmpty(), qPrintable(QString("from %1, %2, %3 on, wrong: %4")
                                                     .arg(order[0])
                                                     .arg(order[1])
                                                     .arg(order[2])
                                                     .arg(wrong.mid(0, 12).join(", "))));
        }
    }

    void aMarkedPictureIsFound_data()
    {
        QTest::addColumn<QString>("file");
        for (const char *file : {"reader_uneven.mp4", "reader_uneven.mkv", "reader_uneven_late.mkv", "reader_h264.mkv"})
            QTest::newRow(file) << file;
    }

    // A mark is the player's position on the paused picture, in hundredths; its index is their product with the rate.
    void aMarkedPictureIsFound()
    {
        QFETCH(const QString, file);
        const QString path = readerFilm(file);
        const auto film = Film::open(path.toStdString(), never, never);
        QVERIFY(film);
        const double rate = film->frameRate();
        const std::vector<WitnessedPicture> pictures = witnessedPictures(path);
        const auto slot = [&](std::size_t picture) {
            return std::floor((pictures[picture].seconds + containerRounding) * rate);
        };
        std::size_t alone = 0;
        for (std::size_t picture = 0; picture + 1 < pictures.size(); ++picture) {
            if (slot(picture) == slot(picture + 1))
                continue;
            const double start = pictures[picture].seconds;
            const MediaTime position = pictureMediaTime(start, rate, pictures[picture + 1].seconds);
            const std::int64_t index = frameIndex(wholeHundredths(position) / 100.0, rate);
            // The only whole hundredth of a short time may lie in the next picture's slot.
            if (static_cast<double>(index) > slot(picture))
                continue;
            ++alone;
            QVERIFY2(pictureHash(readPicture(*film, index)) == pictures[picture].hash,
                     qPrintable(QString("%1 at %2, index %3").arg(picture).arg(start).arg(index)));
        }
        QVERIFY(alone > pictures.size() / 2);
    }
};

QTEST_APPLESS_MAIN(ExactPicturesTest)
#include "exact_pictures_test.moc"
