#include "player/graph_system.h"

#include "player/directshow/directshow_graph.h"

std::unique_ptr<GraphSystem> createGraphSystem(QWidget *panel)
{
    return std::make_unique<DirectShowSystem>(createMpvGraphSystem(panel));
}
