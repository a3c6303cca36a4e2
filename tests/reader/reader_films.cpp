#include "reader_films.h"

#include <QCryptographicHash>

#include <stdexcept>

namespace {

constexpr int frames = 130;
constexpr QSize size(160, 120);

FilmSpec spec(const QString &file, const QString &video, const QString &container = {}, const QString &rate = "25/1")
{
    return {.file = "reader_" + file,
            .size = size,
            .frames = frames,
            .rate = rate,
            .video = video.split(' '),
            .container = container.split(' ', Qt::SkipEmptyParts)};
}

// Every picture some milliseconds late, but none as late as the next one is due.
ReaderFilm uneven(const QString &file, const QString &video, const QString &container = {})
{
    FilmSpec film = spec(file,
                         "-vf settb=1/1000,setpts='N*40+3*mod(N*7,11)' -vsync passthrough "
                         "-enc_time_base:v 1/1000 "
                             + video,
                         container);
    film.constantRate = false;
    return {.made = film, .gaps = true};
}

FilmSpec brief(FilmSpec film)
{
    film.frames = 40;
    return film;
}

std::vector<ReaderFilm> allFilms()
{
    const QString x264 = "-c:v libx264 -preset veryfast -pix_fmt yuv420p -x264-params ";
    const QString x264Other = "-c:v libx264 -preset veryfast -g 40 -pix_fmt ";
    const QString x265 = "-c:v libx265 -preset ultrafast -pix_fmt yuv420p -x265-params log-level=none:";
    const QString bFrames = x264 + "keyint=40:min-keyint=40:scenecut=0:bframes=3:b-pyramid=normal";
    const QString openGroups = x264 + "keyint=20:min-keyint=20:scenecut=0:bframes=3:open-gop=1";
    const QString mpeg2 = "-c:v mpeg2video -q:v 4 -g 12 -bf 2";
    const QString interlaced = " -flags +ildct+ilme";
    const QString hevc = x265 + "keyint=30:min-keyint=30:scenecut=0:bframes=4";
    const QString hevcOpen = x265 + "keyint=24:min-keyint=24:scenecut=0:bframes=3:open-gop=1:temporal-layers=1";
    const QString mpeg4 = "-c:v mpeg4 -q:v 4 -g 30";
    const QString vp9 = "-c:v libvpx-vp9 -g 40 -cpu-used 8 -deadline ";
    const QString odd = "-vf crop=iw-5:ih-3:exact=1 ";
    const QString palette = "-vf format=rgb8,format=pal8 -c:v ";
    const QString dv = "-vf scale=720:576,setdar=4/3 -c:v dvvideo -pix_fmt yuv420p";
    const std::pair<QString, QStringList> inContainers[] = {
        {bFrames, {"h264.mp4", "h264.ts", "h264.flv", "h264.avi", "h264.3gp", "h264.h264"}},
        {openGroups, {"h264_open.mp4", "h264_open.ts", "h264_open.avi"}},
        {x264 + "keyint=infinite:bframes=2", {"h264_one_group.mp4"}},
        {x264 + "keyint=30:intra-refresh=1:bframes=0", {"h264_intra_refresh.ts"}},
        {x264 + "keyint=30:tff=1:bframes=2" + interlaced, {"h264_interlaced.ts", "h264_interlaced.mp4"}},
        {x264 + "keyint=60:ref=16:bframes=8:b-pyramid=normal:b-adapt=0 -preset fast", {"h264_16refs.mkv"}},
        {hevc, {"hevc.mp4", "hevc.mkv", "hevc.ts"}},
        {hevcOpen, {"hevc_open.ts", "hevc_open.mp4"}},
        {x265 + "keyint=30:bframes=4:b-pyramid=1:temporal-layers=3", {"hevc_layers.mp4"}},
        {mpeg2, {"mpeg2.ts", "mpeg2.mkv", "mpeg2.m2v"}},
        {mpeg2 + interlaced + " -top 1", {"mpeg2_interlaced.ts"}},
        // A colour matrix that no standard names.
        {mpeg2 + " -bsf:v mpeg2_metadata=matrix_coefficients=70", {"mpeg2_matrix.m2v"}},
        {"-c:v mpeg1video -q:v 4 -g 12 -bf 2", {"mpeg1.mpg"}},
        {mpeg4, {"mpeg4.avi"}},
        {mpeg4 + " -bf 2", {"mpeg4_b.avi", "mpeg4_b.mp4"}},
        {"-c:v libxvid -q:v 4 -g 30 -bf 2", {"packed.avi"}},
        {"-c:v libvpx -g 40 -deadline realtime -cpu-used 8 -auto-alt-ref 1 -lag-in-frames 10", {"vp8.webm"}},
        {vp9 + "good -auto-alt-ref 1 -lag-in-frames 16", {"vp9.webm"}},
        {vp9 + "realtime", {"vp9.mp4"}},
        {vp9 + "realtime -pix_fmt yuv420p10le", {"vp9_10.webm"}},
        {"-c:v libsvtav1 -preset 12 -g 40", {"av1.mp4"}},
        {"-c:v libsvtav1 -preset 12 -g 40 -pix_fmt yuv420p10le", {"av1_10.mp4"}},
        {"-c:v libaom-av1 -cpu-used 8 -usage realtime -g 40", {"av1.mkv"}},
        {"-c:v mjpeg -q:v 4", {"mjpeg.avi"}},
        {"-c:v mjpeg -q:v 4 -pix_fmt yuvj444p", {"mjpeg_444.mov"}},
        {"-c:v prores_ks -profile:v 0", {"prores.mov"}},
        {"-c:v msmpeg4 -q:v 4 -g 30", {"msmpeg4.asf"}},
        {"-c:v wmv2 -q:v 4 -g 30", {"wmv2.wmv"}},
        {"-c:v libtheora -q:v 7 -g 32", {"theora.ogv"}},
        {"-c:v flv -q:v 4 -g 30", {"flv1.flv"}},
        {"-c:v ffv1", {"ffv1.mkv"}},
        {"-c:v gif", {"gif.gif"}},
        {"-c:v huffyuv", {"huffyuv.avi"}},
        {"-c:v utvideo", {"utvideo.avi"}},
        // Other kinds of pixels.
        {x264Other + "yuv420p10le", {"h264_10.mp4"}},
        {x264Other + "yuv422p", {"h264_422.mkv"}},
        {x264Other + "yuv444p", {"h264_444.mp4"}},
        {"-c:v libx264rgb -preset veryfast -pix_fmt bgr24 -g 40", {"h264_rgb.mkv"}},
        {x265 + "keyint=30 -pix_fmt yuv420p10le", {"hevc_10.mkv"}},
        {odd + "-c:v ffv1 -pix_fmt yuv420p", {"odd.mkv"}},
        {odd + x264Other + "yuv444p", {"odd.mp4"}},
        {palette + "png", {"palette.mov"}},
        {palette + "smc -g 10", {"palette_once.mov"}},
        {palette + "rawvideo", {"palette.avi"}},
        {"-c:v rawvideo -pix_fmt bgr24", {"raw_bgr.avi"}},
        {"-c:v rawvideo -pix_fmt rgb555le", {"raw_rgb555.avi"}},
        {"-c:v rawvideo -pix_fmt yuyv422", {"raw_yuy2.avi"}},
        {"-c:v qtrle -pix_fmt argb", {"alpha.mov"}},
        {"-c:v png -pix_fmt rgba", {"alpha_png.mov"}},
        {"-c:v prores_ks -profile:v 4444 -pix_fmt yuva444p10le", {"alpha_prores.mov"}},
        {"-c:v ffv1 -pix_fmt gray", {"gray.mkv"}},
    };
    FilmSpec rotated = spec("rotated.mp4", "-vf transpose=cclock " + bFrames);
    rotated.rotation = 90;
    std::vector<ReaderFilm> films = {
        {spec("h264.mkv", bFrames, {}, "24000/1001")},
        {spec("h264.mov", bFrames, {}, "60000/1001")},
        {spec("h264_open.mkv", openGroups, {}, "30000/1001")},
        {spec("h264_fragments.mp4", bFrames, "-movflags frag_keyframe+empty_moov")},
        {spec("h264_offset.mkv", bFrames, "-output_ts_offset 17.3")},
        {spec("h264_offset.ts", bFrames, "-output_ts_offset 95000")},
        {spec("h264_offset.mp4", bFrames, "-output_ts_offset 5.5")},
        {spec("mpeg2.mpg", mpeg2, "-f vob")},
        {spec("mpeg2_offset.mpg", mpeg2, "-f vob -output_ts_offset 700")},
        {spec("mpeg2_interlaced.mpg", mpeg2 + interlaced + " -top 0", "-f vob")},
        {.made = spec("dv.avi", dv), .anamorphic = true},
        {.made = spec("dv.dv", dv), .anamorphic = true},
        // Every picture is marked as a key, whatever it needs.
        {.made = brief(spec("h261.avi", "-vf scale=176:144 -c:v h261 -q:v 4")), .anamorphic = true},
        {.made = brief(spec("h263.mkv", "-vf scale=176:144 -c:v h263 -q:v 4 -g 30")), .anamorphic = true},
        {brief(spec("gif.mkv", "-c:v gif"))},
        {.made = spec("anamorphic.mp4", "-vf setsar=12/11 " + bFrames), .anamorphic = true},
        {rotated},
        // Pictures at their own times.
        {.made = standardFilm("phone_variable.mp4"), .gaps = true},
        uneven("uneven.mp4", bFrames),
        uneven("uneven.mkv", bFrames),
        uneven("uneven_late.mkv", bFrames, "-output_ts_offset 17.3"),
        // What was cut out of a film without decoding it.
        {copied(spec("cut.mp4", bFrames), 2.6)},
        {copied(spec("cut_open.mp4", openGroups), 2.6)},
        {standardFilm("edited.mp4")},
        {cut(spec("cut_h264.ts", bFrames), 188 * 60)},
        {cut(spec("cut_open.ts", openGroups), 188 * 60)},
        {.made = cut(spec("cut_hevc.ts", hevcOpen), 188 * 60), .madeUp = 11},
        {cut(spec("cut_mpeg2.ts", mpeg2), 188 * 60)},
        {cut(spec("cut_mpeg2.mpg", mpeg2, "-f vob"), 2048 * 11)},
    };
    for (const auto &[video, files] : inContainers) {
        for (const QString &file : files)
            films.push_back({spec(file, video)});
    }
    return films;
}

} // namespace

