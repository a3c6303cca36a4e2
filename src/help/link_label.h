#pragma once

#include <QLabel>

/// A line of text that can be pressed like a link: with the mouse, with Enter and the space bar, and over the
/// accessibility bus.
class TLinkLabel final : public QLabel {
    Q_OBJECT

public:
    TLinkLabel(const QString &text, QWidget *parent);

Q_SIGNALS:
    void Click();

protected:
    void mousePressEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    void paintEvent(QPaintEvent *event) override;
};
