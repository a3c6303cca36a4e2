#include "player/known_pictures.h"

#include "util/media_time.h"
#include "widgets/disk_wait.h"

#include <algorithm>
#include <cmath>

namespace {

/// Longer than a busy machine needs, short enough for a window that waits for it.
constexpr qint64 longestQuestionMilliseconds = 1500;

/// A disk that gives nothing for longer hangs: the film is not to blame.
constexpr qint64 longestReadMilliseconds = 100;

} // namespace

template <typename Question>
std::invoke_result_t<Question> KnownPictures::ask(Question question)
{
    std::invoke_result_t<Question> answer{};
    if (m_isSlow)
        return answer;
    m_readMilliseconds = 0;
    m_sinceRead.start();
    waitForDisk([&] { answer = question(); });
    return answer;
}

bool KnownPictures::readsTooLong()
{
    m_readMilliseconds += std::min(m_sinceRead.restart(), longestReadMilliseconds);
    m_isSlow = m_isSlow || m_readMilliseconds > longestQuestionMilliseconds;
    return m_isSlow;
}

std::unique_ptr<KnownPictures> KnownPictures::open(const QString &path, double playerZero)
{
    std::unique_ptr<KnownPictures> known(new KnownPictures(playerZero));
    known->m_pictures = known->ask([&path, asked = known.get()] {
        return FilmPictures::open(path.toStdString(), [asked] { return asked->readsTooLong(); });
    });
    return known->m_pictures ? std::move(known) : nullptr;
}

KnownPictures::~KnownPictures()
{
    waitForDisk([this] { m_pictures.reset(); });
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
    // The container's own rounding is allowed for there.
    const double moment = seconds + m_playerZero + momentTolerance - m_pictures->rounding();
    const auto time = ask([&] { return m_pictures->at(moment); });
    return time ? std::optional(secondsOf(*time)) : std::nullopt;
}

KnownPictures::Neighbour KnownPictures::before(double picture)
{
    return toSeconds(ask([&] { return m_pictures->before(timeOf(picture)); }));
}

KnownPictures::Neighbour KnownPictures::after(double picture)
{
    return toSeconds(ask([&] { return m_pictures->after(timeOf(picture)); }));
}

std::optional<double> KnownPictures::groupSeconds(double picture)
{
    const auto group = ask([&] { return m_pictures->groupBegin(timeOf(picture)); });
    return group ? std::optional(group->secondsBefore) : std::nullopt;
}
