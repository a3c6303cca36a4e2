#include "tested_graph.h"

#include "films/film_witness.h"
#include "player/mpv/mpv_graph.h"

#include <QGuiApplication>
#include <QImage>
#include <QOpenGLWidget>

// libmpv, in software on a platform without a screen, else with OpenGL.

namespace {

bool hasScreen()
{
    return QGuiApplication::platformName() != "offscreen";
}

} // namespace

std::unique_ptr<GraphSystem> makeTestedGraphSystem(QWidget *panel)
{
    return std::make_unique<MpvGraphSystem>(panel, (hasScreen() ? createOpenGlSurface : createSoftwareSurface)(panel));
}

int shownNumber(QWidget &panel)
{
    if (hasScreen() != (panel.findChild<QOpenGLWidget *>() != nullptr))
        qFatal("pictures are drawn by the fallback");
    return paintedFrameNumber(panel.grab().toImage()).value_or(-1);
}
