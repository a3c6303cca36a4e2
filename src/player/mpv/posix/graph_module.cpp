#include "player/graph_system.h"

/// The one entry point of this module: a new graph system, owned by the caller.
extern "C" Q_DECL_EXPORT GraphSystem *tavrinCreateGraphSystem(QWidget *panel)
{
    return createMpvGraphSystem(panel).release();
}
