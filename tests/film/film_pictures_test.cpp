#include "film/film_pictures.h"

#include "films/film_maker.h"
#include "random_seed.h"

#include <QHash>
#include <QRandomGenerator>
#include <QTest>

#include <algorithm>
#include <functional>

// What the packets tell, against what the ffmpeg programs show when they decode the film from its beginning.

namespace {

enum class Known { Yes, No };

struct TriedFilm {
    FilmSpec made;
    Known known = Known::Yes;
    int wrongAtBegin = 0; ///< pictures that the ffmpeg programs make up before the film's first key picture
};

FilmSpec spec(const QString &file, const QString &video, const QString &container = {}, const QString &audio = {})
{
    return {.file = "film_" + file,
            .size = {120, 68},
            .frames = 600,
            .video = video.split(' '),
            .audio = audio.split(' ', Qt::SkipEmptyParts),
            .container = container.split(' ', Qt::SkipEmptyParts)};
}

// Seconds between some pictures, and a few milliseconds between others.
FilmSpec uneven(const QString &file, const QString &video)
{
    FilmSpec film = spec(file, "-vf settb=1/1000,setpts='N*40+floor(N/25)*3700+3*mod(N*7,11)' -vsync passthrough "
                               "-enc_time_base:v 1/1000 "
                                   + video);
    film.constantRate = false;
    return film;
}

std::vector<TriedFilm> triedFilms()
{
    const QString x264 = "-c:v libx264 -preset veryfast -pix_fmt yuv420p -x264-params ";
    const QString x265 = "-c:v libx265 -preset ultrafast -pix_fmt yuv420p -x265-params log-level=none:";
    const QString h264 = x264 + "keyint=50:min-keyint=50:scenecut=0:bframes=3:b-pyramid=normal";
    const QString h264Open = x264 + "keyint=50:min-keyint=20:scenecut=40:bframes=3:open-gop=1";
    const QString hevc = x265 + "keyint=50:min-keyint=50:scenecut=0:bframes=4:open-gop=0";
    const QString hevcOpen = x265 + "keyint=48:min-keyint=48:scenecut=0:bframes=3:open-gop=1";
    const QString mpeg2 = "-c:v mpeg2video -q:v 4 -g 12 -bf 2";
    const QString tone = "-c:a mp2 -b:a 128k";
    const QString sparse = "-vf setpts='(N*6+mod(N*N,5))/15/TB' -r 15 -vsync vfr -c:v mjpeg -q:v 5";
    FilmSpec sparseAvi = spec("sparse.avi", sparse);
    sparseAvi.frames = 68;
    FilmSpec single = spec("single.mp4", h264);
    single.frames = 1;
    return {
        {spec("h264_12.ts", x264 + "keyint=12:min-keyint=12:scenecut=0:bframes=3")},
        {spec("h264_50.ts", h264, "-output_ts_offset 17.3", tone)},
        {spec("h264_250.ts", x264 + "keyint=250:min-keyint=250:scenecut=0:bframes=3", {}, tone)},
        {spec("h264_open.ts", h264Open)},
        {spec("h264_late.ts", h264Open, "-output_ts_offset 95000")},
        {spec("h264_refresh.ts", x264 + "keyint=30:intra-refresh=1:bframes=0")},
        {cut(spec("cut_h264.ts", h264Open, {}, tone), 188 * 200)},
        {spec("hevc_50.ts", hevc, {}, tone)},
        {spec("hevc_open.ts", hevcOpen)},
        {.made = cut(spec("cut_hevc.ts", hevcOpen), 188 * 100), .wrongAtBegin = 60},
        {spec("mpeg2.ts", mpeg2, {}, tone)},
        {cut(spec("cut_mpeg2.ts", mpeg2), 188 * 60)},
        {spec("mpeg2.mpg", mpeg2, "-f vob", tone)},
        {spec("mpeg2_late.vob", mpeg2, "-output_ts_offset 700", tone)},
        {cut(spec("cut_mpeg2.mpg", mpeg2, "-f vob"), 2048 * 31)},
        {spec("h264.mp4", h264, {}, "-c:a aac")},
        {copied(spec("cut.mp4", h264, {}, "-c:a aac"), 10.3)},
        {copied(spec("cut_open.mp4", h264Open), 10.3)},
        {copied(spec("cut.mov", hevcOpen), 7.77)},
        {spec("h264_late.mp4", h264, "-output_ts_offset 5.5")},
        {spec("h264_fragments.mp4", h264, "-movflags frag_keyframe+empty_moov")},
        {spec("h264.mkv", h264, {}, "-c:a aac")},
        {copied(spec("cut.mkv", h264Open), 10.3)},
        {uneven("uneven.mkv", h264)},
        {uneven("uneven.mp4", h264)},
        {spec("hevc.mkv", hevcOpen)},
        {spec("vp8.webm", "-c:v libvpx -g 40 -deadline realtime -cpu-used 8 -auto-alt-ref 1 -lag-in-frames 10")},
        {spec("vp9.webm", "-c:v libvpx-vp9 -g 100 -deadline realtime -cpu-used 8")},
        {spec("h264.flv", h264, {}, "-c:a aac")},
        {spec("flv1.flv", "-c:v flv -q:v 4 -g 30")},
        {spec("wmv2.wmv", "-c:v wmv2 -q:v 4 -g 30")},
        {spec("theora.ogv", "-c:v libtheora -q:v 7 -g 32")},
        {spec("mpeg4.avi", "-c:v mpeg4 -q:v 4 -g 100")},
        {spec("rpza.mov", "-c:v rpza")},
        {spec("h261.avi", "-vf scale=176:144 -c:v h261 -q:v 4")},
        {spec("h263.mkv", "-vf scale=176:144 -c:v h263 -q:v 4 -g 40")},
        {sparseAvi},
        {single},
        {.made = spec("mpeg4_b.avi", "-c:v mpeg4 -q:v 4 -g 30 -bf 2"), .known = Known::No},
        {.made = spec("h264_b.avi", h264), .known = Known::No},
        {.made = spec("bare.h264", h264), .known = Known::No},
    };
}

QStringList lines(const QString &program, const QStringList &arguments)
{
    return QString(outputOf(program, arguments)).split('\n', Qt::SkipEmptyParts);
}

/// The presentation times of the pictures that a decoder gives, in its order.
std::vector<std::int64_t> decodedTimes(const QString &path)
{
    std::vector<std::int64_t> times;
    for (const QString &line : lines("ffprobe", {"-v", "quiet", "-select_streams", "v:0", "-show_entries",
                                                 "frame=best_effort_timestamp", "-of", "csv=p=0", path}))
        times.push_back(line.split(',')[0].toLongLong());
    return times;
}

/// Where the ffmpeg program is to begin so that its demuxer is sent to these seconds.
QString demuxerStart(const QString &path, double seconds)
{
    const bool isStream = path.endsWith(".ts") || path.endsWith(".mpg") || path.endsWith(".vob");
    const QStringList delay = lines("ffprobe", {"-v", "quiet", "-select_streams", "v:0", "-show_entries",
                                                "stream=has_b_frames", "-of", "csv=p=0", path});
    // It begins a little earlier of itself where pictures are reordered.
    constexpr double earlier = 3.0 / 23;
    return QString::number(isStream && delay[0].toInt() > 0 ? seconds + earlier : seconds, 'f', 6);
}

/// Hashes of the decoded pictures by their times, of all or from where a demuxer is sent to on.
QHash<std::int64_t, QString> decodedPictures(const QString &path, std::optional<double> from = {})
{
    QStringList arguments{"-nostdin", "-v", "quiet"};
    if (from)
        arguments += {"-noaccurate_seek", "-seek_timestamp", "1", "-ss", demuxerStart(path, *from)};
    arguments += {"-i", path, "-frames:v", "1000"};
    arguments += QString("-map 0:v:0 -copyts -vsync passthrough -enc_time_base -1 -f framemd5 pipe:1").split(' ');
    QHash<std::int64_t, QString> pictures;
    for (const QString &line : lines("ffmpeg", arguments)) {
        const QStringList fields = line.split(',');
        if (!line.startsWith('#') && fields.size() >= 6)
            pictures.insert(fields[2].trimmed().toLongLong(), fields[5]);
    }
    return pictures;
}

bool never()
{
    return false;
}

} // namespace

class FilmPicturesTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void everyPictureStandsWhereADecoderGivesIt_data()
    {
        QTest::addColumn<TriedFilm>("film");
        for (const TriedFilm &film : triedFilms())
            QTest::addRow("%s", qPrintable(film.made.file)) << film;
    }

    void everyPictureStandsWhereADecoderGivesIt()
    {
        QFETCH(const TriedFilm, film);
        const QString path = makeFilm(film.made);
        const auto pictures = FilmPictures::open(path.toStdString(), never);
        QCOMPARE(pictures != nullptr, film.known == Known::Yes);
        if (!pictures)
            return;
        std::vector<std::int64_t> times = decodedTimes(path);
        const auto first = std::find(times.begin(), times.end(), pictures->first());
        QVERIFY2(first - times.begin() <= film.wrongAtBegin,
                 qPrintable(QString("begins at %1, not %2").arg(pictures->first()).arg(times.front())));
        times.erase(times.begin(), first);
        QCOMPARE(pictures->last(), times.back());

        const auto size = static_cast<int>(times.size());
        const auto check = [&](int index) {
            const std::int64_t time = times[static_cast<std::size_t>(index)];
            const auto before = pictures->before(time);
            const auto after = pictures->after(time);
            const bool isFirst = index == 0;
            const bool isLast = index == size - 1;
            using Kind = FilmPictures::Neighbour::Kind;
            const std::int64_t expectedBefore = isFirst ? 0 : times[static_cast<std::size_t>(index - 1)];
            const std::int64_t expectedAfter = isLast ? 0 : times[static_cast<std::size_t>(index + 1)];
            const QString told = QString("%1 of %2 at %3").arg(index).arg(size).arg(time);
            QVERIFY2(before.kind == (isFirst ? Kind::None : Kind::Picture) && before.time == expectedBefore,
                     qPrintable(told + " before " + QString::number(before.time)));
            QVERIFY2(after.kind == (isLast ? Kind::None : Kind::Picture) && after.time == expectedAfter,
                     qPrintable(told + " after " + QString::number(after.time)));
            const double begin = pictures->secondsOf(time);
            const double end = isLast ? begin + 100 : pictures->secondsOf(expectedAfter);
            QVERIFY2(pictures->at(begin) == time && pictures->at(begin + 0.4 * (end - begin)) == time,
                     qPrintable(told));
            QVERIFY2(pictures->at(begin - 1e-7) == time, qPrintable(told));
        };
        for (int index = 0; index < size; ++index)
            check(index);
        for (int index = size - 1; index >= 0; --index)
            check(index);
        QRandomGenerator random(randomSeed());
        for (int jump = 0; jump < 60; ++jump)
            check(static_cast<int>(random.bounded(size)));
        QCOMPARE(pictures->at(-1000.0), times.front());

        // A demuxer that is sent to the group's begin gives the right picture.
        const QHash<std::int64_t, QString> expected = decodedPictures(path);
        for (int jump = 0; jump < 4; ++jump) {
            const std::int64_t time = times[random.bounded(static_cast<quint32>(times.size()))];
            const auto group = pictures->groupBegin(time);
            QVERIFY(group && group->shown <= time && group->decoded <= group->shown);
            // Sent to the first group of an FLV file, the ffmpeg program begins at the second.
            if (path.endsWith(".flv") && group->shown == pictures->first())
                continue;
            const auto from = decodedPictures(path, pictures->secondsOf(time) - group->secondsBefore);
            QVERIFY2(from.value(time) == expected.value(time),
                     qPrintable(QString("%1 from %2").arg(time).arg(group->shown)));
        }
    }

    void whatIsInterruptedGivesNoWrongAnswer_data()
    {
        QTest::addColumn<TriedFilm>("film");
        for (const TriedFilm &film : triedFilms()) {
            const QStringList files{"film_h264.mp4", "film_h264_50.ts", "film_mpeg2.mpg", "film_hevc.mkv",
                                    "film_theora.ogv"};
            if (files.contains(film.made.file))
                QTest::addRow("%s", qPrintable(film.made.file)) << film;
        }
    }

    void whatIsInterruptedGivesNoWrongAnswer()
    {
        QFETCH(const TriedFilm, film);
        const std::string path = makeFilm(film.made).toStdString();
        using Answer = std::optional<std::int64_t>;
        using Neighbour = FilmPictures::Neighbour;
        const auto timeOf = [](const Neighbour &neighbour) {
            return neighbour.kind == Neighbour::Kind::Unknown ? std::nullopt : Answer(neighbour.time);
        };
        // At so many seconds, which are so many units of the film's time.
        const std::function<Answer(FilmPictures &, double, std::int64_t)> questions[] = {
            [](FilmPictures &pictures, double, std::int64_t) { return pictures.last(); },
            [](FilmPictures &pictures, double seconds, std::int64_t) { return pictures.at(seconds); },
            [&](FilmPictures &pictures, double, std::int64_t time) { return timeOf(pictures.before(time)); },
            [&](FilmPictures &pictures, double, std::int64_t time) { return timeOf(pictures.after(time)); },
            [](FilmPictures &pictures, double, std::int64_t time) {
                const auto group = pictures.groupBegin(time);
                return group ? Answer(group->shown) : std::nullopt;
            },
        };
        const auto whole = FilmPictures::open(path, never);
        QVERIFY(whole);
        QRandomGenerator random(randomSeed());
        for (const auto &question : questions) {
            int unanswered = 0;
            for (int patience = 0; patience < 3000; patience += 1 + patience / 2) {
                int asked = 0;
                bool isPatient = true;
                const auto pictures = FilmPictures::open(path, [&] { return !isPatient && ++asked > patience; });
                QVERIFY(pictures);
                const double seconds = whole->secondsOf(whole->first()) + random.bounded(24.0);
                const auto time = static_cast<std::int64_t>(seconds / whole->secondsOf(1));
                const Answer right = question(*whole, seconds, time);
                QVERIFY(right);
                isPatient = false;
                const Answer answer = question(*pictures, seconds, time);
                const auto told = [&](const Answer &wrong) {
                    return QString("question %1, patience %2, at %3: %4, not %5")
                        .arg(&question - questions)
                        .arg(patience)
                        .arg(seconds)
                        .arg(wrong.value_or(-1))
                        .arg(*right);
                };
                QVERIFY2(!answer || answer == right, qPrintable(told(answer)));
                unanswered += answer ? 0 : 1;
                isPatient = true;
                const Answer again = question(*pictures, seconds, time);
                QVERIFY2(again == right, qPrintable(told(again)));

                asked = 0;
                const auto opened = FilmPictures::open(path, [&] { return ++asked > patience; });
                QVERIFY(!opened || asked <= patience || opened->first() == whole->first());
            }
            QVERIFY(unanswered > 0);
        }
    }
};

QTEST_APPLESS_MAIN(FilmPicturesTest)
#include "film_pictures_test.moc"
