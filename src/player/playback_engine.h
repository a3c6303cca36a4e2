#pragma once

#include "player/graph.h"
#include "player/player_state.h"

#include <QString>

#include <cstdint>
#include <memory>

class QWidget;

/// What the engine shows the user; the main window implements it.
class PlayerDisplay {
public:
    virtual ~PlayerDisplay() = default;

    /// A modal message box with `text`.
    virtual void showMessage(const QString &text) = 0;
    /// The widget that the film is drawn into, for as long as the program runs.
    [[nodiscard]] virtual QWidget *videoPanel() = 0;
    /// The speed track bar stands in its middle from now on, without asking for a rate, and the rate is 1.
    virtual void showNormalRate() = 0;
    /// The session has started: duration, picture size, frame rate and file name can be shown.
    virtual void showOpenedVideo(const QString &filePath) = 0;
    /// The captions of the play/pause commands for a session that plays or is paused.
    virtual void showPlaying(bool playing) = 0;
    /// The level (0 to 0xFFFF) that the volume track bar stands at.
    [[nodiscard]] virtual std::uint16_t volumeBarLevel() = 0;
    /// Restarts the timer that fits the window to the film.
    virtual void restartFitting() = 0;
};

// The engine: one session at a time, operated by these functions from the user-interface thread.

/// Gives the engine its media library and its display. Both must live until `releaseEngine`.
void initializeEngine(GraphSystem &system, PlayerDisplay &display);

/// Tears the session down and forgets library and display.
void releaseEngine();

/// Tears down any session, builds one for the file and starts playing it at rate 1 from its start. Failures are
/// shown, never thrown.
void Open(const QString &filePath);

/// Ends the session, if there is one.
void Teardown();

void Play();
void Pause();

/// The position (100 ns); 0 while no film is open.
[[nodiscard]] MediaTime GetPosition();

/// Seeks to `position` (100 ns, absolute), leaving the stop position alone. Nothing happens while no film is
/// open. `picture` tells a frame step from other seeks.
void SetPosition(MediaTime position, SeekTo picture = SeekTo::Time);

/// True when no picture is looked for: that of the newest seek is on the screen.
[[nodiscard]] bool IsSettled();

[[nodiscard]] MediaTime GetDuration();

[[nodiscard]] double GetRate();

/// Requests a rate, which becomes `speed`: a running session is paused for it and run again; one that refuses is
/// reported and put back to rate 1.
void SetRate(double rate);

/// The level (0 to 0xFFFF) of the program's sound, which others may change.
[[nodiscard]] std::uint16_t GetVolume();

/// Sets the level of both channels, whether or not a film is open.
void SetVolume(std::uint16_t level);

/// The name of the library that plays the film, where there is more than one; else empty.
[[nodiscard]] QString GraphName();

/// Places the picture at (0, 0) of the panel with this size (logical pixels).
void SetVideoRect(int width, int height);
