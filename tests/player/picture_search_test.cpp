#include "player/mpv/picture_search.h"
#include "random_seed.h"

#include <QRandomGenerator>
#include <QTest>

#include <algorithm>
#include <cmath>
#include <vector>

namespace {

/// A film and a player core that stand in for the real ones: exact seeks show the first picture at most 5 ms
/// before their target, or later ones where the demuxer starts too late; steps go to the neighbour, steps back
/// sometimes too far.
class SimulatedFilm {
public:
    FilmTimes times;
    std::vector<double> pictures;
    double lateness = 0.0;        ///< seconds by which a seek lands late unless the demuxer starts that much earlier
    bool clumsyBackSteps = false; ///< a step back skips pictures, or does not move
    double shown = 0.0;
    int commands = 0;

    SimulatedFilm(QRandomGenerator &random, int count, double unevenness)
    {
        // A clock that starts anywhere, rounded as a container with millisecond times does.
        double time = random.bounded(2) == 0 ? 0.0 : random.bounded(3600.0);
        const double frame = 1.0 / (12 + random.bounded(49));
        for (int picture = 0; picture < count; ++picture) {
            pictures.push_back(std::round(time * 1000.0) / 1000.0);
            time += frame * (1.0 + unevenness * (random.generateDouble() - 0.5) * 2.0);
            if (unevenness > 0.0 && random.bounded(40) == 0)
                time += random.bounded(3.0);
        }
        times.first = pictures.front();
        // Sound may go on after the pictures; a container may also tell less than there is.
        times.end = pictures.back() + frame + (random.bounded(3) == 0 ? random.bounded(20.0) : 0.0);
        times.frame = frame;
        shown = pictures.front();
    }

    /// Runs the search; the picture on the screen is `shown` then. False if it never ends.
    bool search(double target, SeekTo goal, bool paused)
    {
        PictureSearch way(times, shown, target, goal, paused);
        SearchCommand next = way.start();
        for (commands = 0; next.kind != SearchCommand::Done; ++commands) {
            if (commands > 2 * static_cast<int>(pictures.size()) + 50)
                return false;
            const bool atEnd = !perform(next);
            next = way.landed(shown, atEnd);
        }
        times.last = way.last();
        // What the search believes is what is there.
        return way.shown() == shown;
    }

private:
    /// False at the end of the film, where the last picture stays and its time is not told.
    bool perform(const SearchCommand &command)
    {
        const auto here = std::lower_bound(pictures.begin(), pictures.end(), shown);
        const auto index = here - pictures.begin();
        switch (command.kind) {
        case SearchCommand::Seek: {
            constexpr double tolerance = 0.005;
            double reached = command.seconds - tolerance;
            // A demuxer that starts too late finds its first picture only after the target.
            if (command.seconds - times.first > lateness)
                reached += std::max(0.0, lateness - command.demuxerOffset);
            const auto found = std::lower_bound(pictures.begin(), pictures.end(), reached);
            if (found == pictures.end()) {
                shown = pictures.back();
                return false;
            }
            shown = *found;
            return true;
        }
        case SearchCommand::StepForward:
            if (here + 1 == pictures.end())
                return false;
            shown = *(here + 1);
            return true;
        case SearchCommand::StepBack: {
            // A miss near the beginning could not be told from a long frame.
            const std::ptrdiff_t back = clumsyBackSteps && index >= 16 ? (index % 3) * 8 : 1;
            shown = pictures[static_cast<std::size_t>(std::max<std::ptrdiff_t>(0, index - back))];
            return true;
        }
        case SearchCommand::Done:
            break;
        }
        return true;
    }
};

} // namespace

class PictureSearchTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { m_random.seed(randomSeed()); }
    void everySearchEndsOnTheRightPicture_data();
    void everySearchEndsOnTheRightPicture();
    void theNeighbourCostsOneCommand();
    void aStepThatBringsNothingGivesWayToASeek();
    void theSoundsTimeIsNoLanding();
    void soundAfterThePicturesBringsTheLastOne();

private:
    QRandomGenerator m_random;
};

void PictureSearchTest::everySearchEndsOnTheRightPicture_data()
{
    QTest::addColumn<double>("unevenness");
    QTest::addColumn<double>("lateness");
    QTest::addColumn<bool>("clumsyBackSteps");
    QTest::newRow("equal frames") << 0.0 << 0.0 << false;
    QTest::newRow("uneven frames with gaps") << 0.7 << 0.0 << false;
    QTest::newRow("seeks land very late") << 0.0 << 9.0 << false;
    QTest::newRow("steps back miss between uneven frames") << 0.7 << 0.0 << true;
    QTest::newRow("seeks land a little late, and all the rest") << 0.5 << 1.5 << true;
}

