#include "player/graph_system.h"

#include "player/mpv/posix/graphics_hardware.h"
#include "util/application_folder.h"

#include <QFileInfo>
#include <QLibrary>
#include <QRegularExpression>

namespace {

/// Why the system does not load a library, in Russian as far as that can be told.
QString refusalOf(const QLibrary &library)
{
    if (!QFileInfo::exists(library.fileName()))
        return QStringLiteral("нет такого файла");
    static const QRegularExpression missing(QStringLiteral("([^ (:]+): cannot open shared object file"));
    const QRegularExpressionMatch found = missing.match(library.errorString());
    return found.hasMatch() ? QStringLiteral("в системе нет библиотеки «%1»").arg(found.captured(1))
                            : library.errorString();
}

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

    QString lack() const override { return m_lack; }

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
            m_lack.clear();
        } else {
            m_lack = QStringLiteral("Не удалось загрузить модуль показа фильмов «%1»: %2")
                         .arg(module.fileName(), refusalOf(module));
        }
    }

    QWidget *m_panel;
    QString m_lack;
    std::unique_ptr<GraphSystem> m_system;
    WaveLevel m_level;
};

} // namespace

std::unique_ptr<GraphSystem> createGraphSystem(QWidget *panel)
{
    return std::make_unique<LoadedGraphSystem>(panel);
}
