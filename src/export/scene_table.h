#pragma once

#include "scenes/grid_cells.h"

class TSQLConnection;
class TSQLQuery;

/// Creates the empty table of scenes. Throws UserError.
void createSceneTable(TSQLQuery &query);

/// Inserts every scene of the list with its GIF, in order. A scene without its GIF, or that the database refuses, is
/// left out silently. `videoPath` is the video that the GIFs are named after.
void insertScenes(TSQLQuery &query, const GridCells &list, const QString &videoPath);

/// Deletes the database file and what SQLite keeps beside it; false if that cannot be done or another program is using
/// the database.
[[nodiscard]] bool deleteDatabase(const QString &file);
