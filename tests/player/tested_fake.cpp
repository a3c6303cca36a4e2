#include "tested_graph.h"

#include "fake_graph.h"

// The fake keeps the contract too: what is tested with it is worth something.

namespace {

FakeGraphSystem *fake = nullptr;

} // namespace

std::unique_ptr<GraphSystem> makeTestedGraphSystem(QWidget *)
{
    auto system = std::make_unique<FakeGraphSystem>();
    fake = system.get();
    fake->isLive = true;
    fake->width = 320;
    fake->height = 180;
    fake->duration = 420 * unitsPerSecond / 25;
    return system;
}

int shownNumber(QWidget &)
{
    return fake->shownNumber();
}

QString testedGraphName()
{
    return QString();
}

bool takesRates()
{
    return true;
}
