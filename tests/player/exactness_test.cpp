#include "engine_player.h"

#include "films/film_maker.h"
#include "films/film_witness.h"
#include "player/scene_marking.h"
#include "random_seed.h"
#include "util/media_time.h"
#include "util/numbers.h"

#include <QHash>
#include <QRandomGenerator>
#include <QTest>

// The number painted into each picture of a film is the witness of what is on the screen.

namespace {

/// TAVRIN_THOROUGH asks for the whole counts, which take several times as long.
bool isThorough()
{
    return qEnvironmentVariableIsSet("TAVRIN_THOROUGH");
}

} // namespace

class ExactnessTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase_data();
    void init();
    void everyStepShowsTheNeighbour();
    void everyMomentShowsItsPicture();
    void aMarkedPictureComesBack();
    void pausingNamesThePictureThatIsThere();
    void theEndChangesNoFlagAndStepsBack();

private:
    [[nodiscard]] int last() const { return static_cast<int>(m_pictures.size()) - 1; }
    [[nodiscard]] double secondsAt(int place) const { return m_pictures[static_cast<std::size_t>(place)].seconds; }
    /// The place, from 0, of the picture that the independent decode gives for a moment.
    [[nodiscard]] int placeAt(MediaTime time) const
    {
        constexpr double rounding = 0.0006;
        int place = 0;
        while (place < last() && secondsAt(place + 1) <= secondsOf(time) + rounding)
            ++place;
        return place;
    }
    /// The picture of this place is there, and the position names it; the frame counter does too where pictures are
    /// equally long.
    void compareShown(int place)
    {
        QCOMPARE(m_player->shownNumber(), m_pictures[static_cast<std::size_t>(place)].number);
        const MediaTime position = GetPosition();
        QCOMPARE(placeAt(position), place);
        const bool isPastPictures = secondsOf(position) > secondsAt(last()) + 0.2;
        if (m_film->constantRate && !isPastPictures)
            QCOMPARE(frameNumber(position, fps), std::int64_t(place));
    }
    void compareAfterSeek(MediaTime time)
    {
        m_player->seekTo(time);
        compareShown(placeAt(time));
    }
    MediaTime anywhere() { return m_random.bounded(static_cast<qint64>(Duration)); }
    void moveAnyhow();

    std::unique_ptr<EnginePlayer> m_player;
    const FilmSpec *m_film = nullptr;
    std::vector<DecodedPicture> m_pictures;
    QRandomGenerator m_random;
};

// Every test is run with every film.
void ExactnessTest::initTestCase_data()
{
    qInfo("counts are %s", isThorough() ? "whole" : "small; TAVRIN_THOROUGH=1 makes them whole");
    QTest::addColumn<QString>("film");
    for (const FilmSpec &film : standardFilms())
        QTest::newRow(qPrintable(film.file)) << film.file;
}

void ExactnessTest::init()
{
    QFETCH_GLOBAL(QString, film);
    m_film = &standardFilm(film);
    const QString path = makeFilm(*m_film);
    static QHash<QString, std::vector<DecodedPicture>> decoded; // nothing of what another graph plays
    const bool isNew = !decoded.contains(film);
    if (!isNew && decoded[film].empty())
        QSKIP("was left to another graph");
    m_player.reset();
    m_player = std::make_unique<EnginePlayer>();
    // Another film has been played before it.
    Open(makeFilm(standardFilm("mpeg2_transport.ts")));
    m_player->openPaused(path);
    QVERIFY(OPENED);
    const bool isLeft = GraphName() != testedGraphName();
    if (isNew)
        decoded[film] = isLeft ? std::vector<DecodedPicture>() : decodedPictures(path, m_film->cutBytes > 0);
    if (isLeft)
        QSKIP("is left to another graph, which has this test too");
    m_pictures = decoded[film];
    QVERIFY(last() > 100);
    compareShown(0);
    m_random.seed(randomSeed());
}

