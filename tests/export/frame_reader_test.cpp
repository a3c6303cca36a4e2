#include "reader_stand_in.h"
#include "scripted_reader.h"

#include "export/frame_reader.h"
#include "util/user_error.h"

#include <QElapsedTimer>
#include <QTest>

#include <sys/wait.h>

#include <csignal>
#include <functional>
#include <memory>
#include <thread>

namespace {

constexpr qint64 atOnce = 900;

/// The text of the UserError that `operation` throws; empty if it throws none.
QString refusalOf(const std::function<void()> &operation)
{
    try {
        operation();
    } catch (const UserError &error) {
        return error.text();
    }
    return {};
}

int frameIn(const FRAME_READER &reader)
{
    const std::vector<std::uint8_t> &pixels = reader.localBuffer();
    return scripted_reader::indexOf({pixels[2], pixels[1], pixels[0]});
}

} // namespace

class FrameReaderTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();
    void opensAFilm();
    void takesOneToTwentyFrames();
    void readsMoveThePosition();
    void aShorterIndexIsNotAnsweredByALongerOne();
    void theSameReadIsAnsweredByItsEcho();
    void anySeparatorWillDo();
    void whatDoesNotParseStays_data();
    void whatDoesNotParseStays();
    void impossiblePicturesAreRefused_data();
    void impossiblePicturesAreRefused();
    void patienceEnds();
    void commandsThatDoNotFitAreErrors();
    void aDeadReaderIsNotWaitedFor_data();
    void aDeadReaderIsNotWaitedFor();
    void theLastAnswerOfAReaderThatEndsCounts();
    void aMissingReaderCostsNothing_data();
    void aMissingReaderCostsNothing();
    void aSlowStartIsWaitedFor();
    void aStoppedReaderIsSurvived();
    void exitEndsTheReader();

private:
    void start(const QStringList &script = {});
    void openFilm();

    std::unique_ptr<ReaderStandIn> m_standIn;
    std::unique_ptr<FRAME_READER> m_reader;
};

void FrameReaderTest::init()
{
    m_standIn = std::make_unique<ReaderStandIn>();
    m_reader = std::make_unique<FRAME_READER>();
    // The reader of the test before may still be ending.
    static int count = 0;
    m_reader->SetShareName(QString("TEST %1").arg(++count));
    m_reader->SetEXE(m_standIn->exe());
}

void FrameReaderTest::cleanup()
{
    m_reader.reset();
    m_standIn.reset();
}

void FrameReaderTest::start(const QStringList &script)
{
    m_standIn->setScript(script);
    m_reader->Run();
    QVERIFY(m_reader->Check());
}

void FrameReaderTest::openFilm()
{
    QVERIFY(m_reader->Open("/film.avi"));
    m_reader->SetFramesBuf(1);
    m_reader->ResizeVideoBuf();
}

void FrameReaderTest::opensAFilm()
{
    QVERIFY(!m_reader->Check());
    QElapsedTimer clock;
    clock.start();
    start({"open reply 640 480 1500 29.97"});
    // It is ready at its first check.
    QVERIFY2(clock.elapsed() < 400, qPrintable(QString::number(clock.elapsed())));
    QVERIFY(!m_reader->opened());
    QVERIFY(m_reader->Open("/фильмы/a b.avi"));
    QVERIFY(m_reader->opened());
    QCOMPARE(m_reader->width(), 640);
    QCOMPARE(m_reader->height(), 480);
    QCOMPARE(m_reader->frameCount(), std::int64_t{1500});
    QCOMPARE(m_reader->frameRate(), 29.97);
    QCOMPARE(m_reader->dataViewSize(), 921600);
    QCOMPARE(m_reader->lastResult(), QString("ok"));
    QVERIFY(m_reader->TimeOut(7));
    QVERIFY(m_reader->Close());
    QVERIFY(!m_reader->opened());
    QCOMPARE(m_standIn->commands(), QStringList({"open /фильмы/a b.avi", "bufupdate", "timeout 7", "close"}));
}

void FrameReaderTest::takesOneToTwentyFrames()
{
    start();
    for (const int n : {0, 21, -1, INT_MAX})
        m_reader->SetFramesBuf(n);
    QCOMPARE(m_standIn->commands(), QStringList());
    QCOMPARE(m_reader->framesPerBuffer(), 1);
    openFilm();
    constexpr int frame = 320 * 240 * 3;
    for (const int n : {20, 1}) {
        m_reader->SetFramesBuf(n);
        QCOMPARE(m_reader->framesPerBuffer(), n);
        QCOMPARE(m_reader->dataViewSize(), n * frame);
        m_reader->ResizeVideoBuf();
        QCOMPARE(m_reader->bufferSize(), n * frame);
        QVERIFY(m_reader->GetData());
    }
}

