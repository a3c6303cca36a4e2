#pragma once

#include "scenes/scene.h"

#include <memory>

/// A change of the scene list that can be made and taken back in turn. It keeps no more of the list than what it
/// changes: a row, the order of the rows, or the rows that are out of the list at the time.
class ListChange {
public:
    virtual ~ListChange() = default;
    ListChange(const ListChange &) = delete;
    ListChange &operator=(const ListChange &) = delete;

    virtual void apply(GridCells &list) = 0;
    virtual void revert(GridCells &list) = 0;

    /// The memory that it keeps beside the list at the time, in bytes.
    [[nodiscard]] virtual std::size_t byteCount() const = 0;

    /// The row that is current after `apply` where `row` was: it follows its scene if all scenes stay in the list.
    [[nodiscard]] virtual int rowAfter(int row) const { return row; }

protected:
    ListChange() = default;
};

// Each is for the list as it stands when the change is made first.

/// Adds the scene: in the blank row of the empty list, else in a row at the end.
[[nodiscard]] std::unique_ptr<ListChange> additionOf(const GridCells &list, const Scene &scene);

/// Writes scene and number into `row`; null if that changes nothing.
[[nodiscard]] std::unique_ptr<ListChange> rewriteOf(const GridCells &list, int row, const Scene &scene);

/// Takes `row` out; the only data row is made blank.
[[nodiscard]] std::unique_ptr<ListChange> removalOf(const GridCells &list, int row);

/// Makes the data rows those of `rows`; null if both lists are empty.
[[nodiscard]] std::unique_ptr<ListChange> replacementOf(const GridCells &list, GridCells rows);

/// Sorts by position; null if the list is in that order.
[[nodiscard]] std::unique_ptr<ListChange> sortingOf(const GridCells &list);
