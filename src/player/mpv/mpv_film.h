#pragma once

#include "player/mpv/mpv_core.h"
#include "player/mpv/picture_search.h"
#include "player/mpv/video_surface.h"
#include "util/media_time.h"

#include <QString>

#include <cstdint>
#include <optional>

/// What is known of a film once it is loaded.
struct MpvFilm {
    FilmTimes times;
    MediaTime duration = 0; ///< 0 for a stream that tells none and has no times
    std::int32_t width = 0; ///< pixels, as shown; 0 without a picture
    std::int32_t height = 0;

    [[nodiscard]] bool hasPictures() const { return times.frame > 0.0; }
};

/// Loads a regular local file, named absolutely, into `core`, paused on its first picture, which `surface` draws.
/// Blocks until that is there or cannot be; nothing then. Nothing else is ever opened, whatever the file names.
[[nodiscard]] std::optional<MpvFilm> loadFilm(MpvCore &core, VideoSurface &surface, const QString &path);

/// To be called before a film is loaded: the core, not the surface, turns pictures upright.
void letCoreTurnPictures(MpvCore &core);
