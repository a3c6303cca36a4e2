#pragma once

#include "scenes/scene.h"
#include "util/user_error.h"

#include <QStringList>

/// The data rows, their cells from the number on joined by "|".
inline QStringList rowsOf(const GridCells &list)
{
    QStringList rows;
    for (int row = 1; row < list.RowCount(); ++row) {
        QStringList cells;
        for (int column = 0; column < sceneColumnCount; ++column)
            cells += list.cell(column, row);
        rows += cells.join('|');
    }
    return rows;
}

/// What the command tells the user that it could not do; empty if it could.
template <typename Command>
QString refusalOf(const Command &command)
{
    try {
        command();
    } catch (const UserError &error) {
        return error.text();
    }
    return {};
}
