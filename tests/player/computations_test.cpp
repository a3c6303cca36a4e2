#include "player/display_texts.h"
#include "player/mpv/picture_time.h"
#include "player/scene_marking.h"
#include "player/transport.h"

#include <QTest>

#include <cmath>

class ComputationsTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void numbersAreGroupedFromTheRight();
    void clockKeepsTheSixtiethSecond_data();
    void clockKeepsTheSixtiethSecond();
    void videoInformationCutsTheRate();
    void stepsStayInsideTheVideo();
    void progressBarReachesItsEnd();
    void trackBarsGiveTheirTables();
    void fittingTruncates();
    void marksAreTruncatedToHundredths();
    void lengthIsMeasuredFromTheTypedStart();
    void everyPictureTimeNamesItsFrame_data();
    void everyPictureTimeNamesItsFrame();
    void picturesOffTheGridKeepTheirTime();
};

void ComputationsTest::numbersAreGroupedFromTheRight()
{
    QCOMPARE(NiceNumberView(5), QString("5"));
    QCOMPARE(NiceNumberView(600), QString(" 600"));
    QCOMPARE(NiceNumberView(12345), QString("12 345"));
    QCOMPARE(NiceNumberView(123456), QString(" 123 456"));
    QCOMPARE(NiceNumberView(-12), QString(" -12"));
    QCOMPARE(NiceNumberView(INT64_MIN), QString("-9 223 372 036 854 775 808"));
}

void ComputationsTest::clockKeepsTheSixtiethSecond_data()
{
    QTest::addColumn<int>("seconds");
    QTest::addColumn<QString>("text");
    const auto row = [](int seconds, const char *text) {
        QTest::addRow("%d", seconds) << seconds << QString(text);
    };
    row(0, "0:00:00 (0 sec)");
    row(9, "0:00:09 (9 sec)");
    row(60, "0:00:60 (60 sec)");
    row(61, "0:01:01 (61 sec)");
    row(75, "0:01:15 (75 sec)");
    row(599, "0:09:59 ( 599 sec)");
    row(600, "0:10:00 ( 600 sec)");
    row(3600, "0:60:00 (3 600 sec)");
    row(3601, "1:00:01 (3 601 sec)");
    row(3660, "1:00:60 (3 660 sec)");
    row(3725, "1:02:05 (3 725 sec)");
    row(36000, "10:00:00 (36 000 sec)");
}

void ComputationsTest::clockKeepsTheSixtiethSecond()
{
    QFETCH(int, seconds);
    QTEST(GetTimeForMovie(seconds), "text");
}

void ComputationsTest::videoInformationCutsTheRate()
{
    QCOMPARE(videoInformation(1280, 720, 25.0), QString("1280x720@25"));
    QCOMPARE(videoInformation(640, 480, 30000.0 / 1001.0), QString("640x480@29.9700"));
    QCOMPARE(videoInformation(0, 0, 25.0), QString("без изображения"));
}