void ExactnessTest::everyStepShowsTheNeighbour()
{
    const int steps = std::min(isThorough() ? 200 : 25, last());
    for (int place = 1; place <= steps && !QTest::currentTestFailed(); ++place) {
        m_player->stepForward();
        compareShown(place);
    }
    for (int place = steps - 1; place >= 0 && !QTest::currentTestFailed(); --place) {
        m_player->stepBack();
        compareShown(place);
    }
    m_player->stepBack();
    compareShown(0);
}

void ExactnessTest::everyMomentShowsItsPicture()
{
    const int seconds = isThorough() ? 200 : 3;
    for (const MediaTime second : {unitsPerSecond, -unitsPerSecond}) {
        for (int step = 0; step < seconds && !QTest::currentTestFailed(); ++step) {
            const MediaTime next = steppedPosition(GetPosition(), static_cast<double>(second), Duration);
            compareAfterSeek(next);
            if (next == 0 || next == Duration - 1)
                break;
        }
    }
    for (int jump = 0; jump < (isThorough() ? 50 : 5) && !QTest::currentTestFailed(); ++jump)
        compareAfterSeek(anywhere());
}

void ExactnessTest::aMarkedPictureComesBack()
{
    for (int round = 0; round < (isThorough() ? 50 : 3) && !QTest::currentTestFailed(); ++round) {
        const MediaTime moment = anywhere();
        compareAfterSeek(moment);
        const QString start = sceneStartText(GetPosition());
        m_player->seekTo(anywhere());
        m_player->seekTo(mediaTimeAt(leadingNumber(start)));
        compareShown(placeAt(moment));
        // A jump that is taken back before it has landed leaves nothing of itself.
        const MediaTime next = steppedPosition(GetPosition(), unitsPerSecond / fps, Duration);
        SetPosition(anywhere());
        compareAfterSeek(next);
    }
}

// A step, a second or a jump, wherever the film is.
void ExactnessTest::moveAnyhow()
{
    const int way = m_random.bounded(5);
    if (way < 2)
        way == 0 ? m_player->stepForward() : m_player->stepBack();
    else if (way < 4)
        m_player->seekTo(steppedPosition(GetPosition(), (way == 2 ? 1.0 : -1.0) * unitsPerSecond, Duration));
    else
        m_player->seekTo(anywhere());
}

void ExactnessTest::pausingNamesThePictureThatIsThere()
{
    for (int round = 0; round < (isThorough() ? 50 : 4) && !QTest::currentTestFailed(); ++round) {
        const MediaTime until = GetPosition() + m_random.bounded(static_cast<qint64>(unitsPerSecond / 2));
        Play();
        // What the core tells first may be a little before where it stood.
        QVERIFY(QTest::qWaitFor([until] { return GetPosition() > std::min(until, Duration - unitsPerSecond / 2); }));
        if (isThorough() && round % 2 != 0)
            moveAnyhow();
        m_player->pause();
        const int shown = placeAt(GetPosition());
        compareShown(shown);
        // Stepping goes on from the picture that is there.
        m_player->stepForward();
        compareShown(std::min(shown + 1, last()));
    }
}

void ExactnessTest::theEndChangesNoFlagAndStepsBack()
{
    compareAfterSeek(Duration - 1);
    m_player->stepForward();
    m_player->stepForward();
    compareShown(last());
    const MediaTime end = GetPosition();
    m_player->stepBack();
    compareShown(last() - 1);

    Play();
    QVERIFY(QTest::qWaitFor([end] { return GetPosition() == end; }));
    QVERIFY(OPENED && !PAUSED);
    m_player->pause();
    compareShown(last());
    m_player->stepBack();
    compareShown(last() - 1);
    // From the end a running film plays on from where it is put.
    Play();
    QVERIFY(QTest::qWaitFor([end] { return GetPosition() == end; }));
    m_player->seekTo(0);
    QTRY_VERIFY(GetPosition() > 0);
    QVERIFY(GetPosition() < Duration / 2);
}

QTEST_MAIN(ExactnessTest)
#include "exactness_test.moc"
