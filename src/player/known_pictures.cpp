#include "player/known_pictures.h"

#include "util/media_time.h"

#include <algorithm>
#include <cmath>

namespace {

/// Longer than a busy machine needs, short enough for a window that waits for it.
constexpr qint64 longestQuestionMilliseconds = 1500;

} // namespace

std::unique_ptr<KnownPictures> KnownPictures::open(const QString &path, double playerZero)
{
    std::unique_ptr<KnownPictures> known(new KnownPictures(playerZero));
    KnownPictures *asked = known.get();
    asked->m_asked.start();
    known->m_pictures = FilmPictures::open(path.toStdString(), [asked] {
        asked->m_isSlow = asked->m_isSlow || asked->m_asked.hasExpired(longestQuestionMilliseconds);
        return asked->m_isSlow;
    });
    return known->m_pictures ? std::move(known) : nullptr;
}

bool KnownPictures::mayAsk()
{
    m_asked.start();
    return !m_isSlow;
}

std::int64_t KnownPictures::timeOf(double seconds) const
{
    const FilmPictures::TimeBase base = m_pictures->timeBase();
    return std::llround((seconds + m_playerZero) * base.denominator / base.numerator);
}

KnownPictures::Neighbour KnownPictures::toSeconds(FilmPictures::Neighbour neighbour) const
{
    using Kind = FilmPictures::Neighbour::Kind;
    if (neighbour.kind == Kind::Picture)
        return {true, secondsOf(neighbour.time)};
    return {neighbour.kind == Kind::None, std::nullopt};
}

std::optional<double> KnownPictures::at(double seconds)
{
    // The container's own rounding, which is half a unit, is allowed for there.
    const double rounding = std::min(0.5 * m_pictures->secondsOf(1), momentTolerance);
    const auto time = mayAsk() ? m_pictures->at(seconds + m_playerZero + momentTolerance - rounding) : std::nullopt;
    return time ? std::optional(secondsOf(*time)) : std::nullopt;
}

KnownPictures::Neighbour KnownPictures::before(double picture)
{
    return mayAsk() ? toSeconds(m_pictures->before(timeOf(picture))) : Neighbour();
}

KnownPictures::Neighbour KnownPictures::after(double picture)
{
    return mayAsk() ? toSeconds(m_pictures->after(timeOf(picture))) : Neighbour();
}

std::optional<double> KnownPictures::groupSeconds(double picture)
{
    const auto group = mayAsk() ? m_pictures->groupBegin(timeOf(picture)) : std::nullopt;
    return group ? std::optional(group->secondsBefore) : std::nullopt;
}
