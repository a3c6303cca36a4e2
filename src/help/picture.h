#pragma once

#include <QLabel>

/// One picture of the figure, which looks into one direction, as large as the label. It is read when it first becomes
/// visible, so that a figure that nobody sees costs nothing.
class TImage final : public QLabel {
    Q_OBJECT

public:
    /// Picture `number`, 1 to 9 (see `pictureNumber`), hidden.
    TImage(int number, QWidget *parent);

protected:
    void showEvent(QShowEvent *event) override;

private:
    int m_number;
};
