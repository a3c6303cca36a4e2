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

/// A scene that has these fields only.
inline Scene sceneWith(std::initializer_list<std::pair<QString Scene::*, QString>> fields)
{
    Scene scene;
    for (const auto &[field, text] : fields)
        scene.*field = text;
    return scene;
}

/// A list whose scenes have these positions, and as title the row that they were put into.
inline GridCells listOf(const QStringList &positions)
{
    GridCells list(sceneColumnCount);
    for (const QString &position : positions) {
        const int row = rowForNewScene(list);
        Scene scene;
        scene.position = position;
        scene.title = QString::number(row);
        setScene(list, row, scene);
    }
    return list;
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
