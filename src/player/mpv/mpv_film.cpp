#include "player/mpv/mpv_film.h"

#include <QByteArray>
#include <QElapsedTimer>
#include <QFile>

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

/// False if the file turns out to be no film.
bool waitForFirstPicture(MpvCore &core, VideoSurface &surface)
{
    QElapsedTimer waited;
    waited.start();
    constexpr auto longestWait = std::chrono::minutes(1);
    constexpr double pollSeconds = 0.002;
    bool loaded = false;
    while (!waited.hasExpired(std::chrono::milliseconds(longestWait).count())) {
        // The core waits for its picture to be taken, and nothing else runs on this thread meanwhile.
        surface.service();
        const mpv_event &event = core.waitForEvent(pollSeconds);
        if (event.event_id == MPV_EVENT_END_FILE || event.event_id == MPV_EVENT_SHUTDOWN)
            return false;
        if (event.event_id == MPV_EVENT_HOOK) {
            turnPictures(core);
            mpv_hook_continue(core.handle(), static_cast<const mpv_event_hook *>(event.data)->id);
        }
        if (event.event_id == MPV_EVENT_FILE_LOADED)
            loaded = true;
        if (event.event_id == MPV_EVENT_PLAYBACK_RESTART && loaded)
            return true;
    }
    return false;
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
    film.times.first = core.number("time-pos").value_or(0.0);
}

} // namespace

std::optional<MpvFilm> loadFilm(MpvCore &core, VideoSurface &surface, const QString &path)
{
    if (!core.command({"loadfile", QFile::encodeName(path).constData()}) || !waitForFirstPicture(core, surface))
        return std::nullopt;
    MpvFilm film;
    if (core.number("video-out-params/w"))
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
