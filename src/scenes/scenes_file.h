#pragma once

#include "scenes/grid_cells.h"
#include "scenes/scenes_binding.h"

#include "util/user_error.h"

#include <QByteArray>
#include <QString>

// The scenes file: the scene list as XML, kept beside its video.

/// A scenes file could be read up to a scene: those before it are in the list, the others are what they were.
class PartlyReadError : public UserError {
public:
    using UserError::UserError;
};

/// The list as a scenes file: every data row, the blank one of an empty list included; UTF-8 with its byte order
/// mark, lines ended by CR LF. Texts are written letter for letter, so that "&" and "<" in them, and control
/// characters, make a file that does not read back.
[[nodiscard]] QByteArray scenesXml(const GridCells &list);

/// Makes the scenes the list's rows; no scenes make it the empty list. A field that is exactly "0" becomes empty
/// text. Throws PartlyReadError, with `fileName` in its text, at the first field that holds elements: rows before it are
/// filled, those after it keep what they had.
void fillList(GridCells &list, IXMLscenesType &scenes, const QString &fileName);

/// Writes the list to the file, wholly or not at all. Throws UserError with the file's name and the reason if that
/// fails; the old file is what it was then.
void saveList(const GridCells &list, const QString &fileName);
