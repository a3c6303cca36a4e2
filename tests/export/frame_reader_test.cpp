#include "reader_stand_in.h"
#include "scene_lists.h"
#include "scripted_reader.h"

#include "export/frame_reader.h"

#include <QElapsedTimer>
#include <QTemporaryDir>
#include <QTest>

#include <memory>

class FrameReaderTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        m_folder = std::make_unique<QTemporaryDir>();
        m_standIn = std::make_unique<ReaderStandIn>(m_folder->path());
        m_reader = std::make_unique<FRAME_READER>();
        // The reader of the test before may still be ending.
        static int count = 0;
        m_reader->SetShareName(QString("TEST %1").arg(++count));
        m_reader->SetEXE(m_standIn->exe);
        m_clock.start();
    }

    void theReplyToOpenTellsOfTheFilm()
    {
        const QStringList replies{"240 320 1500 29.97", "no such film", "64 48 end", "  +64\t48  -1   12.5e0",
                                  "64 48 9007199254740993 24"};
        // What does not parse stays.
        const QStringList fields{"240 320 1500 29.97", "240 320 1500 29.97", "64 48 1500 29.97", "64 48 -1 12.5",
                                 "64 48 9007199254740993 24"};
        QStringList script{"timeout endless"};
        for (int i = 0; i < replies.size(); ++i)
            script += QString("open@%1 reply %2").arg(i + 1).arg(replies[i]);
        QVERIFY(!m_reader->Check());
        start(script);
        // It is ready at its first check.
        QVERIFY2(m_clock.elapsed() < 400, qPrintable(QString::number(m_clock.elapsed())));
        for (int i = 0; i < fields.size(); ++i) {
            QVERIFY(!m_reader->opened());
            QVERIFY(m_reader->Open(QString("/фильмы/a %1.avi").arg(i)) && m_reader->opened());
            const QString read = QString("%1 %2 ").arg(m_reader->width()).arg(m_reader->height())
                                 + QString("%1 %2").arg(m_reader->frameCount()).arg(m_reader->frameRate());
            QCOMPARE(read, fields[i]);
            QVERIFY(m_reader->Close());
        }
        // A reply without an end ends with its block.
        QVERIFY(m_reader->TimeOut(1));
        QCOMPARE(m_reader->lastResult(), QString(1000 - 10, 'x'));
    }

    void readsMoveThePosition()
    {
        start({"start late 1700", "read@2 late 1500", "read@3 silent"});
        for (const int n : {0, 21, -1, INT_MAX})
            m_reader->SetFramesBuf(n);
        QCOMPARE(m_reader->framesPerBuffer(), 1);
        openFilm();
        QCOMPARE(read(77), 77);
        QCOMPARE(m_reader->position(), std::int64_t{78});
        // A late answer is waited for, within limits.
        QCOMPARE(read(78), 78);
        QCOMPARE(read(5), -1);
        QCOMPARE(m_reader->position(), std::int64_t{5});
        for (const int n : {20, 1}) {
            m_reader->SetFramesBuf(n);
            m_reader->ResizeVideoBuf();
            QCOMPARE(m_reader->bufferSize(), n * 320 * 240 * 3);
            QCOMPARE(read(300), 300);
            QCOMPARE(m_reader->position(), std::int64_t{300 + n});
            QVERIFY(m_reader->ReadAsync());
            QCOMPARE(m_reader->position(), std::int64_t{300 + 2 * n});
            QCOMPARE(m_reader->lastCommand(), QString("read %1 %2").arg(300 + n).arg(n));
        }
    }

    void aShorterIndexIsNotAnsweredByALongerOne()
    {
        start({"read@1 late 200", "read@2 late 200", "read@8 silent", "timeout@2 reply second"});
        openFilm();
        // Nor by one that comes late.
        m_reader->Seek(123);
        m_reader->ReadAsync();
        QTest::qWait(50);
        m_clock.start();
        QCOMPARE(read(12), 12);
        QVERIFY2(m_clock.elapsed() > 300, qPrintable(QString::number(m_clock.elapsed())));
        for (const int index : {1234, 123, 12, 1, 1234})
            QCOMPARE(read(index), index);
        // The same once more is.
        m_clock.start();
        QCOMPARE(read(1234), 1234);
        QVERIFY(m_clock.elapsed() < 50);
        QVERIFY(m_reader->TimeOut(25) && m_reader->TimeOut(2));
        QCOMPARE(m_reader->lastResult(), QString("second"));
    }

    void impossiblePicturesAreRefused()
    {
        for (const QString script : {"open reply nonsense", "open reply -4 -4 10 25", "open reply 65536 65536 10 25",
                                     "open reply 99999999999 99999999999 10 25", "bufupdate small"}) {
            init();
            start({script});
            QVERIFY2(!refusalOf([&] { (void)m_reader->Open("/film.avi"); }).isEmpty(), qPrintable(script));
            // Whoever goes on all the same touches no memory that is not there.
            QVERIFY(m_reader->Read());
            const QString refusal = refusalOf([&] {
                m_reader->ResizeVideoBuf();
                (void)m_reader->GetData();
            });
            QVERIFY2(!refusal.isEmpty() || m_reader->localBuffer().empty(), qPrintable(script));
            QVERIFY(m_reader->Close());
        }
    }

    void patienceEnds()
    {
        start({"open@1 silent", "open@2 garbage", "open@3 late 350", "close silent", "frames late 250"});
        for (int failures = 1; failures <= 2; ++failures) {
            m_clock.start();
            QVERIFY(!m_reader->Open(QString("/film %1.avi").arg(failures)));
            QVERIFY(m_clock.elapsed() >= 3000 && m_clock.elapsed() < 5000);
            QCOMPARE(m_reader->errorText(), QString(" Can't open file").repeated(failures));
            QVERIFY(!m_reader->opened());
        }
        QVERIFY(m_reader->Open("/film.avi"));
        m_reader->SetFramesBuf(2);
        QCOMPARE(m_reader->framesPerBuffer(), 2);

        // Close forgets the film even without an answer.
        m_clock.start();
        QVERIFY(!m_reader->Close());
        QVERIFY(!m_reader->opened() && m_clock.elapsed() < 500);
    }

    void commandsThatDoNotFitAreErrors()
    {
        start();
        const QString fits = "open " + QString(998 - 5, 'f');
        m_reader->Command(fits);
        QVERIFY(m_reader->Result());
        for (const QString &text : {fits + 'f', QString(5000, 'f'), "open " + QString(500, u'ф')}) {
            const QString refusal = refusalOf([&] { m_reader->Command(text); });
            QVERIFY2(refusal.contains(text), qPrintable(refusal));
        }
        QVERIFY(m_reader->TimeOut(1));
    }

    void aReaderMayEnd()
    {
        start({"timeout last"});
        m_reader->Command("timeout 1");
        QTRY_VERIFY(m_reader->hasEnded());
        // Its last answer counts.
        QVERIFY(m_reader->Result());
        start();
        QVERIFY(m_reader->Exit());
        QTRY_VERIFY(m_reader->hasEnded());
        QVERIFY(m_reader->Exit());
    }

    void aMissingReaderCostsNothing()
    {
        for (const QString exe : {"/nowhere/FrameReader", "/etc/passwd", "/bin/false"}) {
            m_reader->SetEXE(exe);
            m_clock.start();
            m_reader->Run();
            QVERIFY2(m_reader->hasEnded() && m_clock.elapsed() < 300, qPrintable(exe));
            const QString refusal = refusalOf([&] { (void)m_reader->Open("/film.avi"); });
            QVERIFY2(refusal.contains(exe), qPrintable(refusal));
            QVERIFY(m_clock.elapsed() < 900);
        }
    }

private:
    void start(const QStringList &script = {})
    {
        m_standIn->setScript(script);
        m_reader->Run();
        QVERIFY(m_reader->Check());
    }

    void openFilm()
    {
        QVERIFY(m_reader->Open("/film.avi"));
        m_reader->ResizeVideoBuf();
    }

    /// The index of the picture that a read from `index` on delivers.
    int read(int index)
    {
        m_reader->Seek(index);
        if (!m_reader->Read() || !m_reader->GetData())
            return -1;
        const std::vector<std::uint8_t> &pixels = m_reader->localBuffer();
        return scripted_reader::indexOf(static_cast<unsigned>(pixels[2] << 16 | pixels[1] << 8 | pixels[0]));
    }

    std::unique_ptr<QTemporaryDir> m_folder;
    std::unique_ptr<ReaderStandIn> m_standIn;
    std::unique_ptr<FRAME_READER> m_reader;
    QElapsedTimer m_clock;
};

QTEST_GUILESS_MAIN(FrameReaderTest)
#include "frame_reader_test.moc"
