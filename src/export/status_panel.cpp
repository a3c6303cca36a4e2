#include "export/status_panel.h"

#include <QPainter>
#include <QStyle>

StatusPanel::StatusPanel(QWidget *parent) : QLabel(parent)
{
    setTextFormat(Qt::PlainText);
}

QSize StatusPanel::minimumSizeHint() const
{
    return {0, QLabel::minimumSizeHint().height()};
}

void StatusPanel::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    const QRect place = contentsRect();
    style()->drawItemText(&painter, place, static_cast<int>(alignment()), palette(), isEnabled(),
                          fontMetrics().elidedText(text(), Qt::ElideRight, place.width()), foregroundRole());
}
