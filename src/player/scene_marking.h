#pragma once

#include "util/media_time.h"

#include <QString>

#include <optional>

/// A scene's start as text: `position` (100 ns) in seconds, truncated to hundredths, with "." as the decimal point
/// whatever the user's locale.
[[nodiscard]] QString sceneStartText(MediaTime position);

/// A scene's length as text: from the number at the start of `startText` (seconds) to `position` (100 ns), in
/// seconds, truncated to hundredths. Nothing if the end lies before the start.
[[nodiscard]] std::optional<QString> sceneLengthText(const QString &startText, MediaTime position);
