#include "export/radio_group.h"

#include <QButtonGroup>
#include <QRadioButton>
#include <QVBoxLayout>

TRadioGroup::TRadioGroup(const QString &caption, const QStringList &items, QWidget *parent)
    : QGroupBox(caption, parent), m_buttons(new QButtonGroup(this))
{
    auto *column = new QVBoxLayout(this);
    constexpr int margin = 8;
    column->setContentsMargins(margin, margin, margin, margin);
    for (const QString &item : items) {
        auto *button = new QRadioButton(item, this);
        m_buttons->addButton(button, static_cast<int>(m_buttons->buttons().size()));
        column->addWidget(button);
    }
    setItemIndex(0);
}

int TRadioGroup::ItemIndex() const
{
    return m_buttons->checkedId();
}

void TRadioGroup::setItemIndex(int index)
{
    if (QAbstractButton *button = m_buttons->button(index))
        button->setChecked(true);
}
