#include "random_seed.h"
#include "reader_films.h"
#include "util/media_time.h"

#include <QRandomGenerator>
#include <QTest>

#include <algorithm>
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
};

QTEST_APPLESS_MAIN(ExactPicturesTest)
#include "exact_pictures_test.moc"
