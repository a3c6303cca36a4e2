#include "player/mpv/mpv_film.h"

#include "platform/file_name.h"
#include "widgets/disk_wait.h"

#include <QByteArray>
#include <QElapsedTimer>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <utility>

namespace {

void turnPictures(MpvCore &core)
{
    const auto tracks = static_cast<int>(core.number("track-list/count").value_or(0.0));
    for (int track = 0; track < tracks; ++track) {
        const QByteArray rotation = "track-list/" + QByteArray::number(track) + "/demux-rotation";
        switch (static_cast<int>(core.number(rotation.constData()).value_or(0.0))) {
        case 90:
            core.setString("vf", "transpose=dir=clock");
            return;
        case 180:
            core.setString("vf", "hflip,vflip");
            return;
        case 270:
            core.setString("vf", "transpose=dir=cclock");
            return;
        default:
            break;
        }
    }
}

enum class Loaded {
    Film,
    NothingThatPlays, ///< a format that the core knows, and no track in it that plays
    NoFilm,
};

Loaded waitForFirstPicture(MpvCore &core, VideoSurface &surface)
{
    DiskWait wait;
    QElapsedTimer sinceLoaded;
    constexpr auto longestWait = std::chrono::minutes(1);
    constexpr double pollSeconds = 0.002;
    bool started = false;
    bool loaded = false;
    while (!loaded || !sinceLoaded.hasExpired(std::chrono::milliseconds(longestWait).count())) {
        wait.goOn();
        // The core waits for its picture to be taken, and nothing else runs on this thread meanwhile.
        surface.service();
        const mpv_event &event = core.waitForEvent(pollSeconds);
        switch (event.event_id) {
        case MPV_EVENT_START_FILE:
            started = true;
            break;
        case MPV_EVENT_HOOK:
            turnPictures(core);
            mpv_hook_continue(core.handle(), static_cast<const mpv_event_hook *>(event.data)->id);
            break;
        case MPV_EVENT_FILE_LOADED:
            loaded = started;
            sinceLoaded.start();
            break;
        case MPV_EVENT_PLAYBACK_RESTART:
            if (loaded)
                return Loaded::Film;
            break;
        case MPV_EVENT_END_FILE:
            // What was loaded before ends as this begins.
            if (!started)
                break;
            if (static_cast<const mpv_event_end_file *>(event.data)->error == MPV_ERROR_NOTHING_TO_PLAY)
                return Loaded::NothingThatPlays;
            return loaded ? Loaded::NothingThatPlays : Loaded::NoFilm;
        case MPV_EVENT_SHUTDOWN:
            return Loaded::NoFilm;
        default:
            break;
        }
    }
    return Loaded::NoFilm;
}

Loaded load(MpvCore &core, VideoSurface &surface, const QString &path)
{
    if (!core.command({"loadfile", openableName(path.toStdString()).c_str()}))
        return Loaded::NoFilm;
    return waitForFirstPicture(core, surface);
}

bool showsPictures(const MpvCore &core)
{
    return core.number("video-out-params/w").has_value();
}

/// True if the loaded film has a video track, other than a cover, of which nothing is shown.
bool missesItsPictures(const MpvCore &core)
{
    if (showsPictures(core))
        return false;
    const auto tracks = static_cast<int>(core.number("track-list/count").value_or(0.0));
    for (int track = 0; track < tracks; ++track) {
        const QByteArray name = "track-list/" + QByteArray::number(track);
        if (core.string((name + "/type").constData()) == "video" && !core.flag((name + "/albumart").constData()))
            return true;
    }
    return false;
}

/// Where the core's own demuxer finds no picture that plays, libavformat's may: it knows more codecs by the names that
/// containers have for them.
bool loadByEitherDemuxer(MpvCore &core, VideoSurface &surface, const QString &path)
{
    constexpr const char *demuxer = "demuxer";
    constexpr const char *libavformat = "lavf";
    const Loaded loaded = load(core, surface, path);
    const bool isFilm = loaded == Loaded::Film;
    const bool mayHavePictures = isFilm ? missesItsPictures(core) && core.string("current-demuxer") != libavformat
                                        : loaded == Loaded::NothingThatPlays;
    if (!mayHavePictures || !core.setString(demuxer, libavformat))
        return isFilm;
    const Loaded again = load(core, surface, path);
    core.setString(demuxer, "");
    if (again == Loaded::Film && (showsPictures(core) || !isFilm))
        return true;
    // What has sound only stays as it was.
    return isFilm && load(core, surface, path) == Loaded::Film;
}

void readPictures(const MpvCore &core, MpvFilm &film)
{
    film.width = static_cast<std::int32_t>(core.number("video-out-params/dw").value_or(0.0));
    film.height = static_cast<std::int32_t>(core.number("video-out-params/dh").value_or(0.0));
    const auto quarterTurns = static_cast<int>(core.number("video-out-params/rotate").value_or(0.0)) / 90;
    if (quarterTurns % 2 != 0)
        std::swap(film.width, film.height);
    constexpr double guessedFrameRate = 25.0;
    const double rate = core.number("container-fps").value_or(0.0);
    film.times.frame = 1.0 / (rate > 0.0 && std::isfinite(rate) ? rate : guessedFrameRate);
    // The core's clock begins at zero. Where the first packets tell no time, it may make one up that is before.
    film.times.first = std::max(core.number("time-pos").value_or(0.0), 0.0);
}

} // namespace

std::optional<MpvFilm> loadFilm(MpvCore &core, VideoSurface &surface, const QString &path)
{
    if (!loadByEitherDemuxer(core, surface, path))
        return std::nullopt;
    MpvFilm film;
    if (showsPictures(core))
        readPictures(core, film);
    film.times.end = std::max(core.number("duration").value_or(0.0), film.times.first);
    film.duration = static_cast<MediaTime>(std::llround((film.times.end - film.times.first) * unitsPerSecond));
    return film;
}

void letCoreTurnPictures(MpvCore &core)
{
    core.setString("video-rotate", "no");
    mpv_hook_add(core.handle(), 0, "on_preloaded", 0);
}
