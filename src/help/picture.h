#pragma once

#include <QLabel>

class Figure;

/// One picture of a figure, which looks into one direction. It is drawn when it first becomes visible, and at the
/// scale of the screen it is on.
class TImage final : public QLabel {
    Q_OBJECT

public:
    /// Picture `number`, 1 to 9 (see `pictureDirection`), hidden. `figure` outlives the picture.
    TImage(int number, Figure &figure, QWidget *parent);

    /// Draws the picture anew if it is visible and the screen's scale is not the one it was drawn at.
    void fitToScreen();

protected:
    void showEvent(QShowEvent *event) override;

private:
    int m_number;
    Figure &m_figure;
    qreal m_drawnScale = 0;
};