void FrameReaderTest::readsMoveThePosition()
{
    start({"read@3 silent"});
    openFilm();
    QCOMPARE(m_reader->position(), std::int64_t{0});
    m_reader->Seek(77);
    QVERIFY(m_reader->Read());
    QCOMPARE(m_reader->position(), std::int64_t{78});
    QVERIFY(m_reader->GetData());
    QCOMPARE(frameIn(*m_reader), 77);
    QVERIFY(m_reader->Read());
    QVERIFY(m_reader->GetData());
    QCOMPARE(frameIn(*m_reader), 78);

    m_reader->Seek(5);
    QVERIFY(!m_reader->Read());
    QCOMPARE(m_reader->position(), std::int64_t{5});
    QVERIFY(m_reader->ReadAsync());
    QCOMPARE(m_reader->position(), std::int64_t{6});
    QCOMPARE(m_reader->lastCommand(), QString("read 5 1"));
}

void FrameReaderTest::aShorterIndexIsNotAnsweredByALongerOne()
{
    start({"timeout@2 reply second"});
    openFilm();
    for (const int index : {1234, 123, 12, 1, 1234}) {
        m_reader->Seek(index);
        QVERIFY(m_reader->Read());
        QVERIFY(m_reader->GetData());
        QCOMPARE(frameIn(*m_reader), index);
    }
    QVERIFY(m_reader->TimeOut(25));
    QVERIFY(m_reader->Command("timeout 2"));
    QVERIFY(m_reader->Result());
    QCOMPARE(m_reader->lastResult(), QString("second"));
}

void FrameReaderTest::theSameReadIsAnsweredByItsEcho()
{
    start({"read@2 silent"});
    openFilm();
    m_reader->Seek(9);
    QVERIFY(m_reader->Read());
    m_reader->Seek(9);
    QElapsedTimer clock;
    clock.start();
    QVERIFY(m_reader->Read());
    QVERIFY(clock.elapsed() < 50);
    QVERIFY(m_reader->GetData());
    QCOMPARE(frameIn(*m_reader), 9);
}

void FrameReaderTest::anySeparatorWillDo()
{
    start({"timeout@1 separator _", "timeout@2 separator 7", "timeout@3 endless"});
    for (const int n : {1, 2, 3}) {
        QVERIFY(m_reader->TimeOut(n));
        if (n < 3)
            QCOMPARE(m_reader->lastResult(), QString("ok"));
    }
    // A reply without an end ends with its block.
    QCOMPARE(m_reader->lastResult(), QString(1000 - 10, 'x'));
}

void FrameReaderTest::whatDoesNotParseStays_data()
{
    QTest::addColumn<QString>("reply");
    QTest::addColumn<QString>("fields");
    QTest::newRow("nothing") << "no such film" << "320 240 250 25";
    QTest::newRow("half") << "64 48 end" << "64 48 250 25";
    QTest::newRow("blanks and signs") << "  +64\t48  -1   12.5e0" << "64 48 -1 12.5";
    QTest::newRow("long count") << "64 48 9007199254740993 24" << "64 48 9007199254740993 24";
}

void FrameReaderTest::whatDoesNotParseStays()
{
    QFETCH(const QString, reply);
    QFETCH(const QString, fields);
    start({"open@2 reply " + reply});
    openFilm();
    QVERIFY(m_reader->Open("/other.avi"));
    QCOMPARE(QString("%1 %2 %3 %4")
                 .arg(m_reader->width())
                 .arg(m_reader->height())
                 .arg(m_reader->frameCount())
                 .arg(m_reader->frameRate()),
             fields);
}

void FrameReaderTest::impossiblePicturesAreRefused_data()
{
    QTest::addColumn<QStringList>("script");
    QTest::newRow("none") << QStringList{"open reply nonsense"};
    QTest::newRow("negative") << QStringList{"open reply -4 -4 10 25"};
    QTest::newRow("overflows 32 bits") << QStringList{"open reply 65536 65536 10 25"};
    QTest::newRow("overflows 64 bits") << QStringList{"open reply 99999999999 99999999999 10 25"};
    QTest::newRow("block of one byte") << QStringList{"bufupdate small"};
}

void FrameReaderTest::impossiblePicturesAreRefused()
{
    QFETCH(const QStringList, script);
    start(script);
    QVERIFY(!refusalOf([&] { (void)m_reader->Open("/film.avi"); }).isEmpty());
    // Whoever goes on all the same touches no memory that is not there.
    m_reader->Seek(0);
    QVERIFY(m_reader->Read());
    const QString refusal = refusalOf([&] {
        m_reader->ResizeVideoBuf();
        (void)m_reader->GetData();
    });
    QVERIFY(!refusal.isEmpty() || m_reader->localBuffer().empty());
    QVERIFY(m_reader->Close());
}

