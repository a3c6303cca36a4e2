#include "tested_graph.h"

#include "films/film_witness.h"
#include "player/graph_system.h"
#include "player/playback_engine.h"

#include <QImage>
#include <QScreen>
#include <QWidget>

#include <windows.h>

// The program's own: DirectShow, whose pictures are looked for on the screen, and libmpv for what that refuses.

std::unique_ptr<GraphSystem> makeTestedGraphSystem(QWidget *panel)
{
    return createGraphSystem(panel);
}

int shownNumber(QWidget &panel)
{
    const bool isWidget = GraphName() == QStringLiteral("libmpv");
    const QPixmap picture = isWidget ? panel.grab() : panel.screen()->grabWindow(panel.winId());
    return paintedFrameNumber(picture.toImage()).value_or(-1);
}

QString testedGraphName()
{
    return QStringLiteral("DirectShow");
}

bool takesRates()
{
    // Wine's graphs take every rate and run at 1.
    return GetProcAddress(GetModuleHandleW(L"ntdll"), "wine_get_version") == nullptr;
}
