#include "film_maker.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QLockFile>
#include <QProcess>
#include <QtEndian>

#include <stdexcept>

namespace {

constexpr int makingMilliseconds = 1'200'000;

/// A test that was ended in the midst leaves its lock, and under Wine nobody sees that the owner has gone.
constexpr int staleMilliseconds = 300'000;

const QStringList x264 = {"-c:v", "libx264", "-preset", "veryfast", "-pix_fmt", "yuv420p", "-x264-params"};
// Groups of 250 pictures with three B pictures between references, whatever the content.
const QStringList h264 = x264 + QStringList{"keyint=250:min-keyint=250:scenecut=0:bframes=3:b-adapt=0"};
const QStringList openGroups = x264 + QStringList{"keyint=250:min-keyint=25:open-gop=1"};
const QStringList x265 = {"-c:v", "libx265", "-preset", "ultrafast", "-pix_fmt", "yuv420p", "-x265-params"};
const QStringList aac = {"-c:a", "aac", "-b:a", "64k"};
const QStringList mp2 = {"-c:a", "mp2", "-b:a", "128k"};
const QStringList mpeg2 = {"-c:v", "mpeg2video", "-q:v", "4", "-g", "15", "-bf", "2"};

// A phone's clock: 30 pictures per second with an uneven hand, then a stretch at 50, one at 17, and 30 again.
const QString unevenTimes = "settb=1/90000,setpts='("
                            "if(lt(N,140),N*3000+700*sin(N*1.7),"
                            "if(lt(N,240),420000+(N-140)*1800,"
                            "if(lt(N,300),600000+(N-240)*5400,"
                            "924000+(N-300)*3000+900*sin(N*2.3)))))'";

// What records a screen: pictures a few milliseconds apart, and seconds without any.
const QStringList seldom = {
    "-vf",   "settb=1/1000,setpts='N*40+floor(N/40)*1900+3*mod(N*7,11)'", "-vsync", "passthrough", "-enc_time_base:v",
    "1/1000"};

QStringList ffmpegArguments(const FilmSpec &spec, const QString &output)
{
    const bool painted = spec.graph.isEmpty();
    const QStringList rate = spec.rate.split('/');
    const double seconds = spec.frames * rate.value(1, "1").toDouble() / rate.at(0).toDouble();
    QStringList arguments{"-nostdin", "-y", "-hide_banner", "-loglevel", "error"};
    if (painted)
        arguments += {"-i", "pipe:0"};
    const QString tone = "sine=frequency=440:sample_rate=48000";
    if (!spec.audio.isEmpty())
        arguments += {"-f", "lavfi", "-t", QString::number(seconds, 'f', 6), "-i", tone};
    if (!painted)
        arguments += {"-filter_complex", spec.graph, "-map", "[picture]", "-frames:v", QString::number(spec.frames)};
    if (!painted && !spec.audio.isEmpty())
        arguments += {"-map", "0:a"};
    arguments += {"-map_metadata", "-1", "-fflags", "+bitexact"};
    return arguments + spec.video + spec.audio + spec.container + QStringList{output};
}

void paintAndEncode(const FilmSpec &spec, const QString &painter, const QString &path)
{
    if (!spec.graph.isEmpty()) {
        (void)outputOf("ffmpeg", ffmpegArguments(spec, path));
        return;
    }
    const QStringList both{"-c",
                           R"("$1" "$2" "$3" "$4" "$5" | (shift 5; exec ffmpeg "$@"))",
                           "sh",
                           painter,
                           QString::number(spec.size.width()),
                           QString::number(spec.size.height()),
                           QString::number(spec.frames),
                           spec.rate};
    (void)outputOf("sh", both + ffmpegArguments(spec, path));
}

// The test library says of an exception only that there was one.
[[noreturn]] void fail(const QString &why)
{
    qCritical("%s", qPrintable(why));
    throw std::runtime_error(why.toStdString());
}

void writeEdits(const FilmSpec &spec, const QString &path)
{
    QByteArray film = contentOf(path);
    // Behind the name, version and flags, and their number.
    char *edit = film.data() + film.indexOf("elst") + 12;
    for (const auto &[duration, begin] : spec.edits) {
        qToBigEndian(duration, edit);
        qToBigEndian(begin, edit + 4);
        edit += 12;
    }
    writeFile(path, film);
}

} // namespace

