#include "reader_films.h"

#include <QRandomGenerator>
#include <QTest>

#include <algorithm>
#include <numeric>

// Index n is the n-th picture of a film, in whatever order indices are asked for: compared by hash with what the
// ffmpeg program decodes from the film's beginning to its end.

class ExactPicturesTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { av_log_set_level(AV_LOG_QUIET); }
    void indexIsPicture_data();
    void indexIsPicture();

private:
    void compare(const char *order, const std::vector<std::int64_t> &indices, Film &film,
                 const std::vector<QByteArray> &expected, int knownWrong);
};

void ExactPicturesTest::indexIsPicture_data()
{
    QTest::addColumn<std::size_t>("number");
    for (std::size_t number = 0; number < readerFilms().size(); ++number)
        QTest::addRow("%zu %s", number, qPrintable(readerFilms()[number].made.file)) << number;
}

void ExactPicturesTest::compare(const char *order, const std::vector<std::int64_t> &indices, Film &film,
                                const std::vector<QByteArray> &expected, int knownWrong)
{
    QStringList wrong;
    for (const std::int64_t index : indices) {
        const QImage picture = readPicture(film, index);
        QVERIFY(!picture.isNull());
        film.workAhead(never);
        const QByteArray hash = pictureHash(picture);
        if (hash != expected[static_cast<std::size_t>(index)]) {
            const auto shown = std::find(expected.begin(), expected.end(), hash);
            wrong << (shown == expected.end() ? QString("%1 is none").arg(index)
                                              : QString("%1 is %2").arg(index).arg(shown - expected.begin()));
        }
    }
    QVERIFY2(wrong.size() <= knownWrong, qPrintable(QString("%1: %2 of %3 wrong: %4").arg(order).arg(wrong.size())
                                                        .arg(indices.size()).arg(wrong.mid(0, 12).join(", "))));
}

void ExactPicturesTest::indexIsPicture()
{
    QFETCH(std::size_t, number);
    const ReaderFilm &tried = readerFilms()[number];
    const QString path = makeReaderFilm(tried);
    const auto film = Film::open(path.toStdString(), never, never);
    QVERIFY(film);
    // The quick conversion is for pictures of even size that are shown as large as they are.
    const QSize shown(film->width(), film->height());
    const bool quick = !tried.anamorphic && shown.width() % 2 == 0 && shown.height() % 2 == 0;
    const std::vector<WitnessedPicture> pictures = witnessedPictures(path, quick ? QSize() : shown);
    QVERIFY(pictures.size() > 30);
    std::vector<QByteArray> expected;
    if (tried.gaps) {
        const double frame = 1.0 / film->frameRate();
        for (std::size_t at = 0; at < pictures.size();) {
            const double until = (static_cast<double>(expected.size()) + 0.5) * frame;
            while (at + 1 < pictures.size() && pictures[at + 1].seconds <= until)
                ++at;
            expected.push_back(pictures[at].hash);
            if (at + 1 == pictures.size())
                break;
        }
    } else {
        std::transform(pictures.begin(), pictures.end(), std::back_inserter(expected),
                       [](const WitnessedPicture &picture) { return picture.hash; });
    }

    std::vector<std::int64_t> indices(expected.size());
    std::iota(indices.begin(), indices.end(), 0);
    compare("in order", indices, *film, expected, tried.knownWrong);
    std::reverse(indices.begin(), indices.end());
    compare("in reverse", indices, *film, expected, tried.knownWrong);

    std::vector<std::int64_t> strides;
    for (std::int64_t start = 0; start < 25; start += 7) {
        for (std::int64_t index = start; index < static_cast<std::int64_t>(expected.size()); index += 25)
            strides.push_back(index);
    }
    compare("by seconds", strides, *film, expected, tried.knownWrong);

    const quint32 seed = QRandomGenerator::global()->generate();
    qInfo("seed %u", seed);
    QRandomGenerator random(seed);
    std::shuffle(indices.begin(), indices.end(), random);
    compare("shuffled", indices, *film, expected, tried.knownWrong);
}

QTEST_APPLESS_MAIN(ExactPicturesTest)
#include "exact_pictures_test.moc"
