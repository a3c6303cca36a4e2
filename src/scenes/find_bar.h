#pragma once

#include <QWidget>

class QLineEdit;
class TStringGrid;

/// A line under the scene list that finds text in it: in any column, letter case does not matter. What is found
/// becomes the current row, and nothing else changes. Enter goes on to the next row that has the text, Shift+Enter to
/// the one before, both around the list's end; Esc puts the bar away.
class FindBar : public QWidget {
    Q_OBJECT

public:
    /// Hidden at first. The grid must live as long.
    FindBar(TStringGrid &grid, QWidget *parent);

    /// Shows the bar with the keyboard's focus in it.
    void open();

    QLineEdit *edit;

Q_SIGNALS:
    /// What came of a search, in a few words; empty if the text was found.
    void Told(const QString &outcome);

protected:
    void keyPressEvent(QKeyEvent *event) override;

private:
    /// Looks at every row, from `first` on in steps of +1 or -1.
    void find(int first, int step);

    TStringGrid &m_grid;
};
