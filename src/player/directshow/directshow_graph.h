#pragma once

#include "player/graph.h"

#include <memory>

/// Playback by DirectShow, whose video window becomes a child of the panel's own. The sound's level is that of the
/// system's first device for wave output.
class DirectShowSystem final : public GraphSystem {
public:
    /// What DirectShow refuses goes to `successor`, which may be null.
    explicit DirectShowSystem(std::unique_ptr<GraphSystem> successor);
    ~DirectShowSystem() override;

    [[nodiscard]] Status initialize() override;
    void uninitialize() override;
    [[nodiscard]] QString lack() const override { return m_successor ? m_successor->lack() : QString(); }
    [[nodiscard]] QString name() const override { return QStringLiteral("DirectShow"); }
    [[nodiscard]] GraphSystem *successor() override { return m_successor.get(); }
    [[nodiscard]] Queried<GraphBuilder> createGraphBuilder() override;
    [[nodiscard]] WaveLevel waveVolume() override;
    void setWaveVolume(WaveLevel level) override;

private:
    std::unique_ptr<GraphSystem> m_successor;
    WaveLevel m_level; ///< as it was set, where there is no device
};
