#pragma once

#include <QString>

class ElidedLabel;
class QStatusBar;

/// The status bar of the scene list: how things stand, and the fact told last. What is too long for its place is cut
/// there and whole in the hint.
class ListStatus {
public:
    /// Puts its places into `bar`, which owns them.
    explicit ListStatus(QStatusBar *bar);

    void showState(const QString &state);
    void showFact(const QString &fact);

private:
    ElidedLabel *m_state;
    ElidedLabel *m_fact;
};
