#include "random_seed.h"
#include "reader/read_pattern.h"
#include "util/media_time.h"

#include <QRandomGenerator>
#include <QTest>

#include <algorithm>

// What the reader decodes ahead for an export must be what the export reads next, and little else.

class ReadPatternTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void anExportIsForeseen();
    void otherStridesAreForeseen();
};

void ReadPatternTest::anExportIsForeseen()
{
    QRandomGenerator random(randomSeed());
    for (const double rate : {24000.0 / 1001.0, 24.0, 30000.0 / 1001.0, 50.0, 60000.0 / 1001.0, 10.0, 29.5, 3.0}) {
        ReadPattern pattern(rate);
        std::size_t guesses = 0;
        constexpr int scenes = 1000;
        for (int scene = 0; scene < scenes; ++scene) {
            double time = (2000 * scene + random.bounded(1000)) / 100.0;
            for (int second = 0; second < 5; ++second, time += 1.0) {
                const auto index = static_cast<std::int64_t>(framesBefore(time, rate));
                const std::vector<std::int64_t> foreseen = pattern.next(1);
                if (second > 0) {
                    guesses += foreseen.size();
                    QVERIFY2(std::find(foreseen.begin(), foreseen.end(), index) != foreseen.end(),
                             qPrintable(QString("%1 a second, %2 s, %3").arg(rate).arg(time).arg(index)));
                }
                pattern.note(index);
                if (scene > 0)
                    QCOMPARE(pattern.readsLeft(), 4 - second);
            }
        }
        const double most = rate != std::round(rate) ? 1.8 : 1.3;
        QVERIFY2(static_cast<double>(guesses) < most * 4 * scenes, qPrintable(QString::number(guesses)));
    }
}

void ReadPatternTest::otherStridesAreForeseen()
{
    ReadPattern pattern(25.0);
    for (const std::int64_t stride : {1, 10, 25, 100}) {
        for (std::int64_t index = 1000; index < 1000 + 4 * stride; index += stride)
            pattern.note(index);
        QCOMPARE(pattern.next(2), (std::vector<std::int64_t>{1000 + 4 * stride, 1000 + 5 * stride}));
        QCOMPARE(pattern.strides(), stride >= 10);
    }
}

QTEST_APPLESS_MAIN(ReadPatternTest)
#include "read_pattern_test.moc"
