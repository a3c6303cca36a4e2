#pragma once

#include "player/playback_engine.h"

/// Shows nothing of what the engine tells.
class QuietDisplay : public PlayerDisplay {
public:
    void showMessage(const QString &) override {}
    void resetSpeedBar() override {}
    void showOpenedVideo(const QString &) override {}
    void showPlaying(bool) override {}
    void applyVolume() override {}
    void restartFitting() override {}
};
