#include "export/nearest_color.h"

#include <algorithm>
#include <cmath>
#include <limits>

void NearestColor::setPalette(const std::vector<PaletteColor> &palette)
{
    m_blocks.fill({});
    m_cubes.fill({});
    m_candidates.clear();
    for (const PaletteColor &color : palette) {
        m_candidates.push_back({color.red, color.green, color.blue, static_cast<std::uint8_t>(m_candidates.size())});
    }
    m_all = {0, static_cast<std::uint32_t>(m_candidates.size())};
}

void NearestColor::listCube(std::size_t cube)
{
    constexpr int mask = (1 << cubeBits) - 1;
    constexpr int cubeSize = 256 >> cubeBits;
    constexpr int blockSize = 256 >> blockBits;
    constexpr int coarser = cubeBits - blockBits;
    const int place = static_cast<int>(cube);
    const int red = place >> (2 * cubeBits);
    const int green = (place >> cubeBits) & mask;
    const int blue = place & mask;

    Range &block = m_blocks[static_cast<std::size_t>(((red >> coarser) << (2 * blockBits))
                                                     | ((green >> coarser) << blockBits) | (blue >> coarser))];
    if (block.count == 0) {
        block = listNearest(m_all, (red >> coarser) * blockSize, (green >> coarser) * blockSize,
                            (blue >> coarser) * blockSize, blockSize);
    }
    m_cubes[cube] = listNearest(block, red * cubeSize, green * cubeSize, blue * cubeSize, cubeSize);
}

/// Lists those of `from` that may be nearest to some colour of the cube of this size at this corner. For every colour
/// of it the entry nearest to the cube's centre is no farther than its distance to the centre and half a diagonal; an
/// entry that is a whole diagonal farther from the centre than that one is nearest to none.
NearestColor::Range NearestColor::listNearest(Range from, int red, int green, int blue, int size)
{
    // Twice the distances, since the centre lies between colours.
    std::array<int, 256> distances{};
    int least = std::numeric_limits<int>::max();
    for (std::uint32_t i = 0; i < from.count; ++i) {
        const Candidate &candidate = m_candidates[from.first + i];
        const int r = 2 * (candidate.red - red) - (size - 1);
        const int g = 2 * (candidate.green - green) - (size - 1);
        const int b = 2 * (candidate.blue - blue) - (size - 1);
        distances[i] = r * r + g * g + b * b;
        least = std::min(least, distances[i]);
    }
    const double diagonal = 2 * std::sqrt(3.0) * (size - 1);
    const double farthest = std::sqrt(least) + diagonal;
    const int bound = static_cast<int>(farthest * farthest) + 1;

    const auto first = static_cast<std::uint32_t>(m_candidates.size());
    for (std::uint32_t i = 0; i < from.count; ++i) {
        if (distances[i] <= bound) {
            const Candidate candidate = m_candidates[from.first + i];
            m_candidates.push_back(candidate);
        }
    }
    return {first, static_cast<std::uint32_t>(m_candidates.size()) - first};
}
