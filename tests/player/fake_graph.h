#pragma once

#include "player/graph.h"

#include <QElapsedTimer>
#include <QString>
#include <QStringList>

#include <map>

/// A media library without media: its clock stands still, it takes every file for a film and every seek at once, and
/// writes down what it is asked. Each step of building a graph can be given a status to answer with.
class FakeGraphSystem final : public GraphSystem {
public:
    /// Every call that has an effect, in order, such as "run" or "seek 400000".
    QStringList calls;
    /// Films run by the clock, seeks settle with a later turn of the event loop, and a text file is no film.
    bool isLive = false;
    /// The status of a step by its name, the name being the one in `calls`; success where nothing is set.
    std::map<QString, Status> statuses;

    std::int32_t width = 1280;
    std::int32_t height = 720;
    double frameSeconds = 0.04;
    MediaTime duration = 90 * unitsPerSecond + unitsPerSecond / 2;
    /// Where the film stands, or stood when `sinceRun` was started.
    MediaTime position = 0;
    QElapsedTimer sinceRun;
    double rate = 1.0;
    bool running = false;
    /// The one rate that is refused.
    double refusedRate = 0.0;
    WaveLevel level;
    int graphsAlive = 0;
    int graphsBuilt = 0;
    int initialized = 0;
    GraphSystem *next = nullptr;

    Status initialize() override;
    void uninitialize() override { --initialized; }
    Queried<GraphBuilder> createGraphBuilder() override;
    [[nodiscard]] GraphSystem *successor() override { return next; }
    WaveLevel waveVolume() override { return level; }
    void setWaveVolume(WaveLevel newLevel) override { level = newLevel; }

    /// Writes the step down and gives its status.
    Status step(const QString &name);

    /// The number of the picture that is there; -1 without a graph.
    [[nodiscard]] int shownNumber() const;

    /// From now on the film runs or stands at `newPosition`, which its last picture bounds.
    void stand(MediaTime newPosition, bool runs);
    [[nodiscard]] MediaTime now() const;
};
