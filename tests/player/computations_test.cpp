#include "player/display_texts.h"
#include "player/scene_marking.h"
#include "player/transport.h"
#include "util/media_time.h"
#include "util/numbers.h"

#include <QTest>

#include <cmath>
#include <tuple>

class ComputationsTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void textsForTheReader();
    void stepsStayInsideTheVideo();
    void marksAreTruncatedToHundredths();
    void everyPictureIsNamedByItsMark();
    void picturesThatNoMarkNamesKeepTheirTime();
};

void ComputationsTest::textsForTheReader()
{
    QCOMPARE(NiceNumberView(600), QString(" 600"));
    QCOMPARE(NiceNumberView(-12), QString(" -12"));
    QCOMPARE(NiceNumberView(INT64_MIN), QString("-9 223 372 036 854 775 808"));
    // The sixtieth second and minute stay in their place.
    for (const auto &[seconds, text] :
         {std::pair(9, "0:00:09 (9 sec)"), std::pair(60, "0:00:60 (60 sec)"), std::pair(61, "0:01:01 (61 sec)"),
          std::pair(600, "0:10:00 ( 600 sec)"), std::pair(3600, "0:60:00 (3 600 sec)"),
          std::pair(3601, "1:00:01 (3 601 sec)"), std::pair(3660, "1:00:60 (3 660 sec)"),
          std::pair(36000, "10:00:00 (36 000 sec)")})
        QCOMPARE(GetTimeForMovie(seconds), QString(text));
    QCOMPARE(videoInformation(640, 480, 30000.0 / 1001.0), QString("640x480@29.9700"));
    QCOMPARE(videoInformation(0, 0, 25.0), QString("без изображения"));
}

void ComputationsTest::stepsStayInsideTheVideo()
{
    constexpr MediaTime duration = 900'000'000;
    constexpr double ntscFrame = 1e7 / (30000.0 / 1001.0);
    QCOMPARE(steppedPosition(300'000'000, -600'000'000, duration), MediaTime(0));
    QCOMPARE(steppedPosition(899'600'000, 400'000, duration), duration - 1);
    QCOMPARE(steppedPosition(0, ntscFrame, duration), MediaTime(333'666));
    QCOMPARE(steppedPosition(333'667, -ntscFrame, duration), MediaTime(0));
    QCOMPARE(frameNumber(400'000, 25.0), std::int64_t(1));
    QCOMPARE(frameNumber(399'999, 25.0), std::int64_t(0));
}

void ComputationsTest::marksAreTruncatedToHundredths()
{
    for (const auto &[position, text] : {std::pair(123'456'780LL, "12.34"), std::pair(600'000'000LL, "60"),
                                         std::pair(0LL, "0"), std::pair(36'000'199'999LL, "3600.01")})
        QCOMPARE(sceneStartText(position), QString(text));
    // A length is measured from the start as it was typed.
    for (const auto &[start, end, text] :
         {std::tuple("12.34", 156'780'000, "3.33"), std::tuple("", 20'000'000, "2"),
          std::tuple("12.34", 123'400'000, "0"), std::tuple(" 1.5 с", 20'000'000, "0.5")})
        QCOMPARE(sceneLengthText(start, end).value(), QString(text));
    QVERIFY(!sceneLengthText("12.34", 100'000'000));
    QVERIFY(!sceneLengthText("1e300", 100'000'000));
    QVERIFY(sceneLengthText("-1e300", 100'000'000));
}

// A mark is the position in hundredths as text, its picture in the GIF is the text's number times the rate.
void ComputationsTest::everyPictureIsNamedByItsMark()
{
    constexpr double ntsc = 1000.0 / 1001.0;
    for (const double rate : {10.0, 12.0, 15.0, 24 * ntsc, 24.0, 25.0, 30 * ntsc, 30.0, 48.0, 49.0, 50.0, 60 * ntsc,
                              60.0, 72.0, 90.0, 1e9 / 41708333.0}) {
        const double told = 1.0 / (1.0 / rate);
        // What containers round times to: not at all, nanoseconds, a transport stream's clock, milliseconds.
        for (const double unit : {0.0, 1e-9, 1.0 / 90000.0, 1e-3}) {
            const auto start = [&](int frame) {
                return unit > 0.0 ? std::round(frame / rate / unit) * unit : frame / rate;
            };
            for (int frame = 0; frame < 60'000; ++frame) {
                const MediaTime time = pictureMediaTime(start(frame), told, start(frame + 1));
                const double mark = leadingNumber(sceneStartText(time));
                const double moment = secondsOf(mediaTimeAt(mark));
                if (frameNumber(time, told) != frame || std::trunc(told * mark) != frame
                    || moment < start(frame) - momentTolerance || moment >= start(frame + 1) - momentTolerance)
                    QFAIL(qPrintable(QString("rate %1, unit %2: picture %3 is at %4, marked %5")
                                         .arg(rate)
                                         .arg(unit)
                                         .arg(frame)
                                         .arg(time)
                                         .arg(mark)));
            }
        }
    }
}

void ComputationsTest::picturesThatNoMarkNamesKeepTheirTime()
{
    // At uneven distances a mark must not name the neighbour; 120 pictures a second are more than hundredths.
    QCOMPARE(pictureMediaTime(0.055, 25.0), MediaTime(600'000));
    QCOMPARE(pictureMediaTime(0.055, 25.0, 0.0585), MediaTime(550'000));
    QCOMPARE(pictureMediaTime(0.0550000011, 25.0, 0.0585), MediaTime(550'001));
    QCOMPARE(pictureMediaTime(5.0 / 120.0, 120.0), MediaTime(416'667));
    QCOMPARE(pictureMediaTime(-0.5, 25.0), MediaTime(0));
    QCOMPARE(pictureMediaTime(0.055, 0.0), MediaTime(550'000));
    QCOMPARE(pictureMediaTime(std::nan(""), 25.0), MediaTime(0));
}

QTEST_APPLESS_MAIN(ComputationsTest)
#include "computations_test.moc"
