#include "reader/read_pattern.h"

#include <QRandomGenerator>
#include <QTest>

#include <algorithm>

// What the reader decodes ahead for an export must be what the export reads next, and little else.

class ReadPatternTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void anExportIsForeseen_data();
    void anExportIsForeseen();
    void otherStridesAreForeseen();
};

void ReadPatternTest::anExportIsForeseen_data()
{
    QTest::addColumn<double>("rate");
    for (const double rate : {24000.0 / 1001.0, 24.0, 25.0, 30000.0 / 1001.0, 30.0, 48.0, 50.0, 60000.0 / 1001.0,
                              15.0, 10.0, 29.5, 3.0})
        QTest::addRow("%g", rate) << rate;
}

void ReadPatternTest::anExportIsForeseen()
{
    QFETCH(double, rate);
    const quint32 seed = QRandomGenerator::global()->generate();
    qInfo("seed %u", seed);
    QRandomGenerator random(seed);
    ReadPattern pattern(rate);
    int reads = 0;
    std::size_t guesses = 0;
    for (int scene = 0; scene < 1000; ++scene) {
        double time = (2000 * scene + random.bounded(1000)) / 100.0;
        for (int second = 0; second < 5; ++second, time += 1.0) {
            const auto index = static_cast<std::int64_t>(rate * time);
            if (second > 0) {
                const std::vector<std::int64_t> foreseen = pattern.next(1);
                ++reads;
                guesses += foreseen.size();
                QVERIFY2(std::find(foreseen.begin(), foreseen.end(), index) != foreseen.end(),
                         qPrintable(QString("%1 s, %2").arg(time).arg(index)));
            }
            pattern.note(index);
            if (scene > 0)
                QCOMPARE(pattern.readsLeft(), 4 - second);
        }
    }
    const bool rounds = rate != std::round(rate);
    QVERIFY2(static_cast<double>(guesses) < (rounds ? 1.8 : 1.3) * reads, qPrintable(QString::number(guesses)));
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
