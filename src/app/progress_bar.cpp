#include "app/progress_bar.h"

#include <QMouseEvent>
#include <QToolTip>

#include <algorithm>

TProgressBar::TProgressBar(QWidget *parent) : QProgressBar(parent)
{
    setTextVisible(false);
    setMouseTracking(true);
    setRange(0, m_maximum);
    setValue(0);
}

void TProgressBar::setMax(int maximum)
{
    m_maximum = std::max(0, maximum);
    // The base class shows an empty range as a busy indicator.
    setRange(0, std::max(1, m_maximum));
}

void TProgressBar::setPosition(int position)
{
    setValue(std::clamp(position, 0, m_maximum));
}

void TProgressBar::setHint(const QString &hint)
{
    setToolTip(hint);
    if (QToolTip::isVisible())
        QToolTip::showText(QCursor::pos(), hint, this);
}

void TProgressBar::mousePressEvent(QMouseEvent *event)
{
    Q_EMIT mouseDown(event->position().toPoint().x());
}

void TProgressBar::mouseMoveEvent(QMouseEvent *event)
{
    Q_EMIT mouseMove(event->position().toPoint().x());
}
