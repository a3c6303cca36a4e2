#pragma once

#include "scenes/grid_cells.h"
#include "util/media_time.h"

#include <QString>

#include <array>
#include <vector>

/// The columns of the scene list: the row's number, then one field of the scene each.
enum SceneColumn : int {
    NumberColumn,
    PositionColumn,
    LengthColumn,
    TypeColumn,
    SubtypeColumn,
    LasttypeColumn,
    TitleColumn,
    PersonsColumn,
    PlaceColumn,
    TimeColumn,
    CommentColumn,
    LatitudeColumn,
    LongitudeColumn,
    sceneColumnCount,
};

/// One marked stretch of a film with its description. All is text as the user typed it or the player wrote it;
/// nothing checks or reformats it on the way into the list and out of it.
struct Scene {
    /// Seconds from the beginning of the film, and seconds, both with "." as the decimal point.
    QString position;
    QString length;
    /// The three levels of the scene type list; the lower two may be empty.
    QString type;
    QString subtype;
    QString lasttype;
    QString title;
    QString persons;
    QString place;
    QString time;
    QString comment;
    /// Decimal degrees.
    QString latitude;
    QString longitude;

    bool operator==(const Scene &) const = default;
};

/// The scene's fields in the order of their columns, from `PositionColumn`.
constexpr std::array<QString Scene::*, sceneColumnCount - PositionColumn> sceneFields{
    &Scene::position, &Scene::length, &Scene::type, &Scene::subtype, &Scene::lasttype, &Scene::title,
    &Scene::persons,  &Scene::place,  &Scene::time, &Scene::comment, &Scene::latitude, &Scene::longitude,
};

// The scene list is the cells of a grid with `sceneColumnCount` columns. These functions are the only ones that know
// how scenes lie in it.

/// True for the list without a scene: one data row whose number is empty.
[[nodiscard]] bool listIsEmpty(const GridCells &list);

/// The row that a new scene goes into: the blank row of the empty list, else a row added at the end.
[[nodiscard]] int rowForNewScene(GridCells &list);

/// Writes the scene and the row's number into `row`.
void setScene(GridCells &list, int row, const Scene &scene);

[[nodiscard]] Scene sceneAt(const GridCells &list, int row);

/// Leaves one blank data row.
void clearList(GridCells &list);

/// The order of the data rows by position, read as a number, as `GridCells::arrangeRows` takes it: scenes of equal
/// position keep their order, and an unreadable position counts as 0.
[[nodiscard]] std::vector<int> orderByPosition(const GridCells &list);

/// The moment that a position text means (100 ns), truncated toward zero; 0 for a text that is no number.
[[nodiscard]] MediaTime mediaTimeOf(const QString &position);
