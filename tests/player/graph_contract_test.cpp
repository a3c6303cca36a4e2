#include "engine_player.h"

#include "films/film_maker.h"
#include "util/media_time.h"

#include <QElapsedTimer>
#include <QTemporaryDir>
#include <QTest>

// What every graph promises, whichever one this is linked with.

class GraphContractTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup() { m_player.reset(); }
    void aPositionAskedForIsToldUntilItIsReached();
    void stepsShowTheNeighbours();
    void theEndIsTheLastPicture();
    void everyRateIsTakenAndTold();
    void aSecondFilmStartsAnew();
    void whatIsNoFilmIsRefused();

private:
    static constexpr int pictures = 420;

    /// The picture that is there is the one that the position names.
    void compareShown(int number)
    {
        QCOMPARE(m_player->shownNumber(), number);
        QCOMPARE(frameNumber(GetPosition(), fps), std::int64_t(number));
    }
    /// The film comes to run at its beginning. What was there before a seek of a running film may stay for a moment.
    [[nodiscard]] bool hasBegun()
    {
        return QTest::qWaitFor([this] {
            const int shown = m_player->shownNumber();
            return shown > 2 && shown < pictures / 2;
        });
    }
    [[nodiscard]] double measuredRate(double filmSeconds);

    QString m_film;
    std::unique_ptr<EnginePlayer> m_player;
};

void GraphContractTest::init()
{
    m_player.reset();
    m_player = std::make_unique<EnginePlayer>();
    m_film = makeFilm(standardFilm("mpeg4.avi"));
    Open(m_film);
    QCOMPARE(m_player->messages, QStringList());
    QVERIFY(OPENED && !PAUSED);
    QCOMPARE(GraphName(), testedGraphName());
    // A film's sound may end some pictures after or before the last picture.
    QVERIFY(qAbs(Duration - pictures * unitsPerSecond / 25) <= unitsPerSecond / 10);
    QCOMPARE(QSize(srcWidth, srcHeight), QSize(320, 180));
    QVERIFY(qAbs(fps - 25.0) < 1e-6);
    QTRY_VERIFY(GetPosition() > unitsPerSecond / 10);
    QVERIFY(hasBegun());
    m_player->pause();
    compareShown(m_player->shownNumber());
}

void GraphContractTest::aPositionAskedForIsToldUntilItIsReached()
{
    const auto isReached = [this](MediaTime asked) {
        return GetPosition() == asked && m_player->settle() && qAbs(GetPosition() - asked) <= unitsPerSecond / 25;
    };
    for (const int percent : {50, 90, 10, 0, 70}) {
        SetPosition(percent * Duration / 100);
        QVERIFY(isReached(percent * Duration / 100));
        compareShown(m_player->shownNumber());
    }
    // The newest of a flood of commands counts.
    for (int command = 0; command < 50; ++command)
        SetPosition(command * Duration / 50);
    QVERIFY(isReached(49 * Duration / 50));
    // No position lies outside the film, not even on the way.
    SetPosition(-5 * unitsPerSecond);
    QVERIFY(isReached(0));
    compareShown(0);
    SetPosition(Duration + 100 * unitsPerSecond);
    QCOMPARE(GetPosition(), Duration - 1);
}

void GraphContractTest::stepsShowTheNeighbours()
{
    m_player->seekTo(0);
    m_player->stepBack();
    for (int number = 0; number < 10; ++number, m_player->stepForward())
        compareShown(number);
    for (int number = 10; number > 3; --number, m_player->stepBack())
        compareShown(number);
    // A step from a picture that is not there yet goes by its time.
    SetPosition(4 * unitsPerSecond);
    m_player->stepForward();
    compareShown(101);
}

void GraphContractTest::theEndIsTheLastPicture()
{
    m_player->seekTo(Duration + 100 * unitsPerSecond);
    m_player->stepForward();
    compareShown(pictures - 1);
    m_player->stepBack();
    compareShown(pictures - 2);
    Play();
    QTRY_COMPARE(m_player->shownNumber(), pictures - 1);
    QVERIFY(OPENED && !PAUSED);
    QVERIFY2(GetPosition() <= Duration, qPrintable(QString("%1 of %2").arg(GetPosition()).arg(Duration)));
    m_player->seekTo(0);
    QVERIFY(hasBegun());
    QVERIFY(GetPosition() < Duration / 2);
}

/// Seconds of film in a second, over this much of the film's beginning.
double GraphContractTest::measuredRate(double filmSeconds)
{
    m_player->seekTo(0);
    Play();
    while (GetPosition() <= 0)
        runEvents(1);
    const MediaTime start = GetPosition();
    QElapsedTimer elapsed;
    elapsed.start();
    while (GetPosition() < start + mediaTimeAt(filmSeconds))
        runEvents(1);
    Pause();
    return filmSeconds / static_cast<double>(elapsed.nsecsElapsed()) * 1e9;
}

void GraphContractTest::everyRateIsTakenAndTold()
{
    if (!takesRates())
        QSKIP("this graph runs at the rate 1 only");
    for (const double rate : {0.1, 0.25, 3.0, 6.0, 1.0}) {
        Play();
        SetRate(rate);
        QCOMPARE(GetRate(), rate);
        QVERIFY(!PAUSED);
        Pause();
        SetRate(rate);
        QCOMPARE(GetRate(), rate);
        QVERIFY(PAUSED);
    }
    const double normal = measuredRate(1.0);
    SetRate(6.0);
    QVERIFY(measuredRate(6.0) > 2.0 * normal);
    QCOMPARE(m_player->messages, QStringList());
}

void GraphContractTest::aSecondFilmStartsAnew()
{
    SetRate(2.0);
    SetPosition(Duration / 2);
    Open(m_film);
    QCOMPARE(m_player->messages, QStringList());
    QVERIFY(OPENED && !PAUSED);
    QCOMPARE(GetRate(), 1.0);
    QVERIFY(GetPosition() < Duration / 4);
    // With a command under way.
    SetPosition(Duration / 3);
    Teardown();
    QVERIFY(!OPENED && IsSettled());
    QCOMPARE(GetPosition(), MediaTime(0));
    Teardown();
    QTRY_COMPARE(m_player->shownNumber(), -1);
    m_player->openPaused(m_film);
    compareShown(0);
    QCOMPARE(m_player->messages, QStringList());
}

void GraphContractTest::whatIsNoFilmIsRefused()
{
    const QTemporaryDir folder;
    QFile text(folder.filePath("notes.avi"));
    QVERIFY(text.open(QIODevice::WriteOnly) && text.write("Список покупок: хлеб, молоко.\n") > 0);
    text.close();
    for (const QString &path : {text.fileName(), folder.path(), folder.filePath("missing.avi"), QString()}) {
        m_player->messages.clear();
        Open(path);
        QCOMPARE(m_player->messages, QStringList("Failed open file"));
        QVERIFY(!OPENED);
    }
    m_player->openPaused(m_film);
    compareShown(0);
}

QTEST_MAIN(GraphContractTest)
#include "graph_contract_test.moc"
