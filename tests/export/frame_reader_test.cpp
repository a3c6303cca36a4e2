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
    }

    void onlyAWholeReplyToOpenIsBelieved()
    {
        QVERIFY(!m_reader->Check());
        start({"open@1 reply 240 320 1500 29.97", "open@2 reply 64 48 10", "open@3 reply 64 48 9007199254740993 24"});
        const QString first = "240 320 1500 29.97";
        const QString last = "64 48 9007199254740993 24";
        for (const auto &[opens, fields] : {std::pair(true, first), {false, first}, {true, last}}) {
            QCOMPARE(m_reader->Open("/фильмы/a.avi"), opens);
            QCOMPARE(m_reader->opened(), opens);
            const QString read = QString("%1 %2 ").arg(m_reader->width()).arg(m_reader->height())
                                 + QString("%1 %2").arg(m_reader->frameCount()).arg(m_reader->frameRate());
            QCOMPARE(read, fields);
            QVERIFY(m_reader->Close());
        }
        QCOMPARE(m_reader->lastResult(), QString("ok"));
    }

    /// The reply is "320 240 250 25".
    void aPathThatLeavesNoRoomForTheReplyFails()
    {
        start();
        for (const auto &[bytes, failures] : {std::pair(979, 0), {980, 1}, {993, 2}}) {
            const QString path = "/" + QString((bytes - 1) / 2, u'ф') + (bytes % 2 == 0 ? "f" : "");
            QCOMPARE(m_reader->Open(path), failures == 0);
            QCOMPARE(m_reader->errorText(), QString(" Can't open file").repeated(failures));
            QVERIFY(m_reader->width() == 320 && m_reader->frameRate() == 25.0);
            QVERIFY(m_reader->Close());
        }
    }

    void readsMoveThePosition()
    {
        // The late answer comes during the last pause.
        start({"start late 1700", "read@2 late 5800", "read@3 silent"});
        for (const int n : {0, 21, -1, INT_MAX})
            m_reader->SetFramesBuf(n);
        QCOMPARE(m_reader->framesPerBuffer(), 1);
        openFilm();
        QCOMPARE(read(77), 77);
        QCOMPARE(m_reader->position(), std::int64_t{78});
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
        start({"read@1 late 200", "read@2 late 200", "timeout@2 reply second"});
        openFilm();
        // Nor by one that comes late.
        m_reader->Seek(123);
        m_reader->ReadAsync();
        QTRY_COMPARE(delivered(), 123);
        for (const int index : {12, 1234, 123, 12, 1, 1234, 1234})
            QCOMPARE(read(index), index);
        QVERIFY(m_reader->TimeOut(25) && m_reader->TimeOut(2));
        QCOMPARE(m_reader->lastResult(), QString("second"));
    }

    void impossiblePicturesAreRefused()
    {
        for (const QString script : {"open reply -4 -4 10 25", "open reply 65536 65536 10 25", "bufupdate small"}) {
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
        // The second answer comes during the last pause.
        start({"open@1 silent", "open@2 late 2750", "close silent", "frames late 250"});
        QElapsedTimer clock;
        clock.start();
        QVERIFY(!m_reader->Open("/missing.avi") && !m_reader->opened());
        QCOMPARE(m_reader->errorText(), QString(" Can't open file"));
        const qint64 patience = clock.elapsed();
        QVERIFY(m_reader->Open("/film.avi"));
        m_reader->SetFramesBuf(2);
        QCOMPARE(m_reader->framesPerBuffer(), 2);
        // Close forgets the film even without an answer.
        QVERIFY(!m_reader->Close() && !m_reader->opened());

        // There is none with a reader that is not there.
        m_reader->SetShareName("MISSING");
        for (const QString exe : {"/nowhere/FrameReader", "/etc/passwd", "/bin/false"}) {
            m_reader->SetEXE(exe);
            clock.start();
            m_reader->Run();
            QVERIFY(m_reader->hasEnded());
            const QString refusal = refusalOf([&] { (void)m_reader->Open("/film.avi"); });
            QVERIFY2(refusal.contains(exe), qPrintable(refusal));
            QVERIFY2(clock.elapsed() < patience, qPrintable(exe));
        }
    }

    void commandsThatDoNotFitAreErrors()
    {
        start();
        for (const QString &text : {"open " + QString(994, 'f'), QString(5000, 'f'), "open " + QString(500, u'ф')}) {
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

    /// The index of the picture that lies in the data block, or -1.
    int delivered()
    {
        if (!m_reader->GetData())
            return -1;
        const std::vector<std::uint8_t> &pixels = m_reader->localBuffer();
        return scripted_reader::indexOf(static_cast<unsigned>(pixels[2] << 16 | pixels[1] << 8 | pixels[0]));
    }

    /// The index of the picture that a read from `index` on delivers, or -1 if there is no answer.
    int read(int index)
    {
        m_reader->Seek(index);
        return m_reader->Read() ? delivered() : -1;
    }

    std::unique_ptr<QTemporaryDir> m_folder;
    std::unique_ptr<ReaderStandIn> m_standIn;
    std::unique_ptr<FRAME_READER> m_reader;
};

QTEST_GUILESS_MAIN(FrameReaderTest)
#include "frame_reader_test.moc"
