#pragma once

#include "player/graph.h"

#include <QString>
#include <QStringList>

#include <map>

/// A media library without media: its clock stands still, it takes every seek at once and writes down what it is
/// asked. Each step of building a graph can be given a status to answer with.
class FakeGraphSystem final : public GraphSystem {
public:
    /// Every call that has an effect, in order, such as "run" or "seek 400000".
    QStringList calls;
    /// The status of a step by its name, the name being the one in `calls`; success where nothing is set.
    std::map<QString, Status> statuses;

    std::int32_t width = 1280;
    std::int32_t height = 720;
    double frameSeconds = 0.04;
    MediaTime duration = 90 * unitsPerSecond + unitsPerSecond / 2;
    MediaTime position = 0;
    double rate = 1.0;
    bool running = false;
    /// The one rate that is refused.
    double refusedRate = 0.0;
    WaveLevel level;
    int graphsAlive = 0;
    int graphsBuilt = 0;
    int initialized = 0;

    Status initialize() override;
    void uninitialize() override { --initialized; }
    Queried<GraphBuilder> createGraphBuilder() override;
    WaveLevel waveVolume() override { return level; }
    void setWaveVolume(WaveLevel newLevel) override { level = newLevel; }

    /// Writes the step down and gives its status.
    Status step(const QString &name);
};
