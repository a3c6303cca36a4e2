#include "scenes/list_status.h"

#include <QLabel>
#include <QPaintEvent>
#include <QPainter>
#include <QStatusBar>
#include <QStyle>
#include <QTextDocument>

/// A line of text that takes no more room than there is.
class ElidedLabel : public QLabel {
public:
    ElidedLabel(const char *name, QStatusBar *bar) : QLabel(bar)
    {
        setObjectName(QLatin1String(name));
        setTextFormat(Qt::PlainText);
        setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Fixed);
    }

    void tell(const QString &text)
    {
        if (text == this->text())
            return;
        setText(text);
        // A file's name is never markup.
        setToolTip(text.isEmpty() ? QString() : Qt::convertFromPlainText(text));
    }

protected:
    void paintEvent(QPaintEvent *) override
    {
        QPainter painter(this);
        const QString shown = fontMetrics().elidedText(text(), Qt::ElideRight, width());
        style()->drawItemText(&painter, rect(), Qt::AlignLeft | Qt::AlignVCenter, palette(), isEnabled(), shown,
                              foregroundRole());
    }
};

ListStatus::ListStatus(QStatusBar *bar) : m_state(new ElidedLabel("State", bar)), m_fact(new ElidedLabel("Fact", bar))
{
    constexpr int shareOfState = 3;
    constexpr int shareOfFact = 2;
    bar->addWidget(m_state, shareOfState);
    bar->addWidget(m_fact, shareOfFact);
}

void ListStatus::showState(const QString &state)
{
    m_state->tell(state);
}

void ListStatus::showFact(const QString &fact)
{
    m_fact->tell(fact);
}
