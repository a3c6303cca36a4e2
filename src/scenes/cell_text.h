#pragma once

#include <QString>
#include <QStringView>

// What a cell of the scene list may hold, and which texts come back from the scenes file as they were.

/// `text` as a cell holds it: line ends are LF; other control characters but TAB, halves of surrogate pairs, U+FFFE and
/// U+FFFF are spaces.
[[nodiscard]] QString asCellText(const QString &text);

/// The same for a text of one line, in which line ends are spaces too, character by character.
[[nodiscard]] QString asSingleLine(const QString &text);

/// What keeps `text` from coming back the same when it is written to the scenes file and read again, for the user, such
/// as "знак «&»"; empty if it comes back.
[[nodiscard]] QString whatIsLost(QStringView text);