const std::vector<ReaderFilm> &readerFilms()
{
    static const std::vector<ReaderFilm> films = allFilms();
    return films;
}

QString readerFilm(const QString &file)
{
    for (const ReaderFilm &film : readerFilms()) {
        if (film.made.file == file)
            return makeFilm(film.made);
    }
    throw std::logic_error("no film " + file.toStdString());
}

QImage readPicture(Film &film, std::int64_t index)
{
    QByteArray pixels(static_cast<qsizetype>(film.pictureBytes()), '\x55');
    const auto bytes = std::as_writable_bytes(std::span(pixels.data(), film.pictureBytes()));
    if (!film.read(index, bytes, never))
        return {};
    return pictureOf(bytes, film.width(), film.height());
}

QImage pictureOf(std::span<const std::byte> pixels, int width, int height)
{
    return QImage(reinterpret_cast<const uchar *>(pixels.data()), width, height, width * 3, QImage::Format_BGR888)
        .copy();
}

std::vector<WitnessedPicture> witnessedPictures(const QString &path, QSize slowlyTo)
{
    const QString scale = slowlyTo.isEmpty() ? QString("scale=flags=bilinear")
                                             : QString("scale=%1:%2:flags=bicubic+full_chroma_int+accurate_rnd")
                                                   .arg(slowlyTo.width())
                                                   .arg(slowlyTo.height());
    const QString output = "-map 0:v:0 -vsync passthrough -copyts -enc_time_base 1:1000000 -vf " + scale
                           + " -pix_fmt bgr24 -f framemd5 pipe:1";
    const QByteArray lines = outputOf("ffmpeg", QStringList{"-nostdin", "-v", "quiet", "-i", path} + output.split(' '));
    std::vector<WitnessedPicture> pictures;
    double first = 0.0;
    for (const QByteArray &line : lines.split('\n')) {
        // Stream, decoding time, presentation time, duration, size, hash.
        const QList<QByteArray> fields = line.split(',');
        if (line.startsWith('#') || fields.size() < 6)
            continue;
        const double seconds = fields[2].trimmed().toDouble() / 1e6;
        if (pictures.empty())
            first = seconds;
        pictures.push_back({QByteArray::fromHex(fields[5].trimmed()), seconds - first});
    }
    return pictures;
}

QByteArray pictureHash(const QImage &picture)
{
    QCryptographicHash hash(QCryptographicHash::Md5);
    for (int y = 0; y < picture.height(); ++y)
        hash.addData(QByteArrayView(picture.constScanLine(y), picture.width() * 3));
    return hash.result();
}
