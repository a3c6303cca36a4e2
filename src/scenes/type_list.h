#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

// The scene type list: a text of lines that gives a hierarchy of three levels by leading TABs. A line without one is
// a type, with one a subtype of the nearest type above it, with two a lasttype of the nearest subtype above it. An
// empty line belongs to nothing and ends the block it stands in.

/// The lines of `text`, which end in CR LF, LF or CR.
[[nodiscard]] QStringList linesOf(const QString &text);

/// The text of a type list file: UTF-8, without its byte order mark. What is not UTF-8 becomes U+FFFD.
[[nodiscard]] QString typeListText(const QByteArray &file);

/// The types, whole lines, in the order of the file.
[[nodiscard]] QStringList typesIn(const QStringList &lines);

/// The subtypes in the block of the first type line that equals `type` exactly, without their TABs.
[[nodiscard]] QStringList subtypesOf(const QString &type, const QStringList &lines);

/// The lasttypes in the block of the first subtype line for `subtype`, whichever type it stands under. Every two
/// TABs in a row are removed, so that a third leading one stays.
[[nodiscard]] QStringList lasttypesOf(const QString &subtype, const QStringList &lines);
