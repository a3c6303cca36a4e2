#pragma once

#include <mpv/client.h>
#include <mpv/render.h>

#include <memory>

struct MpvTerminate {
    void operator()(mpv_handle *handle) const { mpv_terminate_destroy(handle); }
};

/// A player core; ends with its last event read or not.
using MpvHandle = std::unique_ptr<mpv_handle, MpvTerminate>;

struct MpvRenderFree {
    void operator()(mpv_render_context *context) const { mpv_render_context_free(context); }
};

/// Draws a core's pictures; must end before its core.
using MpvRenderContext = std::unique_ptr<mpv_render_context, MpvRenderFree>;
