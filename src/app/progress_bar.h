#pragma once

#include <QProgressBar>

/// A progress bar that is clicked. Its maximum may be 0, which is an empty bar.
class TProgressBar final : public QProgressBar {
    Q_OBJECT

public:
    explicit TProgressBar(QWidget *parent);

    /// The end of the bar; at least 0.
    [[nodiscard]] int Max() const { return m_maximum; }
    void setMax(int maximum);
    void setPosition(int position);

    /// Sets the hint, at once if one is on the screen.
    void setHint(const QString &hint);

Q_SIGNALS:
    /// A mouse button was pressed, or the mouse moved, at this horizontal pixel of the bar.
    void mouseDown(int x);
    void mouseMove(int x);

protected:
    void mousePressEvent(QMouseEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;

private:
    int m_maximum = 100;
};
