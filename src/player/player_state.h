#pragma once

#include "util/media_time.h"

#include <QString>

#include <cstdint>

// The state of the one playback session, shared by the whole program.

/// The path of the video file chosen last in the main window's open dialog, whether or not it could be opened;
/// empty before the first choice. The files of a video are named after it.
extern QString VideoPath;

/// True from a successful start of playback until the session is torn down.
extern bool OPENED;

/// True while the session is paused.
extern bool PAUSED;

/// Length of the video (100 ns), read once after playback starts.
extern MediaTime Duration;

/// The position (100 ns) read last by the display tick or by a scene command.
extern MediaTime pos;

/// Frames per second of the video; 25 before any video was opened.
extern double fps;

/// The playback speed factor requested last; 1 after an open.
extern double speed;

/// Width and height of the video's picture in pixels, as it is shown (upright, pixel aspect applied); 0 without
/// a picture.
extern std::int32_t srcWidth;
extern std::int32_t srcHeight;
