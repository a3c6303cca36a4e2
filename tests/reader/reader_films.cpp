#include "reader_films.h"

#include <QCryptographicHash>
#include <QFile>
#include <QFileInfo>
#include <QProcess>

#include <stdexcept>

namespace {

constexpr int frames = 130;
constexpr QSize size(160, 120);

FilmSpec spec(const QString &file, const QStringList &video, const QStringList &container = {},
              const QString &rate = "25/1")
{
    return {.file = "reader_" + file,
            .size = size,
            .frames = frames,
            .rate = rate,
            .video = video,
            .audio = {},
            .container = container};
}

QStringList x264(const QString &parameters, const QString &preset = "veryfast")
{
    return {"-c:v", "libx264", "-preset", preset, "-pix_fmt", "yuv420p", "-x264-params", parameters};
}

QStringList x265(const QString &parameters)
{
    return {"-c:v", "libx265", "-preset", "ultrafast", "-pix_fmt", "yuv420p", "-x265-params", "log-level=none:" + parameters};
}

QStringList encoder(const QString &name, const QStringList &more = {})
{
    return QStringList{"-c:v", name} + more;
}

std::vector<ReaderFilm> allFilms()
{
    const QStringList bFrames = x264("keyint=40:min-keyint=40:scenecut=0:bframes=3:b-pyramid=normal");
    const QStringList openGroups = x264("keyint=20:min-keyint=20:scenecut=0:bframes=3:open-gop=1");
    const QStringList mpeg2 = encoder("mpeg2video", {"-q:v", "4", "-g", "12", "-bf", "2"});
    const QStringList hevc = x265("keyint=30:min-keyint=30:scenecut=0:bframes=4");
    const QStringList hevcOpen = x265("keyint=24:min-keyint=24:scenecut=0:bframes=3:open-gop=1:temporal-layers=1");
    const QStringList mpeg4 = encoder("mpeg4", {"-q:v", "4", "-g", "30"});
    const QStringList mpeg4B = encoder("mpeg4", {"-q:v", "4", "-g", "30", "-bf", "2"});
    return {
        {spec("h264.mp4", bFrames)},
        {spec("h264.mkv", bFrames, {}, "24000/1001")},
        {spec("h264.mov", bFrames, {}, "60000/1001")},
        {spec("h264.ts", bFrames)},
        {spec("h264.flv", bFrames)},
        {spec("h264.avi", bFrames)},
        {spec("h264_open.mp4", openGroups)},
        {spec("h264_open.ts", openGroups)},
        {spec("h264_open.mkv", openGroups, {}, "30000/1001")},
        {spec("h264_open.avi", openGroups)},
        {spec("h264_one_group.mp4", x264("keyint=infinite:bframes=2"))},
        {spec("h264_intra_refresh.ts", x264("keyint=30:intra-refresh=1:bframes=0"))},
        {spec("h264_fragments.mp4", bFrames, {"-movflags", "frag_keyframe+empty_moov"})},
        {spec("h264_offset.mkv", bFrames, {"-output_ts_offset", "17.3"})},
        {spec("h264_offset.ts", bFrames, {"-output_ts_offset", "95000"})},
        {spec("h264_interlaced.ts", x264("keyint=30:tff=1:bframes=2") + QStringList{"-flags", "+ildct+ilme"})},
        {spec("h264.h264", bFrames)},
        {spec("hevc.mp4", hevc)},
        {spec("hevc.mkv", hevc)},
        {spec("hevc.ts", hevc)},
        {spec("hevc_open.ts", hevcOpen)},
        {spec("hevc_open.mp4", hevcOpen)},
        {spec("mpeg2.mpg", mpeg2, {"-f", "vob"})},
        {spec("mpeg2.ts", mpeg2)},
        {spec("mpeg2.mkv", mpeg2)},
        {spec("mpeg2.m2v", mpeg2)},
        {spec("mpeg1.mpg", encoder("mpeg1video", {"-q:v", "4", "-g", "12", "-bf", "2"}))},
        {spec("mpeg4.avi", mpeg4)},
        {spec("mpeg4_b.avi", mpeg4B)},
        {spec("mpeg4_b.mp4", mpeg4B)},
        {spec("packed.avi", encoder("libxvid", {"-q:v", "4", "-g", "30", "-bf", "2"}))},
        {spec("vp8.webm", encoder("libvpx", {"-g", "40", "-deadline", "realtime", "-cpu-used", "8", "-auto-alt-ref", "1",
                                             "-lag-in-frames", "10"}))},
        {spec("vp9.webm", encoder("libvpx-vp9", {"-g", "40", "-deadline", "good", "-cpu-used", "8", "-auto-alt-ref", "1",
                                                 "-lag-in-frames", "16"}))},
        {spec("av1.mp4", encoder("libsvtav1", {"-preset", "12", "-g", "40"}))},
        {spec("av1.mkv", encoder("libaom-av1", {"-cpu-used", "8", "-usage", "realtime", "-g", "40"}))},
        {spec("mjpeg.avi", encoder("mjpeg", {"-q:v", "4"}))},
        {spec("prores.mov", encoder("prores_ks", {"-profile:v", "0"}))},
        {spec("msmpeg4.asf", encoder("msmpeg4", {"-q:v", "4", "-g", "30"}))},
        {spec("wmv2.wmv", encoder("wmv2", {"-q:v", "4", "-g", "30"}))},
        {spec("theora.ogv", encoder("libtheora", {"-q:v", "7", "-g", "32"}))},
        {spec("flv1.flv", encoder("flv", {"-q:v", "4", "-g", "30"}))},
        {spec("ffv1.mkv", encoder("ffv1"))},
        {spec("gif.gif", encoder("gif"))},
        // What was cut out of a film without decoding it.
        {.made = spec("cut.mp4", bFrames), .copied = {"-ss", "2.6"}},
        {.made = spec("cut_open.mp4", openGroups), .copied = {"-ss", "2.6"}},
        {.made = spec("cut_h264.ts", bFrames), .cutBytes = 188 * 60},
        {.made = spec("cut_open.ts", openGroups), .cutBytes = 188 * 60},
        // Before its first key picture the decoder makes up what it lacks, each time in another way.
        {.made = spec("cut_hevc.ts", hevcOpen), .cutBytes = 188 * 60, .gaps = true, .knownWrong = 15},
        {.made = spec("cut_mpeg2.ts", mpeg2), .cutBytes = 188 * 60},
        {.made = spec("cut_mpeg2.mpg", mpeg2, {"-f", "vob"}), .cutBytes = 2048 * 11},
    };
}

void run(const QString &program, const QStringList &arguments, QByteArray *output = nullptr)
{
    QProcess process;
    process.start(program, arguments);
    const bool finished = process.waitForFinished(120'000);
    if (!finished || process.exitStatus() != QProcess::NormalExit || process.exitCode() != 0)
        throw std::runtime_error((program + ": " + QString::fromLocal8Bit(process.readAllStandardError())).toStdString());
    if (output != nullptr)
        *output = process.readAllStandardOutput();
}

QString changed(const QString &path)
{
    const QFileInfo info(path);
    return info.path() + "/changed_" + info.fileName();
}

} // namespace

const std::vector<ReaderFilm> &readerFilms()
{
    static const std::vector<ReaderFilm> films = allFilms();
    return films;
}

QString makeReaderFilm(const ReaderFilm &film)
{
    const QString made = makeFilm(film.made);
    if (!film.copied.isEmpty()) {
        const QString copy = changed(made);
        run("ffmpeg", QStringList{"-nostdin", "-y", "-v", "error"} + film.copied.mid(0, 2) + QStringList{"-i", made, "-c", "copy"}
                          + film.copied.mid(2) + QStringList{copy});
        return copy;
    }
    if (film.cutBytes > 0) {
        QFile whole(made);
        QFile rest(changed(made));
        if (!whole.open(QIODevice::ReadOnly) || !whole.seek(film.cutBytes) || !rest.open(QIODevice::WriteOnly)
            || rest.write(whole.readAll()) <= 0)
            throw std::runtime_error("cannot cut " + made.toStdString());
        return rest.fileName();
    }
    return made;
}

std::vector<WitnessedPicture> witnessedPictures(const QString &path)
{
    // Like the player, the reader shows what an edit list leaves out.
    const QStringList input = path.endsWith(".mp4") ? QStringList{"-advanced_editlist", "0"} : QStringList();
    QByteArray lines;
    run("ffmpeg", QStringList{"-nostdin", "-v", "quiet"} + input
                      + QStringList{"-i", path, "-map", "0:v:0", "-vsync", "passthrough", "-copyts", "-enc_time_base", "-1",
                                    "-vf", "scale=flags=bilinear", "-pix_fmt", "bgr24", "-f", "framemd5", "pipe:1"},
        &lines);
    std::vector<WitnessedPicture> pictures;
    double timeBase = 1.0;
    double first = 0.0;
    for (const QByteArray &line : lines.split('\n')) {
        if (line.startsWith("#tb 0: ")) {
            const QList<QByteArray> fraction = line.mid(7).trimmed().split('/');
            timeBase = fraction.at(0).toDouble() / fraction.at(1).toDouble();
        }
        const QList<QByteArray> fields = line.split(',');
        if (line.startsWith('#') || fields.size() < 6)
            continue;
        const double time = fields.at(2).trimmed().toDouble() * timeBase;
        if (pictures.empty())
            first = time;
        pictures.push_back({QByteArray::fromHex(fields.at(5).trimmed()), time - first});
    }
    return pictures;
}

QByteArray pictureHash(const char *pixels, qsizetype bytes)
{
    return QCryptographicHash::hash(QByteArrayView(pixels, bytes), QCryptographicHash::Md5);
}