void ComputationsTest::stepsStayInsideTheVideo()
{
    constexpr MediaTime duration = 900'000'000;
    QCOMPARE(steppedPosition(300'000'000, -600'000'000, duration), MediaTime(0));
    QCOMPARE(steppedPosition(800'000'000, 600'000'000, duration), duration - 1);
    QCOMPARE(steppedPosition(899'600'000, 400'000, duration), duration - 1);
    QCOMPARE(steppedPosition(0, 1e7 / 25.0, duration), MediaTime(400'000));
    QCOMPARE(steppedPosition(0, 1e7 / (30000.0 / 1001.0), duration), MediaTime(333'666));
    QCOMPARE(steppedPosition(333'667, -1e7 / (30000.0 / 1001.0), duration), MediaTime(0));
    QCOMPARE(frameNumber(400'000, 25.0), std::int64_t(1));
    QCOMPARE(frameNumber(399'999, 25.0), std::int64_t(0));
}

void ComputationsTest::progressBarReachesItsEnd()
{
    QCOMPARE(progressBarSecond(0, 200, 90), 0);
    QCOMPARE(progressBarSecond(199, 200, 90), 90);
    QCOMPARE(progressBarSecond(100, 200, 90), 45);
    QCOMPARE(progressBarSecond(5, 1, 90), 0);
    QCOMPARE(progressBarSecond(5, 200, 0), 0);
}

void ComputationsTest::trackBarsGiveTheirTables()
{
    const QList<double> rates{0.1, 0.2, 0.3, 0.4, 0.5, 0.6, 0.7, 0.8, 0.9, 1,
                              1.5, 2,   2.5, 3,   3.5, 4,   4.5, 5,   5.5, 6};
    for (int position = -9; position <= 10; ++position)
        QVERIFY(std::abs(trackBarRate(position) - rates[position + 9]) < 1e-12);
    QCOMPARE(trackBarLevel(100), std::uint16_t(65535));
    QCOMPARE(trackBarLevel(50), std::uint16_t(32767));
    QCOMPARE(trackBarLevel(1), std::uint16_t(655));
    QCOMPARE(trackBarLevel(0), std::uint16_t(0));
    for (int position = 0; position <= 100; ++position)
        QCOMPARE(levelPercent(trackBarLevel(position)), position);
}

void ComputationsTest::fittingTruncates()
{
    QCOMPARE(fittingHeightChange(1214, 600, 1280, 720), 682 - 600);
    QCOMPARE(fittingHeightChange(1214, 600, 0, 0), 0);
    QCOMPARE(fittingHeightChange(1000, 500, 16, 16), 500);
}

void ComputationsTest::marksAreTruncatedToHundredths()
{
    QCOMPARE(sceneStartText(123'456'780), QString("12.34"));
    QCOMPARE(sceneStartText(600'000'000), QString("60"));
    QCOMPARE(sceneStartText(120'000'000), QString("12"));
    QCOMPARE(sceneStartText(0), QString("0"));
    QCOMPARE(sceneStartText(36'000'000'000 + 199'999), QString("3600.01"));
}

void ComputationsTest::lengthIsMeasuredFromTheTypedStart()
{
    QCOMPARE(sceneLengthText("12.34", 156'780'000).value(), QString("3.33"));
    QCOMPARE(sceneLengthText("12.34", 123'400'000).value(), QString("0"));
    QCOMPARE(sceneLengthText("", 20'000'000).value(), QString("2"));
    QCOMPARE(sceneLengthText(" 1.5 с", 20'000'000).value(), QString("0.5"));
    QVERIFY(!sceneLengthText("12.34", 100'000'000));
    QVERIFY(!sceneLengthText("1e300", 100'000'000));
    QVERIFY(sceneLengthText("-1e300", 100'000'000));
}

void ComputationsTest::everyPictureTimeNamesItsFrame_data()
{
    QTest::addColumn<double>("rate");
    QTest::addColumn<double>("timeBase");
    QTest::newRow("25, exact") << 25.0 << 0.0;
    QTest::newRow("24000/1001, milliseconds") << 24000.0 / 1001.0 << 1e-3;
    QTest::newRow("30000/1001, 90 kHz") << 30000.0 / 1001.0 << 1.0 / 90000.0;
    QTest::newRow("60000/1001, milliseconds") << 60000.0 / 1001.0 << 1e-3;
    QTest::newRow("60000/1001, exact") << 60000.0 / 1001.0 << 0.0;
    QTest::newRow("23.976 as a nanosecond duration") << 1e9 / 41708333.0 << 1e-3;
}

void ComputationsTest::everyPictureTimeNamesItsFrame()
{
    QFETCH(double, rate);
    QFETCH(double, timeBase);
    const double reported = 1.0 / (1.0 / rate);
    MediaTime previous = -1;
    for (std::int64_t frame = 0; frame < 300'000; ++frame) {
        double seconds = static_cast<double>(frame) / rate;
        if (timeBase > 0.0)
            seconds = std::round(seconds / timeBase) * timeBase;
        const MediaTime time = pictureMediaTime(seconds, reported);
        QVERIFY(time > previous);
        if (frameNumber(time, reported) != frame)
            QCOMPARE(frameNumber(time, reported), frame);
        previous = time;
    }
}

void ComputationsTest::picturesOffTheGridKeepTheirTime()
{
    QCOMPARE(pictureMediaTime(0.055, 25.0), MediaTime(550'000));
    QCOMPARE(pictureMediaTime(0.0550000011, 25.0), MediaTime(550'001));
    QCOMPARE(pictureMediaTime(-0.5, 25.0), MediaTime(0));
    QCOMPARE(pictureMediaTime(0.055, 0.0), MediaTime(550'000));
    QCOMPARE(pictureMediaTime(std::nan(""), 25.0), MediaTime(0));
}

QTEST_APPLESS_MAIN(ComputationsTest)
#include "computations_test.moc"
