#include "film_maker.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QLockFile>
#include <QProcess>

#include <algorithm>
#include <stdexcept>

namespace {

constexpr int makingMilliseconds = 1'200'000;

// Groups of 250 pictures with three B pictures between references, whatever the content.
const QStringList h264 = {"-c:v", "libx264", "-preset", "veryfast", "-crf", "23", "-pix_fmt", "yuv420p", "-x264-params",
                          "keyint=250:min-keyint=250:scenecut=0:bframes=3:b-adapt=0"};
const QStringList aac = {"-c:a", "aac", "-b:a", "64k"};
const QStringList mp2 = {"-c:a", "mp2", "-b:a", "128k"};
const QStringList mpeg2 = {"-c:v", "mpeg2video", "-q:v", "4", "-g", "15", "-bf", "2"};

// A phone's clock: 30 frames per second with an uneven hand, then a stretch at 50, one at 17, and 30 again.
const QString unevenTimes = "settb=1/90000,setpts='("
                            "if(lt(N,140),N*3000+700*sin(N*1.7),"
                            "if(lt(N,240),420000+(N-140)*1800,"
                            "if(lt(N,300),600000+(N-240)*5400,"
                            "924000+(N-300)*3000+900*sin(N*2.3)))))'";

[[noreturn]] void fail(const QString &what, const QString &file, const QByteArray &words)
{
    throw std::runtime_error((what + ' ' + file + ": " + QString::fromLocal8Bit(words)).toStdString());
}

double seconds(const FilmSpec &spec)
{
    const QStringList parts = spec.rate.split('/');
    const double perSecond = parts.value(0).toDouble() / std::max(parts.value(1).toDouble(), 1.0);
    return spec.frames / perSecond;
}

QStringList ffmpegArguments(const FilmSpec &spec, const QString &output)
{
    QStringList arguments{"-nostdin", "-y", "-hide_banner", "-loglevel", "error"};
    if (spec.graph.isEmpty())
        arguments << "-i" << "pipe:0";
    if (!spec.audio.isEmpty())
        arguments << "-f" << "lavfi" << "-t" << QString::number(seconds(spec), 'f', 6) << "-i"
                  << "sine=frequency=440:sample_rate=48000";
    if (!spec.graph.isEmpty()) {
        arguments << "-filter_complex" << spec.graph << "-map" << "[picture]" << "-frames:v"
                  << QString::number(spec.frames);
        if (!spec.audio.isEmpty())
            arguments << "-map" << "0:a";
    }
    arguments << "-map_metadata" << "-1" << "-fflags" << "+bitexact" << spec.video;
    return arguments << spec.audio << spec.container << output;
}

bool succeeds(QProcess &process)
{
    return process.waitForFinished(makingMilliseconds) && process.exitStatus() == QProcess::NormalExit
        && process.exitCode() == 0;
}

QString recipeOf(const FilmSpec &spec, const QString &painter)
{
    const QStringList lines{painter,
                            QFileInfo(painter).lastModified().toString(Qt::ISODateWithMs),
                            QString("%1x%2").arg(spec.size.width()).arg(spec.size.height()),
                            QString::number(spec.frames),
                            spec.rate,
                            QString::number(spec.rotation),
                            ffmpegArguments(spec, spec.file).join('\n')};
    return lines.join('\n');
}

bool madeBy(const QString &recipe, const QString &recipePath)
{
    QFile file(recipePath);
    return file.open(QIODevice::ReadOnly) && QString::fromUtf8(file.readAll()) == recipe;
}

void paintAndEncode(const FilmSpec &spec, const QString &painter, const QString &path)
{
    QProcess paint;
    QProcess encode;
    if (!spec.graph.isEmpty()) {
        encode.start("ffmpeg", ffmpegArguments(spec, path));
        if (!succeeds(encode))
            fail("cannot make", spec.file, encode.readAllStandardError());
        return;
    }
    paint.setStandardOutputProcess(&encode);
    paint.start(painter, {QString::number(spec.size.width()), QString::number(spec.size.height()),
                          QString::number(spec.frames), spec.rate});
    encode.start("ffmpeg", ffmpegArguments(spec, path));
    const bool encoded = succeeds(encode);
    const bool painted = succeeds(paint);
    if (!encoded || !painted)
        fail("cannot make", spec.file, encode.readAllStandardError() + paint.readAllStandardError());
}

// Writes the display matrix, which ffmpeg 5.1 does only while it copies, and counts against the clock.
void setUpright(const FilmSpec &spec, const QString &lying, const QString &path)
{
    QProcess turn;
    turn.start("ffmpeg", QStringList{"-nostdin", "-y", "-loglevel", "error", "-i", lying, "-map", "0", "-c", "copy",
                                     "-metadata:s:v:0", "rotate=" + QString::number(360 - spec.rotation)}
                             + spec.container << path);
    if (!succeeds(turn))
        fail("cannot turn", spec.file, turn.readAllStandardError());
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
        {.file = "mpeg2_transport.ts",
         .video = mpeg2,
         .audio = mp2,
         .container = {"-output_ts_offset", "3600"}},
        {.file = "vp9.webm",
         .video = {"-c:v", "libvpx-vp9", "-deadline", "good", "-cpu-used", "5", "-row-mt", "1", "-g", "250", "-crf",
                   "34", "-b:v", "0"},
         .audio = {"-c:a", "libopus", "-b:a", "48k"}},
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
    const auto &films = standardFilms();
    const auto found = std::find_if(films.begin(), films.end(), [&](const auto &film) { return film.file == file; });
    if (found == films.end())
        throw std::logic_error("no standard film " + file.toStdString());
    return *found;
}

QString makeFilm(const FilmSpec &spec)
{
    const QString painter = QStringLiteral(TAVRIN_PAINT_FILM);
    const QDir folder(QStringLiteral(TAVRIN_FILMS_FOLDER));
    folder.mkpath(".");
    const QString path = folder.filePath(spec.file);
    const QString recipePath = path + ".recipe";
    const QString recipe = recipeOf(spec, painter);

    QLockFile lock(path + ".lock");
    lock.setStaleLockTime(0);
    if (!lock.tryLock(makingMilliseconds))
        fail("cannot lock", spec.file, {});
    if (QFile::exists(path) && madeBy(recipe, recipePath))
        return path;
    QFile::remove(recipePath);

    if (spec.rotation == 0) {
        paintAndEncode(spec, painter, path);
    } else {
        const QString lying = folder.filePath("lying_" + spec.file);
        paintAndEncode(spec, painter, lying);
        setUpright(spec, lying, path);
        QFile::remove(lying);
    }

    QFile recipeFile(recipePath);
    if (!recipeFile.open(QIODevice::WriteOnly) || recipeFile.write(recipe.toUtf8()) < 0)
        fail("cannot keep the recipe of", spec.file, recipeFile.errorString().toLocal8Bit());
    return path;
}

std::vector<double> presentationTimes(const QString &path)
{
    QProcess probe;
    probe.start("ffprobe", {"-v", "error", "-select_streams", "v:0", "-show_entries", "packet=pts_time", "-of",
                            "csv=p=0", path});
    if (!probe.waitForFinished(makingMilliseconds) || probe.exitCode() != 0)
        fail("cannot probe", path, probe.readAllStandardError());
    std::vector<double> times;
    for (const QByteArray &line : probe.readAllStandardOutput().split('\n')) {
        bool isNumber = false;
        const double time = line.trimmed().split(',').constFirst().toDouble(&isNumber);
        if (isNumber)
            times.push_back(time);
    }
    std::sort(times.begin(), times.end());
    return times;
}
