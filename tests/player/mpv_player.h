#pragma once

#include "quiet_display.h"

#include "player/mpv/mpv_graph.h"

#include <QWidget>

/// The engine on libmpv in a panel of its own, as the main window uses it, without the main window. Sound goes
/// nowhere unless a sound server is there.
class MpvPlayer final : public QuietDisplay {
public:
    /// Draws in software unless another way is given.
    explicit MpvPlayer(std::unique_ptr<VideoSurface> (*makeSurface)(QWidget *) = createSoftwareSurface);
    ~MpvPlayer() override;

    QStringList messages;

    /// Opens the film and pauses it on its first picture.
    void openPaused(const QString &path);

    /// Lets events run until the newest seek's picture is on the surface. False after ten seconds without.
    [[nodiscard]] bool settle();

    /// One frame on or back as the transport does it, until its picture is there.
    void stepForward();
    void stepBack();
    void seekTo(MediaTime time);

    /// The number painted into the picture that is on the surface; -1 if it carries none.
    [[nodiscard]] int shownNumber();

    [[nodiscard]] MpvGraphSystem &system() { return m_system; }

    void showMessage(const QString &text) override { messages << text; }
    QWidget *videoPanel() override { return &m_panel; }

private:
    QWidget m_panel;
    MpvGraphSystem m_system;
};

/// Lets events run for this long.
void runEvents(int milliseconds);
