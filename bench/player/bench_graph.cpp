#include "bench_graph.h"

#include "player/mpv/mpv_graph.h"

#include <utility>

namespace {

VideoSurface *surface = nullptr;

} // namespace

std::unique_ptr<GraphSystem> makeBenchGraphSystem(QWidget *panel)
{
    std::unique_ptr<VideoSurface> made = createSoftwareSurface(panel);
    surface = made.get();
    return std::make_unique<MpvGraphSystem>(panel, std::move(made));
}

VideoSurface &benchSurface()
{
    return *surface;
}
