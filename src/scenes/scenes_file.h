#pragma once

#include "scenes/grid_cells.h"
#include "scenes/scenes_binding.h"

#include "util/user_error.h"

#include <QByteArray>
#include <QString>

// The scenes file: the scene list as XML, kept beside its film.

/// What every scenes file begins with.
inline const QByteArray scenesFileHead = "\xEF\xBB\xBF<?xml version=\"1.0\" encoding=\"UTF-8\"?>\r\n<scenes>\r\n";

/// A scenes file could be read up to a scene: those before it are in the list, the others are what they were.
class PartlyReadError : public UserError {
public:
    using UserError::UserError;
};

/// The list as a scenes file: every data row, the blank one of an empty list included; UTF-8 with its byte order
/// mark, lines ended by CR LF. Texts are written letter for letter, so that "&" and "<" in them, and control
/// characters, make a file that does not read back.
[[nodiscard]] QByteArray scenesXml(const GridCells &list);

/// Makes the scenes the rows of the empty `list`, which is to take the place of `old`; no scenes leave it empty. A
/// field that is exactly "0" becomes empty text. Throws PartlyReadError, with `fileName` in its text, at the first field
/// that holds elements: what comes before it is filled then, and the cells from it on are those of `old`.
void fillList(GridCells &list, IXMLscenesType &scenes, const QString &fileName, const GridCells &old);

/// The first text of the list that would not come back from the scenes file, for the user: scene, field and what in
/// it; empty if all come back.
[[nodiscard]] QString firstLostText(const GridCells &list);

/// Writes the list to the file, wholly or not at all. Throws UserError with the file's name and the reason if that
/// fails; the old file is what it was then.
void saveList(const GridCells &list, const QString &fileName);
