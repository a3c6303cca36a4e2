#pragma once

#include <QString>
#include <QStringView>

/// The number at the start of `text`, read as the C runtime's wide `_wtof` reads it: leading blanks skipped, an
/// optional sign, digits with "." as the decimal point, an optional exponent. The first character that does not
/// fit ends the number; text that does not begin with one gives 0. Magnitudes beyond a double give an infinity of
/// the number's sign or 0, as `strtod` does. Words such as "nan" and "inf" and hexadecimal digits are no numbers here.
[[nodiscard]] double leadingNumber(QStringView text);

/// `value` in general format: up to 15 significant digits, trailing zeros dropped, the decimal separator of the
/// user's locale, no grouping.
[[nodiscard]] QString generalFormat(double value);
