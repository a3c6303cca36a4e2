#include "player/mpv/video_surface.h"

bool isNewPicture(mpv_render_context *context)
{
    mpv_render_frame_info next{};
    mpv_render_context_get_info(context, {MPV_RENDER_PARAM_NEXT_FRAME_INFO, &next});
    constexpr std::uint64_t shownBefore = MPV_RENDER_FRAME_INFO_REDRAW | MPV_RENDER_FRAME_INFO_REPEAT;
    return (next.flags & MPV_RENDER_FRAME_INFO_PRESENT) && !(next.flags & shownBefore);
}
