#pragma once

#include <QGroupBox>
#include <QStringList>

class QButtonGroup;

/// A titled group of radio buttons, one below the other, of which one is always chosen.
class TRadioGroup : public QGroupBox {
    Q_OBJECT

public:
    /// The first item is chosen.
    TRadioGroup(const QString &caption, const QStringList &items, QWidget *parent);

    /// The chosen item, from 0.
    [[nodiscard]] int ItemIndex() const;

    /// Nothing happens for an index without an item.
    void setItemIndex(int index);

private:
    QButtonGroup *m_buttons;
};
