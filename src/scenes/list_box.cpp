#include "scenes/list_box.h"

#include "scenes/scene_field.h"

#include <QCollator>
#include <QKeyEvent>
#include <QScopedValueRollback>

#include <algorithm>

TListBox::TListBox(QWidget *parent) : QListWidget(parent)
{
    setUniformItemSizes(true);
    setTextElideMode(Qt::ElideRight);
    connect(this, &QListWidget::itemClicked, this, [this] {
        if (!m_changedSincePress)
            Q_EMIT Click();
    });
}

void TListBox::setItems(const QStringList &items)
{
    static const QCollator collator = [] {
        QCollator russian{QLocale(QLocale::Russian)};
        russian.setCaseSensitivity(Qt::CaseInsensitive);
        return russian;
    }();
    const QScopedValueRollback<bool> program(m_byProgram, true);
    QStringList sorted = items;
    std::stable_sort(sorted.begin(), sorted.end(), collator);
    clear();
    constexpr int room = 4;
    const QSize itemSize(0, fontMetrics().height() + room);
    for (const QString &text : std::as_const(sorted)) {
        auto *added = new QListWidgetItem(text, this);
        added->setSizeHint(itemSize);
        const QString hint = lossHint(text);
        if (!hint.isEmpty()) {
            added->setToolTip(hint);
            added->setBackground(lossColor(palette()));
        }
    }
}

int TListBox::ItemIndex() const
{
    const QModelIndexList chosen = selectedIndexes();
    return chosen.isEmpty() ? -1 : chosen.constFirst().row();
}

void TListBox::setItemIndex(int index)
{
    const QScopedValueRollback<bool> program(m_byProgram, true);
    clearSelection();
    setCurrentRow(index);
}

QStringList TListBox::texts() const
{
    QStringList all;
    all.reserve(count());
    for (int i = 0; i < count(); ++i)
        all += item(i)->text();
    return all;
}

QString TListBox::chosenText() const
{
    const int index = ItemIndex();
    return index < 0 ? QString() : item(index)->text();
}

bool TListBox::choose(const QString &text)
{
    int found = -1;
    for (int i = 0; i < count() && found < 0; ++i) {
        if (item(i)->text() == text)
            found = i;
    }
    setItemIndex(found);
    return found >= 0;
}

void TListBox::mousePressEvent(QMouseEvent *event)
{
    m_changedSincePress = false;
    QListWidget::mousePressEvent(event);
}

void TListBox::keyPressEvent(QKeyEvent *event)
{
    // With the keyboard's focus comes a current item that is not chosen; the first arrow key chooses it.
    const bool arrow = event->key() == Qt::Key_Down || event->key() == Qt::Key_Up;
    if (arrow && ItemIndex() < 0 && count() > 0) {
        setCurrentRow(0, QItemSelectionModel::ClearAndSelect);
        return;
    }
    QListWidget::keyPressEvent(event);
}

void TListBox::selectionChanged(const QItemSelection &selected, const QItemSelection &deselected)
{
    QListWidget::selectionChanged(selected, deselected);
    m_changedSincePress = true;
    if (!m_byProgram)
        Q_EMIT Click();
}
