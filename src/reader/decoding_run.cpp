#include "reader/decoding_run.h"

#include <algorithm>

namespace {

/// Reading on is cheaper than a seek up to this many seconds, and within one group of pictures up to the second
/// number, unless the index names every picture.
constexpr std::int64_t nearSeconds = 2;
constexpr std::int64_t sameGroupSeconds = 30;

} // namespace

std::optional<std::int64_t> WantedTimes::firstFrom(std::int64_t time) const
{
    const auto next = std::lower_bound(expected.begin(), expected.end(), time);
    std::optional<std::int64_t> first = next == expected.end() ? std::nullopt : std::optional(*next);
    if (asked >= time)
        first = std::min(first.value_or(asked), asked);
    return first;
}

DecodingRun::DecodingRun(FilmFile &film, std::unique_ptr<PictureDecoder> decoder, KeptPictures &pictures)
    : m_film(film), m_packets(film), m_decoder(std::move(decoder)), m_pictures(pictures)
{
}

void DecodingRun::expect(std::vector<std::int64_t> times, bool strides)
{
    m_wanted.expected = std::move(times);
    m_wanted.strides = strides && !m_wanted.expected.empty();
}

// Where decoding stands

void DecodingRun::restart()
{
    m_decoder->restart();
    m_packets.clear();
    m_leftOut.clear();
    m_startKey = earliestTime;
    m_lastShown.reset();
    m_standing = true;
}

std::optional<std::int64_t> DecodingRun::startAtKey(std::int64_t time, const Interrupted &interrupted)
{
    restart();
    while (!interrupted()) {
        Packet packet = m_film.read();
        if (!packet)
            break;
        const std::int64_t shown = packet->pts;
        const std::int64_t decoded = packet->dts == AV_NOPTS_VALUE ? shown : packet->dts;
        if (m_packets.isKey(*packet)) {
            m_packets.append(std::move(packet));
            m_startKey = shown == AV_NOPTS_VALUE ? earliestTime : shown;
            return decoded == AV_NOPTS_VALUE ? time : decoded;
        }
        const bool isPast = decoded != AV_NOPTS_VALUE && decoded > time && shown > time;
        if (isPast)
            break;
    }
    abandon();
    return std::nullopt;
}

bool DecodingRun::couldStillCome(std::int64_t time) const
{
    if (m_lastShown && time < *m_lastShown)
        return false;
    if (times().complete() < time)
        return true;
    const auto last = times().lastUpTo(time);
    return last && !m_leftOut.contains(*last) && (!m_lastShown || *last > *m_lastShown);
}

bool DecodingRun::isWorthGoingOn(std::int64_t time) const
{
    if (!m_standing || m_decoder->isDrained() || !couldStillCome(time))
        return false;
    if (!m_film.marksKeys())
        return true;
    const std::int64_t here = m_lastShown.value_or(m_startKey);
    if (here == earliestTime)
        return false;
    const std::int64_t second = av_rescale_q(1, {1, 1}, m_film.stream().time_base);
    const std::int64_t gap = av_sat_sub64(time, here);
    if (gap <= nearSeconds * second)
        return true;
    const auto key = m_film.indexedKey(time);
    return key && *key <= here && (m_film.indexIsComplete() || gap <= sameGroupSeconds * second);
}

// Decoding

DecodingRun::Result DecodingRun::decodeUpTo(std::int64_t time, const Interrupted &interrupted)
{
    m_wanted.asked = time;
    for (;;) {
        if (interrupted())
            return Result::Stopped;
        if (const auto result = certainAt(time))
            return *result;
        const bool hadShown = hasShownUpTo(time);
        switch (step(interrupted)) {
        case Progress::Picture:
            if (*m_lastShown > time)
                return hadShown ? Result::Found : Result::Late;
            break;
        case Progress::Fed:
            break;
        case Progress::End:
            if (!m_film.isAtEnd())
                return Result::BrokenOff;
            if (!hadShown)
                return Result::Late;
            m_pictures.endWithLast();
            return Result::End;
        }
    }
}

