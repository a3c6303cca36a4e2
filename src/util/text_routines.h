#pragma once

#include <QString>

/// Replaces every occurrence of `searched` in `subject` by `replacement`, from left to right, exactly and
/// case-sensitively. Occurrences never overlap and replaced text is not scanned again. An empty `searched`
/// returns `subject` unchanged.
[[nodiscard]] QString str_replace(const QString &searched, const QString &replacement, const QString &subject);

/// Field number `index` (from 0) of `source` cut at each occurrence of `delimiter`.
///
/// Every character position is tested in turn, so overlapping occurrences all count. Field 0 is the text before
/// the first occurrence, field k the text after the k-th occurrence up to the next one or to the end. Too few
/// occurrences, an empty source, an empty delimiter or a negative index give empty text. For field 0 the search
/// for the closing occurrence begins one past the delimiter's length, so that a delimiter of several characters
/// is overlooked there; a source that begins with the delimiter has an empty field 0 all the same.
[[nodiscard]] QString getFieldFromString(int index, const QString &source, const QString &delimiter);

/// The part of `path` after its last "\" or "/"; the whole path if it has neither.
[[nodiscard]] QString get_file_name(const QString &path);
