#include "reader_films.h"

#include "engine_player.h"
#include "films/film_witness.h"

#include <QTest>

#include <algorithm>
#include <cmath>

namespace {

FilmSpec spec(const QString &file, const QString &video, QSize size = {192, 108}, int rotation = 0)
{
    return {.file = "agree_" + file, .size = size, .frames = 40, .video = video.split(' '), .rotation = rotation};
}

// The largest of the channels' mean differences over all pixels.
double meanDifference(const QImage &one, const QImage &other)
{
    double sums[3] = {};
    for (int y = 0; y < one.height(); ++y) {
        for (int x = 0; x < one.width() * 3; ++x)
            sums[x % 3] += std::abs(one.constScanLine(y)[x] - other.constScanLine(y)[x]);
    }
    return *std::max_element(sums, sums + 3) / (one.width() * one.height());
}

} // namespace

// The reader's pictures against those that the player shows: the same size, the same moment, the same colours.

class PlayerAgreementTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { av_log_set_level(AV_LOG_QUIET); }

    void pictures_data()
    {
        QTest::addColumn<FilmSpec>("film");
        const QString x264 = "-c:v libx264 -preset veryfast -crf 14 -vf ";
        const QString colourful = x264 + "hue=h=90:s=3,format=";
        const QString coloured = "-vf hue=h=90:s=3";
        const FilmSpec films[] = {
            spec("colour.mp4", colourful + "yuv420p"),
            spec("bt709.mp4", colourful + "yuv420p -colorspace bt709"),
            spec("smpte240.mkv", colourful + "yuv420p -colorspace smpte240m"),
            spec("large.mp4", colourful + "yuv420p", {1280, 720}),
            spec("full.mp4", x264 + "scale=out_range=full,format=yuv420p -color_range pc"),
            spec("full10.mkv", x264 + "scale=out_range=full,format=yuv420p10le -color_range pc"),
            spec("10bit.mp4", colourful + "yuv420p10le"),
            spec("wide_pixels.mp4", x264 + "setsar=64/45,format=yuv420p"),
            spec("high_pixels.mkv", x264 + "setsar=8/9,format=yuv420p"),
            spec("odd.mkv", x264 + "hue=h=90:s=3,crop=191:107:0:0:exact=1,format=yuv444p"),
            spec("rgb.mkv", coloured + " -c:v libx264rgb -crf 10 -pix_fmt rgb24"),
            spec("gray16.mkv", "-vf format=gray16le -c:v ffv1"),
            spec("palette.mov", coloured + ",format=rgb8,format=pal8 -c:v png"),
            spec("rgb555.avi", coloured + ",format=rgb555le -c:v rawvideo"),
            spec("alpha.mov", coloured + ",format=argb,colorchannelmixer=aa=0.5 -c:v qtrle"),
            spec("alpha_ffv1.mkv", coloured + ",format=yuva420p,lutyuv=a=128 -c:v ffv1"),
            spec("interlaced.mp4", colourful + "yuv420p,interlace -flags +ildct+ilme"),
            spec("right.mp4", x264 + "transpose=cclock,format=yuv420p", {192, 108}, 90),
            spec("mpeg2.mpg", "-vf setsar=16/15 -c:v mpeg2video -q:v 2 -bf 2"),
            spec("mpeg1.avi", "-c:v mpeg1video -q:v 2 -bf 2"),
            spec("mjpeg.gxf", "-c:v mjpeg -q:v 2", {720, 576}),
        };
        for (const FilmSpec &film : films)
            QTest::newRow(qPrintable(film.file)) << film;
    }

    void pictures()
    {
        QFETCH(FilmSpec, film);
        const QString path = makeFilm(film);
        const auto read = Film::open(path.toStdString(), never, never);
        QVERIFY(read);

        EnginePlayer player(makeTestedGraphSystem, QSize(read->width(), read->height()));
        player.openPaused(path);
        QVERIFY(OPENED);
        QCOMPARE(QSize(read->width(), read->height()), QSize(srcWidth, srcHeight));
        // The first picture may have been drawn in another size, before the panel's was known.
        for (const int index : {7, 0, 20}) {
            player.seekTo(static_cast<MediaTime>((index + 0.01) / read->frameRate() * 1e7));
            const QImage shown = player.picture().convertToFormat(QImage::Format_RGB888);
            const QImage found = readPicture(*read, index).convertToFormat(QImage::Format_RGB888);
            QCOMPARE(found.size(), shown.size());
            QCOMPARE(paintedFrameNumber(shown).value_or(index), index);
            QCOMPARE(paintedFrameNumber(found), paintedFrameNumber(shown));
            // The two enlarge the colour planes in different ways; another matrix or range makes more of a difference.
            constexpr double mostDifference = 3.5;
            const double difference = meanDifference(shown, found);
            QVERIFY2(difference < mostDifference, qPrintable(QString("%1: %2").arg(index).arg(difference)));
        }
    }
};

QTEST_MAIN(PlayerAgreementTest)
#include "player_agreement_test.moc"
