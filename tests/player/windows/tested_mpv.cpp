#include "tested_graph.h"

#include "films/film_witness.h"
#include "player/mpv/mpv_graph.h"

#include <QImage>
#include <QWidget>

// libmpv, which draws in software here.

std::unique_ptr<GraphSystem> makeTestedGraphSystem(QWidget *panel)
{
    return std::make_unique<MpvGraphSystem>(panel, createSoftwareSurface(panel));
}

int shownNumber(QWidget &panel)
{
    return paintedFrameNumber(panel.grab().toImage()).value_or(-1);
}

QString testedGraphName()
{
    return QStringLiteral("libmpv");
}

bool takesRates()
{
    return true;
}
