#include "tested_graph.h"

#include "films/film_witness.h"
#include "player/mpv/mpv_graph.h"

#include <QGuiApplication>
#include <QImage>
#include <QOpenGLWidget>

// libmpv, in software on a platform without a screen, else with OpenGL.

namespace {

bool drawnByOpenGl = false;

} // namespace

std::unique_ptr<GraphSystem> makeTestedGraphSystem(QWidget *panel)
{
    drawnByOpenGl = QGuiApplication::platformName() != "offscreen";
    return std::make_unique<MpvGraphSystem>(panel,
                                            (drawnByOpenGl ? createOpenGlSurface : createSoftwareSurface)(panel));
}

int shownNumber(QWidget &panel)
{
    if (drawnByOpenGl && !panel.findChild<QOpenGLWidget *>())
        qFatal("pictures are drawn by the fallback");
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
