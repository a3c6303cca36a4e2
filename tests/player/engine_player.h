#pragma once

#include "quiet_display.h"
#include "tested_graph.h"

#include <QImage>
#include <QStringList>
#include <QWidget>

/// The engine on a graph system in a panel of its own, as the main window uses it, without the main window. Sound
/// goes nowhere unless a sound server is there.
class EnginePlayer final : public QuietDisplay {
public:
    explicit EnginePlayer(std::unique_ptr<GraphSystem> (*makeSystem)(QWidget *panel) = makeTestedGraphSystem,
                          QSize panelSize = {640, 360});
    ~EnginePlayer() override;

    QStringList messages;

    /// Opens the film and pauses it on its first picture.
    void openPaused(const QString &path);

    /// Pauses, until the picture stands: one that was handed over already is still drawn.
    void pause();

    /// Lets events run until the newest seek's picture is on the screen. False after ten seconds without.
    [[nodiscard]] bool settle();

    /// One frame on or back as the transport does it, until its picture is there.
    void stepForward();
    void stepBack();
    void seekTo(MediaTime time);

    /// The number painted into the picture that is shown; -1 if it carries none.
    [[nodiscard]] int shownNumber() { return ::shownNumber(m_panel); }

    /// What the panel shows.
    [[nodiscard]] QImage picture() { return m_panel.grab().toImage(); }

    void showMessage(const QString &text) override { messages << text; }
    QWidget *videoPanel() override { return &m_panel; }

private:
    QWidget m_panel;
    std::unique_ptr<GraphSystem> m_system;
};

/// Lets events run for this long.
void runEvents(int milliseconds);
