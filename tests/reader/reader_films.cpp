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
    return {"-c:v", "libx265", "-preset", "ultrafast", "-pix_fmt", "yuv420p", "-x265-params",
            "log-level=none:" + parameters};
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
        {spec("vp8.webm", encoder("libvpx", {"-g", "40", "-deadline", "realtime", "-cpu-used", "8", "-auto-alt-ref",
                                             "1", "-lag-in-frames", "10"}))},
        {spec("vp9.webm", encoder("libvpx-vp9", {"-g", "40", "-deadline", "good", "-cpu-used", "8", "-auto-alt-ref",
                                                 "1", "-lag-in-frames", "16"}))},
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
        // Other kinds of pixels.
        {spec("h264_10.mp4", {"-c:v", "libx264", "-preset", "veryfast", "-pix_fmt", "yuv420p10le", "-g", "40"})},
        {spec("h264_422.mkv", {"-c:v", "libx264", "-preset", "veryfast", "-pix_fmt", "yuv422p", "-g", "40"})},
        {spec("h264_444.mp4", {"-c:v", "libx264", "-preset", "veryfast", "-pix_fmt", "yuv444p", "-g", "40"})},
        {spec("h264_rgb.mkv", {"-c:v", "libx264rgb", "-preset", "veryfast", "-pix_fmt", "bgr24", "-g", "40"})},
        {spec("hevc_10.mkv", {"-c:v", "libx265", "-preset", "ultrafast", "-pix_fmt", "yuv420p10le", "-x265-params",
                              "log-level=none:keyint=30"})},
        {spec("vp9_10.webm", {"-c:v", "libvpx-vp9", "-pix_fmt", "yuv420p10le", "-g", "40", "-deadline", "realtime",
                              "-cpu-used", "8"})},
        {spec("av1_10.mp4", {"-c:v", "libsvtav1", "-pix_fmt", "yuv420p10le", "-preset", "12", "-g", "40"})},
        {spec("vp9.mp4", encoder("libvpx-vp9", {"-g", "40", "-deadline", "realtime", "-cpu-used", "8"}))},
        {spec("odd.mkv", {"-vf", "crop=iw-5:ih-3:exact=1", "-c:v", "ffv1", "-pix_fmt", "yuv420p"})},
        {spec("odd.mp4", {"-vf", "crop=iw-5:ih-3:exact=1", "-c:v", "libx264", "-preset", "veryfast", "-pix_fmt",
                          "yuv444p", "-g", "40"})},
        {spec("palette.mov", {"-vf", "format=rgb8,format=pal8", "-c:v", "png"})},
        {spec("palette.avi", {"-vf", "format=rgb8,format=pal8", "-c:v", "rawvideo"})},
        {spec("raw_bgr.avi", {"-c:v", "rawvideo", "-pix_fmt", "bgr24"})},
        {spec("raw_rgb555.avi", {"-c:v", "rawvideo", "-pix_fmt", "rgb555le"})},
        {spec("raw_yuy2.avi", {"-c:v", "rawvideo", "-pix_fmt", "yuyv422"})},
        {spec("alpha.mov", {"-c:v", "qtrle", "-pix_fmt", "argb"})},
        {spec("alpha_png.mov", {"-c:v", "png", "-pix_fmt", "rgba"})},
        {spec("alpha_prores.mov", {"-c:v", "prores_ks", "-profile:v", "4444", "-pix_fmt", "yuva444p10le"})},
        {spec("gray.mkv", {"-c:v", "ffv1", "-pix_fmt", "gray"})},
        {spec("huffyuv.avi", encoder("huffyuv"))},
        {spec("utvideo.avi", encoder("utvideo"))},
        {spec("mjpeg_444.mov", {"-c:v", "mjpeg", "-q:v", "4", "-pix_fmt", "yuvj444p"})},
        {.made = spec("dv.avi", {"-vf", "scale=720:576,setdar=4/3", "-c:v", "dvvideo", "-pix_fmt", "yuv420p"}),
         .anamorphic = true},
        {.made = spec("dv.dv", {"-vf", "scale=720:576,setdar=4/3", "-c:v", "dvvideo", "-pix_fmt", "yuv420p"}),
         .anamorphic = true},
        {.made = spec("anamorphic.mp4", QStringList{"-vf", "setsar=12/11"} + bFrames), .anamorphic = true},
        {spec("mpeg2_interlaced.ts", mpeg2 + QStringList{"-flags", "+ildct+ilme", "-top", "1"})},
        {spec("mpeg2_interlaced.mpg", mpeg2 + QStringList{"-flags", "+ildct+ilme", "-top", "0"}, {"-f", "vob"})},
        // A colour matrix that no standard names.
        {spec("mpeg2_matrix.m2v", mpeg2 + QStringList{"-bsf:v", "mpeg2_metadata=matrix_coefficients=70"})},
        {spec("h264_interlaced.mp4", x264("keyint=30:tff=1:bframes=2") + QStringList{"-flags", "+ildct+ilme"})},
        {spec("h264.3gp", bFrames)},
        {spec("h264_16refs.mkv", x264("keyint=60:ref=16:bframes=8:b-pyramid=normal:b-adapt=0", "fast"))},
        {spec("h264_offset.mp4", bFrames, {"-output_ts_offset", "5.5"})},
        {spec("mpeg2_offset.mpg", mpeg2, {"-f", "vob", "-output_ts_offset", "700"})},
        {spec("hevc_layers.mp4", x265("keyint=30:bframes=4:b-pyramid=1:temporal-layers=3"))},
        {.made = {.file = "reader_rotated.mp4",
                  .size = size,
                  .frames = frames,
                  .video = QStringList{"-vf", "transpose=cclock"} + bFrames,
                  .audio = {},
                  .rotation = 90}},
        // Pictures at their own times.
        {.made = standardFilm("phone_variable.mp4"), .gaps = true},
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
        throw std::runtime_error(program.toStdString() + ": " + process.readAllStandardError().toStdString());
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
        run("ffmpeg", QStringList{"-nostdin", "-y", "-v", "error"} + film.copied.mid(0, 2)
                          + QStringList{"-i", made, "-c", "copy"} + film.copied.mid(2) + QStringList{copy});
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

std::vector<WitnessedPicture> witnessedPictures(const QString &path, QSize slowlyTo)
{
    // Like the player, the reader shows what an edit list leaves out.
    const QStringList input = path.endsWith(".mp4") ? QStringList{"-advanced_editlist", "0"} : QStringList();
    const QString scale = slowlyTo.isEmpty() ? QString("scale=flags=bilinear")
                                                : QString("scale=%1:%2:flags=bicubic+full_chroma_int+accurate_rnd")
                                                      .arg(slowlyTo.width())
                                                      .arg(slowlyTo.height());
    QByteArray lines;
    run("ffmpeg", QStringList{"-nostdin", "-v", "quiet"} + input
                      + QStringList{"-i", path, "-map", "0:v:0", "-vsync", "passthrough", "-copyts", "-enc_time_base",
                                    "-1", "-vf", scale, "-pix_fmt", "bgr24", "-f", "framemd5", "pipe:1"},
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