// What the packets that were read tell already.
std::optional<DecodingRun::Result> DecodingRun::certainAt(std::int64_t time) const
{
    if (times().complete() < time || times().empty())
        return std::nullopt;
    const bool hasShown = hasShownUpTo(time);
    const auto last = times().lastUpTo(time);
    if (!last)
        return hasShown ? std::nullopt : std::optional(Result::Late);
    if (m_leftOut.contains(*last))
        return Result::Passed;
    return hasShown && *m_lastShown >= *last ? std::optional(Result::Found) : std::nullopt;
}

DecodingRun::Progress DecodingRun::step(const Interrupted &interrupted)
{
    PictureDecoder::Received received = m_decoder->receive();
    switch (received.outcome) {
    case PictureDecoder::Outcome::Picture:
        take(std::move(received.picture));
        return Progress::Picture;
    case PictureDecoder::Outcome::End:
        abandon();
        return Progress::End;
    case PictureDecoder::Outcome::NeedsPacket:
        break;
    }
    if (!m_decoder->isDrained())
        feed(interrupted);
    return Progress::Fed;
}

void DecodingRun::feed(const Interrupted &interrupted)
{
    while (!m_packets.isEnded()
           && (m_packets.isEmpty() || m_packets.readsOnFor(m_wanted.asked) || !isNeeded(m_packets.front()))) {
        if (interrupted())
            return;
        readOne();
    }
    if (m_packets.isEmpty()) {
        m_decoder->sendEnd();
        return;
    }
    const PacketQueue::Entry next = m_packets.takeFront();
    const bool needed = isNeeded(next).value_or(true);
    noteFate(next.time, needed);
    if (needed)
        m_decoder->send(*next.packet);
}

void DecodingRun::readOne()
{
    m_packets.readOne();
    const auto key = m_trustsKeys ? m_packets.skipToLastKey(m_wanted.asked) : std::nullopt;
    if (!key)
        return;
    for (auto time = times().first(); time && *time < *key; time = times().firstAfter(*time))
        m_leftOut.insert(*time);
    m_startKey = *key;
    m_lastShown.reset();
    m_decoder->restart();
}

// Nothing if that cannot be told before more packets are read.
std::optional<bool> DecodingRun::isNeeded(const PacketQueue::Entry &packet) const
{
    if (!packet.isDroppable)
        return true;
    const auto wanted = m_wanted.firstFrom(packet.time);
    if (!wanted)
        return !m_wanted.strides;
    const auto next = times().firstAfter(packet.time);
    if (next && *next <= *wanted)
        return false;
    return times().complete() >= *wanted ? std::optional(true) : std::nullopt;
}

void DecodingRun::noteFate(std::int64_t time, bool isNeeded)
{
    if (isNeeded)
        m_leftOut.erase(time);
    else
        m_leftOut.insert(time);
    // Those that the times have forgotten.
    m_leftOut.erase(m_leftOut.begin(), m_leftOut.lower_bound(times().first().value_or(earliestTime)));
}

std::int64_t DecodingRun::timeOf(const AVFrame &picture) const
{
    if (picture.pts != AV_NOPTS_VALUE)
        return picture.pts;
    if (picture.best_effort_timestamp != AV_NOPTS_VALUE)
        return picture.best_effort_timestamp;
    const std::int64_t length = av_rescale_q(1, av_inv_q(m_film.frameRate()), m_film.stream().time_base);
    return m_lastShown ? av_sat_add64(*m_lastShown, std::max<std::int64_t>(length, 1))
                       : std::max<std::int64_t>(m_startKey, 0);
}

void DecodingRun::take(Frame picture)
{
    const std::int64_t time = timeOf(*picture);
    m_lastShown = time;
    ShownPicture shown{std::move(picture), time, av_sat_add64(time, 1)};
    const std::int64_t next = times().firstAfter(time).value_or(latestTime);
    if (times().complete() == latestTime)
        shown.until = next;
    else if (times().complete() > time)
        shown.until = std::min(next, times().complete() + 1);
    m_pictures.add(std::move(shown), m_decoder->pictureBytes());
}