void PictureSearchTest::everySearchEndsOnTheRightPicture()
{
    QFETCH(double, unevenness);
    QFETCH(double, lateness);
    QFETCH(bool, clumsyBackSteps);
    for (int round = 0; round < 150; ++round) {
        SimulatedFilm film(m_random, 1 + m_random.bounded(300), unevenness);
        film.lateness = lateness;
        film.clumsyBackSteps = clumsyBackSteps;
        const auto count = static_cast<int>(film.pictures.size());
        int index = 0;
        for (int wish = 0; wish < 20; ++wish) {
            const int before = index;
            double target = film.shown;
            auto goal = static_cast<SeekTo>(m_random.bounded(3));
            if (goal == SeekTo::NextPicture) {
                index = std::min(index + 1, count - 1);
            } else if (goal == SeekTo::PreviousPicture) {
                index = std::max(index - 1, 0);
            } else if (m_random.bounded(5) == 0) {
                target = film.pictures.back() + m_random.bounded(30.0);
                index = count - 1;
            } else {
                index = m_random.bounded(count);
                // Anywhere a truncated time may fall: a little before the picture counts as the picture.
                target = film.pictures[static_cast<std::size_t>(index)] - m_random.bounded(0.002);
            }
            const bool ended = film.search(target, goal, true);
            const QString told = QString("film of %1 pictures from %2: from picture %3 to %4 at %5 (%6) got to %7")
                                     .arg(count)
                                     .arg(film.times.first)
                                     .arg(before)
                                     .arg(index)
                                     .arg(target, 0, 'f', 6)
                                     .arg(static_cast<int>(goal))
                                     .arg(film.shown, 0, 'f', 6);
            QVERIFY2(ended, qPrintable(told));
            QVERIFY2(film.shown == film.pictures[static_cast<std::size_t>(index)], qPrintable(told));
        }
    }
}

void PictureSearchTest::theNeighbourCostsOneCommand()
{
    SimulatedFilm film(m_random, 200, 0.0);
    const auto costsOneCommand = [&film](double target, SeekTo goal, bool paused = true) {
        QVERIFY(film.search(target, goal, paused));
        QCOMPARE(film.commands, 1);
    };
    costsOneCommand(film.pictures[100], SeekTo::Time);
    costsOneCommand(0.0, SeekTo::NextPicture);
    costsOneCommand(0.0, SeekTo::PreviousPicture);
    // A running film is put at a time by one seek, however near it is.
    costsOneCommand(film.pictures[102], SeekTo::Time, false);
    QCOMPARE(film.shown, film.pictures[102]);
    // Where the film ends is asked once.
    QVERIFY(film.search(film.pictures[199], SeekTo::Time, true));
    QVERIFY(film.search(0.0, SeekTo::NextPicture, true));
    QVERIFY(film.search(0.0, SeekTo::NextPicture, true));
    QCOMPARE(film.commands, 0);
    QCOMPARE(film.shown, film.pictures[199]);
}

void PictureSearchTest::aStepThatBringsNothingGivesWayToASeek()
{
    const FilmTimes times{.first = 0.0, .end = 10.0, .frame = 0.04};
    PictureSearch search(times, 1.0, 1.04, SeekTo::NextPicture, true, KnownPicture{1.04, 1.04});
    QCOMPARE(search.start().kind, SearchCommand::StepForward);
    QCOMPARE(search.landed(1.0, false).kind, SearchCommand::Seek);
    QCOMPARE(search.landed(1.04, false).kind, SearchCommand::Done);
}

void PictureSearchTest::theSoundsTimeIsNoLanding()
{
    const FilmTimes times{.first = 0.0, .end = 10.0, .frame = 0.04};
    PictureSearch search(times, 1.0, 5.0, SeekTo::Time, false, KnownPicture{5.0, 2.0, false});
    const SearchCommand first = search.start();
    const SearchCommand second = search.landed(5.01, false, false);
    QCOMPARE(second.kind, SearchCommand::Seek);
    QVERIFY(second.demuxerOffset > first.demuxerOffset && first.demuxerOffset > 2.0);
    QCOMPARE(search.landed(5.08, false).kind, SearchCommand::Done);
}

void PictureSearchTest::soundAfterThePicturesBringsTheLastOne()
{
    PictureSearch search({.first = 0.0, .end = 10.0}, 1.96, 5.0, SeekTo::Time, false, KnownPicture{1.96, 0.5});
    const SearchCommand first = search.start();
    QVERIFY(first.isOfSound && first.seconds > 4.99 && first.demuxerOffset > 5.0 - 1.96 + 0.5);
    const SearchCommand second = search.landed(5.0, false, false);
    QVERIFY(second.isOfSound && second.seconds == first.seconds && second.demuxerOffset > first.demuxerOffset);
    QCOMPARE(search.landed(5.0, false, true).kind, SearchCommand::Done);
    QCOMPARE(search.shown(), 5.0);
}

QTEST_APPLESS_MAIN(PictureSearchTest)
#include "picture_search_test.moc"
