#include "export/radio_group.h"

#include <QButtonGroup>
#include <QRadioButton>
#include <QVBoxLayout>

TRadioGroup::TRadioGroup(const QString &caption, const QStringList &items, QWidget *parent)
    : QGroupBox(caption, parent), buttons(new QButtonGroup(this))
{
    auto *column = new QVBoxLayout(this);
    constexpr int margin = 8;
    column->setContentsMargins(margin, margin, margin, margin);
    for (const QString &item : items) {
        auto *button = new QRadioButton(item, this);
        buttons->addButton(button, static_cast<int>(buttons->buttons().size()));
        column->addWidget(button);
    }
    setItemIndex(0);
}

int TRadioGroup::ItemIndex() const
{
    return buttons->checkedId();
}

void TRadioGroup::setItemIndex(int index)
{
    if (QAbstractButton *button = buttons->button(index))
        button->setChecked(true);
}
