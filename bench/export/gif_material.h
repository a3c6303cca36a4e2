#pragma once

#include <QImage>

#include <string>
#include <vector>

/// Pictures in a row, as a scene's GIF gets them: 200 x 200 pixels (QImage::Format_RGB888), a second apart.
struct GifMaterial {
    std::string name;
    std::vector<QImage> pictures;
};

/// What a camera sees: surfaces of all scales in mixed light under the grain of its sensor, once from a stand while
/// something moves, once turning.
[[nodiscard]] GifMaterial photographicMaterial();

/// What an animator draws: outlined fields of flat colours, soft shades and lettering, once still but for one
/// figure, once turning.
[[nodiscard]] GifMaterial drawnMaterial();
