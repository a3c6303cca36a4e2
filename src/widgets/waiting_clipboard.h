#pragma once

class QEvent;
class QObject;

/// Whether reading the clipboard would keep the program waiting: its owner, another program, does not answer within a
/// second. The framework itself would wait for a quarter of a minute.
[[nodiscard]] bool clipboardHangs();

/// Whether `event` would make the text field `receiver` read a clipboard that hangs; it should not get the event then.
[[nodiscard]] bool waitsForClipboard(const QObject *receiver, const QEvent &event);
