#include "engine_player.h"

#include "films/film_maker.h"
#include "player/scene_marking.h"
#include "random_seed.h"
#include "util/media_time.h"
#include "util/numbers.h"

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
    void aMarkedPictureComesBack();
    void pausingNamesThePictureThatIsThere();
    void theEndChangesNoFlagAndStepsBack();

private:
    /// The picture that is there is the one of this number; the frame counter names it too where the film's pictures
    /// are equally long.
    void compareShown(int number)
    {
        QCOMPARE(m_player->shownNumber(), number);
        if (m_film->constantRate)
            QCOMPARE(frameNumber(GetPosition(), fps), std::int64_t(number));
    }
    MediaTime anywhere() { return m_random.bounded(static_cast<qint64>(Duration)); }

    std::unique_ptr<EnginePlayer> m_player;
    const FilmSpec *m_film = nullptr;
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
    m_player.reset();
    m_player = std::make_unique<EnginePlayer>();
    m_player->openPaused(makeFilm(*m_film));
    QVERIFY(OPENED);
    QCOMPARE(m_player->shownNumber(), 0);
    m_random.seed(randomSeed());
}

void ExactnessTest::everyStepShowsTheNeighbour()
{
    const int steps = isThorough() ? 200 : 60;
    for (int number = 1; number <= steps && !QTest::currentTestFailed(); ++number) {
        m_player->stepForward();
        compareShown(number);
    }
    for (int number = steps - 1; number >= 0 && !QTest::currentTestFailed(); --number) {
        m_player->stepBack();
        compareShown(number);
    }
    m_player->stepBack();
    compareShown(0);
}

void ExactnessTest::aMarkedPictureComesBack()
{
    for (int round = 0; round < (isThorough() ? 50 : 8); ++round) {
        m_player->seekTo(anywhere());
        const int marked = m_player->shownNumber();
        QVERIFY(marked >= 0);
        compareShown(marked);
        const QString start = sceneStartText(GetPosition());
        m_player->seekTo(anywhere());
        m_player->seekTo(mediaTimeAt(leadingNumber(start)));
        compareShown(marked);
        // A jump that is taken back before it has landed leaves nothing of itself.
        const MediaTime next = steppedPosition(GetPosition(), unitsPerSecond / fps, Duration);
        SetPosition(anywhere());
        m_player->seekTo(next);
        if (m_film->constantRate)
            compareShown(std::min(marked + 1, m_film->frames - 1));
    }
}

void ExactnessTest::pausingNamesThePictureThatIsThere()
{
    for (int round = 0; round < 6; ++round) {
        const MediaTime until = GetPosition() + m_random.bounded(static_cast<qint64>(unitsPerSecond / 2));
        Play();
        QTRY_VERIFY(GetPosition() > until);
        m_player->pause();
        const int shown = m_player->shownNumber();
        QVERIFY(shown > 0);
        compareShown(shown);
        // Stepping goes on from the picture that is there.
        m_player->stepForward();
        compareShown(shown + 1);
    }
}

void ExactnessTest::theEndChangesNoFlagAndStepsBack()
{
    const int last = m_film->frames - 1;
    m_player->seekTo(Duration - 1);
    QCOMPARE(m_player->shownNumber(), last);
    m_player->stepForward();
    m_player->stepForward();
    compareShown(last);
    const MediaTime end = GetPosition();
    m_player->stepBack();
    compareShown(last - 1);

    Play();
    QTRY_COMPARE(GetPosition(), end);
    QVERIFY(OPENED && !PAUSED);
    m_player->pause();
    compareShown(last);
    m_player->stepBack();
    QCOMPARE(m_player->shownNumber(), last - 1);
    // From the end a running film plays on from where it is put.
    Play();
    QTRY_COMPARE(GetPosition(), end);
    m_player->seekTo(0);
    QTRY_VERIFY(GetPosition() > 0);
    QVERIFY(GetPosition() < Duration / 2);
}

QTEST_MAIN(ExactnessTest)
#include "exactness_test.moc"
