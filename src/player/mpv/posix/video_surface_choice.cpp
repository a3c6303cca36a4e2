#include "player/mpv/posix/graphics_hardware.h"
#include "player/mpv/video_surface.h"

std::unique_ptr<VideoSurface> createVideoSurface(QWidget *panel)
{
    return hasGraphicsHardware() ? createOpenGlSurface(panel) : createSoftwareSurface(panel);
}
