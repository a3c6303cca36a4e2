#include "player/graph_system.h"

#include "player/mpv/posix/graphics_hardware.h"
#include "util/application_folder.h"

#include <QLibrary>

namespace {

/// Stands for the module's graph system and loads it with the first graph.
class LoadedGraphSystem final : public GraphSystem {
public:
    explicit LoadedGraphSystem(QWidget *panel) : m_panel(panel)
    {
        // A window that shows OpenGL later than itself has to be built again, which the user would see.
        if (hasGraphicsHardware())
            load();
    }

    Status initialize() override
    {
        if (!m_system)
            load();
        return m_system ? m_system->initialize() : statusFailure;
    }

    void uninitialize() override { m_system->uninitialize(); }
    Queried<GraphBuilder> createGraphBuilder() override { return m_system->createGraphBuilder(); }

    WaveLevel waveVolume() override { return m_system ? m_system->waveVolume() : m_level; }

    void setWaveVolume(WaveLevel level) override
    {
        m_level = level;
        if (m_system)
            m_system->setWaveVolume(level);
    }

private:
    void load()
    {
        using Create = GraphSystem *(*)(QWidget *);
        QLibrary module(inApplicationFolder(QStringLiteral(TAVRIN_MPV_MODULE)));
        if (const auto create = reinterpret_cast<Create>(module.resolve("tavrinCreateGraphSystem"))) {
            m_system.reset(create(m_panel));
            m_system->setWaveVolume(m_level);
        }
    }

    QWidget *m_panel;
    std::unique_ptr<GraphSystem> m_system;
    WaveLevel m_level;
};

} // namespace

std::unique_ptr<GraphSystem> createGraphSystem(QWidget *panel)
{
    return std::make_unique<LoadedGraphSystem>(panel);
}
