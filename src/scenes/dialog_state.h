#pragma once

#include "scenes/scene.h"

#include <QStringList>

/// What the scene dialog holds at one time.
struct DialogState {
    /// The described scene, and what there is to choose from below its type.
    struct Content {
        Scene scene;
        QStringList subtypes;
        QStringList lasttypes;

        bool operator==(const Content &) const = default;
    };

    Content content;
    /// What the dialog was filled with, or what it has given to the list since.
    Content settled;
    /// True if its confirm button adds a row, false if it overwrites the current one.
    bool adding = true;

    bool operator==(const DialogState &) const = default;

    /// Whether it holds what the user has changed and not given to the list.
    [[nodiscard]] bool isChanged() const { return content.scene != settled.scene; }
};
