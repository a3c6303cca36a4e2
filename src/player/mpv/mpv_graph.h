#pragma once

#include "player/graph.h"
#include "player/mpv/mpv_session.h"
#include "player/mpv/video_surface.h"

#include <memory>

class QWidget;

/// Playback by libmpv. Pictures go to a surface inside one panel, which must outlive this; sound goes to the
/// program's own stream in the sound server.
class MpvGraphSystem final : public GraphSystem {
public:
    /// Draws into `surface`, or into the surface that suits this machine if that is null.
    explicit MpvGraphSystem(QWidget *panel, std::unique_ptr<VideoSurface> surface = nullptr);
    ~MpvGraphSystem() override;

    [[nodiscard]] Status initialize() override;
    void uninitialize() override {}
    [[nodiscard]] QString name() const override { return QStringLiteral("libmpv"); }
    [[nodiscard]] Queried<GraphBuilder> createGraphBuilder() override;
    [[nodiscard]] WaveLevel waveVolume() override;
    void setWaveVolume(WaveLevel level) override;

    [[nodiscard]] VideoSurface &surface() const { return *m_surface; }

private:
    QWidget *m_panel;
    std::unique_ptr<VideoSurface> m_surface;
    std::weak_ptr<MpvSession> m_session;
    WaveLevel m_level;
};
