#include "player/mpv/video_surface.h"

// Qt is built without OpenGL here.
std::unique_ptr<VideoSurface> createVideoSurface(QWidget *panel)
{
    return createSoftwareSurface(panel);
}