const std::vector<FilmSpec> &standardFilms()
{
    static const std::vector<FilmSpec> films{
        {.file = "h264_25.mp4", .rate = "25/1", .video = h264, .audio = aac},
        {.file = "h264_23976.mp4", .rate = "24000/1001", .video = h264, .audio = aac},
        {.file = "h264_2997.mkv", .rate = "30000/1001", .video = h264, .audio = aac},
        {.file = "h264_5994.mp4", .rate = "60000/1001", .video = h264, .audio = aac},
        {.file = "mpeg4.avi",
         .video = {"-c:v", "mpeg4", "-q:v", "4", "-g", "250", "-bf", "0"},
         .audio = {"-c:a", "libmp3lame", "-b:a", "64k"},
         // Else the sound's encoder delay shifts the pictures and leaves an empty slot after the first.
         .container = {"-avoid_negative_ts", "disabled"}},
        {.file = "mpeg2_program.mpg", .video = mpeg2, .audio = mp2, .container = {"-f", "vob"}},
        {.file = "mpeg2_transport.ts", .video = mpeg2, .audio = mp2, .container = {"-output_ts_offset", "3600"}},
        // Recordings and stream downloads: no index, and decoders that begin within a group go wrong.
        {.file = "h264_12.ts", .video = x264 + QStringList{"keyint=12:min-keyint=12:scenecut=0"}, .audio = mp2},
        {.file = "h264_open_groups.ts", .video = openGroups, .audio = mp2, .container = {"-output_ts_offset", "3600"}},
        cut({.file = "h264_cut.ts", .video = openGroups, .audio = mp2}, 188 * 100),
        {.file = "hevc_12.ts", .video = x265 + QStringList{"log-level=none:keyint=12:open-gop=0"}, .audio = mp2},
        {.file = "hevc.ts",
         .video = x265 + QStringList{"log-level=none:keyint=50:min-keyint=50:scenecut=0"},
         .audio = mp2},
        cut({.file = "hevc_250.ts", .video = x265 + QStringList{"log-level=none:keyint=250:min-keyint=20"}}, 188 * 100),
        // Copies with an edit list: what begins in a group, and what begins late.
        copied({.file = "cut.mp4", .video = h264, .audio = aac}, 4.3),
        copied({.file = "cut_open.mov", .video = openGroups}, 4.3),
        {.file = "late.mp4", .video = h264, .audio = aac, .container = {"-output_ts_offset", "5.5"}},
        {.file = "pictures_late.mp4", .video = QStringList{"-vf", "setpts=PTS+2/TB"} + h264, .audio = aac},
        // Begins after nothing, within a group, and ends before its pictures do.
        {.file = "edited.mp4",
         .video = h264,
         .container = {"-output_ts_offset", "5.5"},
         .edits = {{3000, -1}, {8000, 56064}}},
        {.file = "sound_outlasts.mp4", .video = h264, .audio = QStringList{"-af", "apad=pad_dur=3"} + aac},
        {.file = "sparse.avi",
         .rate = "15/1",
         .video = {"-vf", "settb=1/15,setpts='N*3+mod(N*7,3)'", "-vsync", "passthrough", "-enc_time_base:v", "1/15",
                   "-c:v", "mpeg4", "-q:v", "4", "-g", "100", "-bf", "0"},
         .audio = {},
         .constantRate = false},
        {.file = "vp9.webm",
         .video = {"-c:v", "libvpx-vp9", "-deadline", "good", "-cpu-used", "5", "-row-mt", "1", "-g", "250", "-crf",
                   "34", "-b:v", "0"},
         .audio = {"-c:a", "libopus", "-b:a", "48k"}},
        {.file = "screen.mkv", .video = seldom + h264, .audio = aac, .constantRate = false},
        {.file = "screen.mp4", .video = seldom + h264, .audio = {}, .constantRate = false},
        {.file = "phone_variable.mp4",
         .size = {270, 480},
         .rate = "30/1",
         .video = QStringList{"-vf", "transpose=cclock," + unevenTimes, "-vsync", "passthrough", "-enc_time_base:v",
                              "1/90000"}
                  + h264,
         .audio = aac,
         .container = {"-video_track_timescale", "90000"},
         .rotation = 90,
         .constantRate = false},
    };
    return films;
}

