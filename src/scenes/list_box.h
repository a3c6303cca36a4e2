#pragma once

#include <QListWidget>
#include <QStringList>

/// A list of texts of which at most one is chosen, kept sorted for a Russian reader: letter case does not matter, and
/// equal texts keep the order they came in. Texts are shown and returned exactly as given; one that would not come back
/// from the scenes file is marked, and its hint says why.
///
/// `Click` tells that the user has chosen an item, with mouse or keys, the chosen one again included, or has taken
/// the choice back. Choices made by the program are not told.
class TListBox : public QListWidget {
    Q_OBJECT

public:
    explicit TListBox(QWidget *parent);

    /// Replaces the items; nothing is chosen then.
    void setItems(const QStringList &items);

    /// The index of the chosen item, -1 for none.
    [[nodiscard]] int ItemIndex() const;

    /// Chooses the item, or none for -1.
    void setItemIndex(int index);

    /// The texts of the items, sorted.
    [[nodiscard]] QStringList texts() const;

    /// The chosen item's text; empty if none is chosen.
    [[nodiscard]] QString chosenText() const;

    /// Chooses the first item that equals `text` exactly, else none. True if there is one.
    bool choose(const QString &text);

Q_SIGNALS:
    void Click();

protected:
    void mousePressEvent(QMouseEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    void selectionChanged(const QItemSelection &selected, const QItemSelection &deselected) override;

private:
    bool m_byProgram = false;
    bool m_changedSincePress = false;
};
