#include "reader/film.h"

#include "util/media_time.h"

#include <algorithm>
#include <cmath>
#include <utility>
#include <vector>

namespace {

/// How many reads are prepared for.
constexpr std::int64_t readsAhead = 3;

/// From this distance between reads on, the pictures between them are worth leaving out.
constexpr std::int64_t leastStride = 4;

/// No film has that many pictures.
constexpr std::int64_t lastIndex = std::int64_t(1) << 40;

} // namespace

std::unique_ptr<Film> Film::open(const std::string &path, const Interrupted &interrupted, const Interrupted &ended)
{
    std::unique_ptr<FilmFile> file = FilmFile::open(path, interrupted, ended);
    if (!file)
        return nullptr;
    std::unique_ptr<PictureFinder> finder = PictureFinder::create(std::move(file), interrupted);
    if (!finder || interrupted())
        return nullptr;

    const FilmFile &opened = finder->film();
    const AVFrame *first = finder->firstPicture();
    const int width = first != nullptr ? first->width : opened.parameters().width;
    const int height = first != nullptr ? first->height : opened.parameters().height;
    const auto geometry = shownGeometry(width, height, opened.pixelAspect(first), quarterTurnsOf(opened.stream()));
    if (!geometry)
        return nullptr;
    return std::unique_ptr<Film>(new Film(std::move(finder), *geometry));
}

Film::Film(std::unique_ptr<PictureFinder> finder, const PictureGeometry &geometry)
    : m_finder(std::move(finder)), m_geometry(geometry), m_painter(geometry),
      m_frameRate(1.0 / (1.0 / av_q2d(m_finder->film().frameRate()))),
      m_unit(av_q2d(m_finder->film().stream().time_base)), m_frameCount(m_finder->film().pictureCount())
{
}

std::size_t Film::pictureBytes() const
{
    return static_cast<std::size_t>(m_geometry.bytes().value_or(0));
}

std::int64_t Film::timeOf(std::int64_t index) const
{
    const double end = (static_cast<double>(std::clamp<std::int64_t>(index, 0, lastIndex)) + 1.0) / m_frameRate;
    // A picture that starts just before the end is the next index's, which the container has rounded down.
    const double rounded = std::min(containerRounding, 0.5 / m_frameRate);
    const double lastUnit = std::ceil((end - rounded) / m_unit) - 1.0;
    constexpr double most = 9e18;
    return std::min(av_sat_add64(m_finder->zero(), static_cast<std::int64_t>(std::min(lastUnit, most))),
                    latestTime - 1);
}

bool Film::read(std::int64_t index, std::span<std::byte> pixels, const Interrupted &interrupted)
{
    const std::size_t size = pictureBytes();
    if (size == 0)
        return false;
    const auto count = static_cast<std::int64_t>(pixels.size() / size);
    index = std::clamp(index, std::int64_t(0), lastIndex);
    expectAfter(index, count);
    for (std::int64_t picture = 0; picture < count; ++picture) {
        const PictureFinder::Answer answer = m_finder->find(timeOf(index + picture), interrupted);
        if (answer.outcome == PictureFinder::Outcome::Stopped)
            return false;
        paint(answer.picture, pixels.subspan(static_cast<std::size_t>(picture) * size, size));
    }
    return true;
}

void Film::expectAfter(std::int64_t index, std::int64_t count)
{
    // Who reads pictures in a row goes on by one, an export by those of a second; what is farther tells nothing.
    const std::int64_t distance = index - std::exchange(m_lastRead, index);
    if (distance > 0 && static_cast<double>(distance) < frameRate() + 1.0)
        m_distance = distance;

    std::vector<std::int64_t> expected;
    for (std::int64_t next = index + 1; next < index + count; ++next)
        expected.push_back(timeOf(next));
    const bool goesOn = count == 1 && m_distance > 0;
    for (std::int64_t further = 1; goesOn && further <= readsAhead; ++further)
        expected.push_back(timeOf(index + further * m_distance));
    m_finder->expect(std::move(expected), goesOn && m_distance >= leastStride);
}

void Film::paint(const AVFrame *picture, std::span<std::byte> pixels)
{
    if (picture == nullptr || !m_painter.paint(*picture, pixels))
        PicturePainter::paintBlack(pixels);
}

void Film::workAhead(const Interrupted &interrupted)
{
    m_finder->workAhead(interrupted);
}
