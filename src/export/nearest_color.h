#pragma once

#include "export/color_reduction.h"

#include <array>
#include <cstdint>
#include <vector>

/// Finds the entry of a palette that is nearest to a colour, exactly.
///
/// The cube of all colours is cut into small cubes. For each that is asked for, the entries that are nearest to some
/// colour inside it are listed once; the search then compares only those.
class NearestColor {
public:
    /// Searches in `palette` from now on: 1 to 256 colours.
    void setPalette(const std::vector<PaletteColor> &palette);

    /// The index of the nearest entry, the first of several; channels are 0 .. 255.
    [[nodiscard]] std::uint8_t find(int red, int green, int blue)
    {
        const std::size_t cube = cubeOf(red, green, blue);
        if (m_cubes[cube].count == 0)
            listCube(cube);
        const Range range = m_cubes[cube];
        const Candidate *candidate = m_candidates.data() + range.first;
        const Candidate *const end = candidate + range.count;
        std::uint8_t nearest = candidate->index;
        for (int best = distance(*candidate, red, green, blue); ++candidate != end;) {
            const int squared = distance(*candidate, red, green, blue);
            if (squared < best) {
                best = squared;
                nearest = candidate->index;
            }
        }
        return nearest;
    }

private:
    struct Candidate {
        std::uint8_t red, green, blue, index;
    };
    struct Range {
        std::uint32_t first = 0;
        std::uint32_t count = 0;
    };

    /// The cube is cut into 8 x 8 x 8 blocks and each of these into 4 x 4 x 4 cubes.
    static constexpr int blockBits = 3;
    static constexpr int cubeBits = 5;

    [[nodiscard]] static std::size_t cubeOf(int red, int green, int blue)
    {
        constexpr int shift = 8 - cubeBits;
        return static_cast<std::size_t>(((red >> shift) << (2 * cubeBits)) | ((green >> shift) << cubeBits)
                                        | (blue >> shift));
    }

    [[nodiscard]] static int distance(const Candidate &candidate, int red, int green, int blue)
    {
        const int r = candidate.red - red;
        const int g = candidate.green - green;
        const int b = candidate.blue - blue;
        return r * r + g * g + b * b;
    }

    void listCube(std::size_t cube);
    [[nodiscard]] Range listNearest(Range from, int red, int green, int blue, int size);

    std::vector<Candidate> m_candidates;
    Range m_all;
    std::array<Range, 1 << (3 * blockBits)> m_blocks{};
    std::array<Range, 1 << (3 * cubeBits)> m_cubes{};
};
