#pragma once

#include <QLabel>

/// A panel of a status bar: a line of text that takes the room it is given. What does not fit is cut off with an
/// ellipsis; `text()` stays whole.
class StatusPanel final : public QLabel {
    Q_OBJECT

public:
    explicit StatusPanel(QWidget *parent);

    [[nodiscard]] QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent *event) override;
};
