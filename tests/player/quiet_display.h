#pragma once

#include "player/playback_engine.h"

/// Shows nothing of what the engine tells.
class QuietDisplay : public PlayerDisplay {
public:
    void showMessage(const QString &) override {}
    void showNormalRate() override {}
    void showOpenedVideo(const QString &) override {}
    void showPlaying(bool) override {}
    std::uint16_t volumeBarLevel() override { return GetVolume(); }
    void restartFitting() override {}
};
