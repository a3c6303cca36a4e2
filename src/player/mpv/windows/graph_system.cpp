#include "player/graph_system.h"

#include "player/mpv/mpv_graph.h"

std::unique_ptr<GraphSystem> createGraphSystem(QWidget *panel)
{
    return std::make_unique<MpvGraphSystem>(panel);
}
