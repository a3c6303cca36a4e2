#include "film/film_pictures.h"

#include "film/packet_stretch.h"

#include <algorithm>
#include <cmath>

namespace {

/// Up to so many seconds beside what is known, reading on is cheaper than beginning anew.
constexpr std::int64_t nearSeconds = 2;

/// A demuxer without an index may lose what begins less than so many seconds after the place that it was sent to.
constexpr double demuxerMargin = 0.1;

/// An interruption that has come stays until it is taken back: a demuxer that was stopped once passes over packets.
class Interruption {
public:
    explicit Interruption(Interrupted asked) : m_asked(std::move(asked)) {}

    [[nodiscard]] bool hasCome() const { return m_hasCome; }
    void takeBack() { m_hasCome = false; }
    /// Must not be called later than the interruption lives.
    [[nodiscard]] Interrupted question()
    {
        return [this] { return m_hasCome = m_hasCome || m_asked(); };
    }

private:
    Interrupted m_asked;
    bool m_hasCome = false;
};

} // namespace

/// Finds the key picture before a moment and the picture after it, and so all between.
class FilmPictures::Body {
public:
    Body(std::unique_ptr<FilmFile> film, std::unique_ptr<Interruption> interruption)
        : m_interruption(std::move(interruption)), m_film(std::move(film)),
          m_stretch(*m_film, m_interruption->question()),
          m_second(std::max<std::int64_t>(av_rescale_q(1, {1, 1}, m_film->stream().time_base), 1)),
          m_groupLength(m_second)
    {
    }

    [[nodiscard]] const FilmFile &film() const { return *m_film; }
    [[nodiscard]] const PacketStretch &stretch() const { return m_stretch; }
    [[nodiscard]] std::int64_t first() const { return m_first; }
    /// Decoding time of the first packet.
    [[nodiscard]] std::int64_t begin() const { return m_begin; }

    [[nodiscard]] bool findFirst()
    {
        const auto first = m_stretch.findFirstPicture();
        if (!first)
            return false;
        m_begin = m_stretch.front().decoded;
        m_first = *first;
        return !m_interruption->hasCome();
    }

    /// Makes sure that the key picture for the moment and the picture after it are in the stretch.
    [[nodiscard]] bool cover(std::int64_t time)
    {
        if (m_interruption->hasCome())
            m_stretch.clear();
        m_interruption->takeBack();
        m_stretch.allow(PacketStretch::mostPackets);
        const bool isCovered = (isNear(time) && m_stretch.knowsAfter(time) && reachKey(time)) || beginNear(time);
        return isCovered && !m_interruption->hasCome();
    }

private:
    [[nodiscard]] bool isNear(std::int64_t time) const
    {
        const PacketPlace *key = m_stretch.isEmpty() ? nullptr : m_stretch.firstKey();
        return key != nullptr && av_sat_sub64(key->told, time) <= nearSeconds * m_second
               && av_sat_sub64(time, m_stretch.complete()) <= nearSeconds * m_second;
    }

    [[nodiscard]] bool beginNear(std::int64_t time)
    {
        std::int64_t from = time;
        if (m_film->duration() > 0)
            from = std::min(from, av_sat_add64(m_first, m_film->duration()));
        for (std::int64_t back = m_film->hasIndex() ? 0 : m_groupLength;; back = std::max(2 * back, m_second)) {
            const std::int64_t place = av_sat_sub64(from, back);
            const bool fromBegin = place <= m_begin;
            const bool begun = fromBegin ? m_stretch.beginAtFilm() : m_stretch.beginBefore(place);
            if (begun && !m_stretch.isEmpty())
                return m_stretch.knowsAfter(time) && reachKey(time);
            // The place may lie behind the film's last packet.
            if (fromBegin || !m_stretch.mayRead())
                return false;
        }
    }

    [[nodiscard]] bool reachKey(std::int64_t time)
    {
        std::int64_t back = m_groupLength;
        std::int64_t place = m_film->hasIndex() ? m_stretch.front().decoded - 1 : time - back;
        for (;;) {
            if (const PacketPlace *key = m_stretch.keyFor(time)) {
                m_groupLength = std::max(m_groupLength, *m_stretch.lastUpTo(time) - key->decoded + m_second / 2);
                return true;
            }
            if (m_stretch.beginsFilm() || !m_stretch.mayRead())
                return false;
            const std::int64_t front = m_stretch.front().decoded;
            if (place <= m_begin)
                (void)m_stretch.growBackToFilm();
            else if (place < front)
                (void)m_stretch.growBackTo(place);
            if (place <= m_begin && !m_stretch.beginsFilm())
                return false;
            back *= 2;
            place = std::min(time, front) - back;
        }
    }

