#pragma once

#include "util/media_time.h"

#include <QString>

#include <cstdint>

// The state of the one playback session, shared by the whole program.

/// The path of the film chosen last in the main window's open dialog, whether or not it could be opened;
/// empty before the first choice. The files of a film are named after it.
extern QString VideoPath;

/// True from a successful start of playback until the session is torn down.
extern bool OPENED;

/// True while the session is paused.
extern bool PAUSED;

/// Length of the film (100 ns), read once after playback starts.
extern MediaTime Duration;

/// The position (100 ns) read last by the display tick or by a scene command.
extern MediaTime pos;

/// Pictures per second of the film; 25 before any film was opened.
extern double fps;

/// The playback speed factor requested last; 1 after an open.
extern double speed;

/// Width and height of the film's picture in pixels, as it is shown (upright, pixel aspect applied); 0 without
/// a picture.
extern std::int32_t srcWidth;
extern std::int32_t srcHeight;
