#pragma once

#include "scenes/grid_cells.h"

class TSQLConnection;
class TSQLQuery;

/// Creates the empty table of scenes. Throws UserError.
void createSceneTable(TSQLQuery &query);

/// What became of the scenes of a list.
struct InsertedScenes {
    int written = 0;
    int withoutGif = 0;
    /// Left out for any other error: a GIF that cannot be read, a row that the database refuses.
    int failed = 0;
};

/// Inserts every scene of the list with its GIF, in order. A scene without its GIF, or that the database refuses, is
/// left out. `filmPath` is the film that the GIFs are named after.
[[nodiscard]] InsertedScenes insertScenes(TSQLQuery &query, const GridCells &list, const QString &filmPath);

/// Deletes the database file and what SQLite keeps beside it; false if that cannot be done or another program is using
/// the database.
[[nodiscard]] bool deleteDatabase(const QString &file);