    std::unique_ptr<Interruption> m_interruption; ///< asked by film and stretch
    std::unique_ptr<FilmFile> m_film;
    PacketStretch m_stretch;
    std::int64_t m_second;      ///< in units of the time base
    std::int64_t m_groupLength; ///< the longest that was met, and a little more
    std::int64_t m_begin = 0;
    std::int64_t m_first = 0;
};

FilmPictures::FilmPictures(std::unique_ptr<Body> body) : m_body(std::move(body)) {}
FilmPictures::~FilmPictures() = default;

std::unique_ptr<FilmPictures> FilmPictures::open(const std::string &path, Interrupted interrupted)
{
    auto interruption = std::make_unique<Interruption>(std::move(interrupted));
    std::unique_ptr<FilmFile> film = FilmFile::open(path, interruption->question(), interruption->question());
    if (!film)
        return nullptr;
    auto body = std::make_unique<Body>(std::move(film), std::move(interruption));
    return body->findFirst() ? std::unique_ptr<FilmPictures>(new FilmPictures(std::move(body))) : nullptr;
}

FilmPictures::TimeBase FilmPictures::timeBase() const
{
    const AVRational base = m_body->film().stream().time_base;
    return {base.num, base.den};
}

double FilmPictures::secondsOf(std::int64_t time) const
{
    return static_cast<double>(time) * av_q2d(m_body->film().stream().time_base);
}

double FilmPictures::frameRate() const
{
    return av_q2d(m_body->film().frameRate());
}

bool FilmPictures::hasIndex() const
{
    return m_body->film().hasIndex() && m_body->film().marksKeys();
}

bool FilmPictures::areShownAsCoded() const
{
    const FilmFile &film = m_body->film();
    const AVRational aspect = film.pixelAspect(nullptr);
    const bool areSquare = aspect.num == 0 || aspect.num == aspect.den;
    return areSquare && av_stream_get_side_data(&film.stream(), AV_PKT_DATA_DISPLAYMATRIX, nullptr) == nullptr;
}

std::int64_t FilmPictures::first() const
{
    return m_body->first();
}

std::optional<std::int64_t> FilmPictures::last()
{
    constexpr std::int64_t pastEveryFilm = latestTime - 1;
    return pictureAt(pastEveryFilm);
}

double FilmPictures::rounding() const
{
    constexpr double halfMillisecond = 0.0005;
    return std::min(0.5 * secondsOf(1), halfMillisecond);
}

std::optional<std::int64_t> FilmPictures::at(double seconds)
{
    const double unit = av_q2d(m_body->film().stream().time_base);
    const double time = std::floor((seconds + rounding()) / unit);
    constexpr double most = 9e18;
    return pictureAt(static_cast<std::int64_t>(std::clamp(time, -most, most)));
}

std::optional<std::int64_t> FilmPictures::pictureAt(std::int64_t time)
{
    time = std::max(time, first());
    return m_body->cover(time) ? m_body->stretch().lastUpTo(time) : std::nullopt;
}

FilmPictures::Neighbour FilmPictures::before(std::int64_t time)
{
    const auto picture = pictureAt(time);
    if (!picture)
        return {};
    if (*picture <= first())
        return {Neighbour::Kind::None, 0};
    const auto before = pictureAt(*picture - 1);
    return before ? Neighbour{Neighbour::Kind::Picture, *before} : Neighbour{};
}

FilmPictures::Neighbour FilmPictures::after(std::int64_t time)
{
    time = std::max(time, first());
    if (!m_body->cover(time))
        return {};
    const auto after = m_body->stretch().firstAfter(time);
    return after ? Neighbour{Neighbour::Kind::Picture, *after} : Neighbour{Neighbour::Kind::None, 0};
}

std::optional<FilmPictures::GroupBegin> FilmPictures::groupBegin(std::int64_t time)
{
    const auto picture = pictureAt(time);
    if (!picture)
        return std::nullopt;
    GroupBegin begin{first(), std::min(m_body->begin(), first())};
    if (m_body->film().marksKeys()) {
        const PacketPlace *key = m_body->stretch().keyFor(*picture);
        if (key == nullptr)
            return std::nullopt;
        begin = {key->told, std::min(key->decoded, key->told)};
    }
    begin.secondsBefore = secondsOf(*picture - begin.decoded) + (m_body->film().hasIndex() ? 0.0 : demuxerMargin);
    return begin;
}