const FilmSpec &standardFilm(const QString &file)
{
    for (const FilmSpec &film : standardFilms()) {
        if (film.file == file)
            return film;
    }
    fail("no standard film " + file);
}

QByteArray outputOf(const QString &program, const QStringList &arguments)
{
    QProcess process;
    // Of some thousand processes Wine fails to start one.
    for (int attempt = 0; attempt < 3; ++attempt) {
        process.start(program, arguments, QIODevice::ReadOnly);
        if (process.waitForStarted())
            break;
    }
    if (process.waitForFinished(makingMilliseconds) && process.exitStatus() == QProcess::NormalExit
        && process.exitCode() == 0)
        return process.readAllStandardOutput();
    fail(QString("%1 %2: %3, %4: %5")
             .arg(program, arguments.join(' '), process.errorString(), QString::number(process.exitCode()),
                  process.readAllStandardError()));
}

FilmSpec copied(FilmSpec film, double seconds)
{
    film.copiedFrom = seconds;
    return film;
}

FilmSpec cut(FilmSpec film, qint64 bytes)
{
    film.cutBytes = bytes;
    return film;
}

QByteArray contentOf(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        fail("cannot read " + path + ": " + file.errorString());
    return file.readAll();
}

void writeFile(const QString &path, const QByteArray &content)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size())
        fail("cannot write " + path + ": " + file.errorString());
}

QString makeFilm(const FilmSpec &spec)
{
    const QString painter = QStringLiteral(TAVRIN_PAINT_FILM);
    const QDir folder(QStringLiteral(TAVRIN_FILMS_FOLDER));
    folder.mkpath(".");
    const QString path = folder.filePath(spec.file);
    QStringList ingredients{painter,
                            QFileInfo(painter).lastModified().toString(Qt::ISODateWithMs),
                            QString("%1x%2").arg(spec.size.width()).arg(spec.size.height()),
                            QString::number(spec.frames),
                            spec.rate,
                            QString::number(spec.rotation),
                            QString::number(spec.copiedFrom),
                            QString::number(spec.cutBytes)};
    for (const auto &[duration, begin] : spec.edits)
        ingredients += {QString::number(duration), QString::number(begin)};
    const QByteArray recipe = (ingredients + ffmpegArguments(spec, spec.file)).join('\n').toUtf8();
    QLockFile lock(path + ".lock");
    lock.setStaleLockTime(staleMilliseconds);
    if (!lock.tryLock(makingMilliseconds))
        fail("cannot lock " + spec.file);
    QFile made(path + ".recipe");
    if (QFile::exists(path) && made.open(QIODevice::ReadOnly) && made.readAll() == recipe)
        return path;
    made.remove();

    const bool isCopied = spec.rotation != 0 || spec.copiedFrom > 0.0;
    const QString first = isCopied ? folder.filePath("first_" + spec.file) : path;
    paintAndEncode(spec, painter, first);
    if (isCopied) {
        QStringList arguments{"-nostdin", "-y", "-loglevel", "error"};
        if (spec.copiedFrom > 0.0)
            arguments += {"-ss", QString::number(spec.copiedFrom)};
        arguments += {"-i", first, "-map", "0", "-c", "copy"};
        // ffmpeg 5.1 writes the display matrix only while it copies, and counts against the clock.
        if (spec.rotation != 0)
            arguments += {"-metadata:s:v:0", "rotate=" + QString::number(360 - spec.rotation)};
        (void)outputOf("ffmpeg", arguments + spec.container + QStringList{path});
        QFile::remove(first);
    }
    if (!spec.edits.isEmpty())
        writeEdits(spec, path);
    if (spec.cutBytes > 0)
        writeFile(path, contentOf(path).sliced(spec.cutBytes));
    writeFile(made.fileName(), recipe);
    return path;
}