void FrameReaderTest::patienceEnds()
{
    start({"open@1 silent", "open@2 garbage", "open@3 late 350", "close silent", "frames late 250"});
    QElapsedTimer clock;
    for (int failures = 1; failures <= 2; ++failures) {
        clock.start();
        QVERIFY(!m_reader->Open(QString("/film %1.avi").arg(failures)));
        QVERIFY2(clock.elapsed() >= 3000 && clock.elapsed() < 5000, qPrintable(QString::number(clock.elapsed())));
        QCOMPARE(m_reader->errorText(), QString(" Can't open file").repeated(failures));
        QVERIFY(!m_reader->opened());
    }
    QVERIFY(m_reader->Open("/film.avi"));
    m_reader->SetFramesBuf(2);
    QCOMPARE(m_reader->framesPerBuffer(), 2);

    // Close forgets the film even without an answer.
    clock.start();
    QVERIFY(!m_reader->Close());
    QVERIFY(!m_reader->opened());
    QVERIFY(clock.elapsed() < 500);
}

void FrameReaderTest::commandsThatDoNotFitAreErrors()
{
    start();
    const QString fits(998 - 5, 'f');
    QVERIFY(m_reader->Command("open " + fits));
    QTRY_COMPARE(m_standIn->commands(), QStringList{"open " + fits});
    for (const QString &text : {"open " + fits + 'f', QString(5000, 'f'), "open " + QString(500, u'ф')}) {
        const QString refusal = refusalOf([&] { m_reader->Command(text); });
        QVERIFY2(refusal.contains(text), qPrintable(refusal));
    }
    QVERIFY(m_reader->TimeOut(1));
    QCOMPARE(m_standIn->commands().size(), qsizetype{2});
}

void FrameReaderTest::aDeadReaderIsNotWaitedFor_data()
{
    QTest::addColumn<QStringList>("script");
    QTest::newRow("at open") << QStringList{"open die"};
    QTest::newRow("at the second bufupdate") << QStringList{"bufupdate@2 die"};
    QTest::newRow("at a read") << QStringList{"read@2 die"};
    QTest::newRow("after a read") << QStringList{"read@1 last"};
    QTest::newRow("killed while idle") << QStringList{};
}

void FrameReaderTest::aDeadReaderIsNotWaitedFor()
{
    QFETCH(const QStringList, script);
    start(script);
    if (script.isEmpty()) {
        QCOMPARE(kill(m_standIn->process(), SIGKILL), 0);
        QTRY_VERIFY(m_reader->hasEnded());
    }
    QElapsedTimer clock;
    clock.start();
    const QString refusal = refusalOf([&] {
        openFilm();
        for (int index : {0, 25, 50}) {
            m_reader->Seek(index);
            QVERIFY(m_reader->Read());
        }
    });
    QVERIFY2(refusal.contains("завершилась"), qPrintable(refusal));
    QVERIFY2(clock.elapsed() < atOnce, qPrintable(QString::number(clock.elapsed())));
    QVERIFY(m_reader->hasEnded());
    QVERIFY(!m_reader->Check());
    QVERIFY(!m_reader->Close());

    start();
    openFilm();
    m_reader->Seek(50);
    QVERIFY(m_reader->Read());
    QVERIFY(m_reader->GetData());
    QCOMPARE(frameIn(*m_reader), 50);
}

void FrameReaderTest::theLastAnswerOfAReaderThatEndsCounts()
{
    start({"timeout last"});
    QVERIFY(m_reader->TimeOut(1));
    QTRY_VERIFY(m_reader->hasEnded());
    QVERIFY(m_reader->Result());
}

void FrameReaderTest::aMissingReaderCostsNothing_data()
{
    QTest::addColumn<QString>("exe");
    QTest::newRow("missing") << "/nowhere/FrameReader";
    QTest::newRow("not executable") << "/etc/passwd";
    QTest::newRow("ends at once") << "/bin/false";
}

void FrameReaderTest::aMissingReaderCostsNothing()
{
    QFETCH(const QString, exe);
    m_reader->SetEXE(exe);
    QElapsedTimer clock;
    clock.start();
    m_reader->Run();
    QVERIFY2(clock.elapsed() < 300, qPrintable(QString::number(clock.elapsed())));
    QVERIFY(m_reader->hasEnded());
    const QString refusal = refusalOf([&] { (void)m_reader->Open("/film.avi"); });
    QVERIFY2(refusal.contains(exe), qPrintable(refusal));
    QVERIFY(clock.elapsed() < atOnce);
}

void FrameReaderTest::aSlowStartIsWaitedFor()
{
    start({"start late 1700"});
    openFilm();
}

void FrameReaderTest::aStoppedReaderIsSurvived()
{
    start();
    openFilm();
    const pid_t process = m_standIn->process();
    QCOMPARE(kill(process, SIGSTOP), 0);
    std::thread later([process] {
        std::this_thread::sleep_for(std::chrono::milliseconds(1500));
        kill(process, SIGCONT);
    });
    m_reader->Seek(100);
    const bool read = m_reader->Read();
    later.join();
    QVERIFY(read);
    QVERIFY(m_reader->GetData());
    QCOMPARE(frameIn(*m_reader), 100);
}

void FrameReaderTest::exitEndsTheReader()
{
    start();
    QVERIFY(m_reader->Exit());
    QTRY_VERIFY(m_reader->hasEnded());
    QVERIFY(m_reader->Exit());
}

QTEST_GUILESS_MAIN(FrameReaderTest)
#include "frame_reader_test.moc"
