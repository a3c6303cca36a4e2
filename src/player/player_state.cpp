#include "player/player_state.h"

QString VideoPath;
bool OPENED = false;
bool PAUSED = false;
MediaTime Duration = 0;
MediaTime pos = 0;
double fps = 25.0;
double speed = 1.0;
std::int32_t srcWidth = 0;
std::int32_t srcHeight = 0;
