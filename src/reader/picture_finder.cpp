#include "reader/picture_finder.h"

#include "film/packet_stretch.h"

#include <algorithm>
#include <chrono>

namespace {

/// How long the film's first picture is looked for.
constexpr auto firstPicturePatience = std::chrono::milliseconds(2000);

} // namespace

std::unique_ptr<PictureFinder> PictureFinder::create(std::unique_ptr<FilmFile> film, const Interrupted &interrupted)
{
    std::unique_ptr<PictureDecoder> decoder = PictureDecoder::open(*film);
    if (!decoder)
        return nullptr;
    std::unique_ptr<PictureFinder> finder(new PictureFinder(std::move(film), std::move(decoder)));
    finder->findFirst(interrupted);
    return finder;
}

PictureFinder::PictureFinder(std::unique_ptr<FilmFile> film, std::unique_ptr<PictureDecoder> decoder)
    : m_film(std::move(film)), m_run(*m_film, std::move(decoder), m_pictures)
{
}

void PictureFinder::findFirst(const Interrupted &interrupted)
{
    const auto deadline = std::chrono::steady_clock::now() + firstPicturePatience;
    std::optional<std::int64_t> told;
    // Where times are counted the first packet begins the film; some formats tell its colours only once.
    if (m_film->tellsTimes()) {
        told = PacketStretch(*m_film, interrupted).findFirstPicture();
        (void)m_film->rewind();
    }
    m_run.restart();
    for (;;) {
        const DecodingRun::Progress progress = m_run.step(interrupted);
        if (progress == DecodingRun::Progress::Picture && (!told || m_pictures.last().from >= *told)) {
            m_zero = m_pictures.last().from;
            m_first = anotherOwner(*m_pictures.last().frame);
            return;
        }
        const bool isLate = std::chrono::steady_clock::now() > deadline;
        if (progress == DecodingRun::Progress::End || interrupted() || isLate)
            break;
    }
    m_zero = told ? *told : m_run.times().first().value_or(0);
}

PictureFinder::Answer PictureFinder::find(std::int64_t time, const Interrupted &interrupted)
{
    if (time <= m_zero && m_first)
        return {Outcome::Found, m_first.get()};
    const Result result = reach(time, interrupted);
    if (result == Result::Stopped)
        return {Outcome::Stopped, nullptr};
    const ShownPicture *shown = keepAnswer(time, result != Result::BrokenOff);
    if (shown == nullptr)
        return {Outcome::None, nullptr};
    return {Outcome::Found, shown->frame.get()};
}

void PictureFinder::workAhead(const Interrupted &interrupted)
{
    for (const std::int64_t time : m_run.wanted().expected) {
        const Result result = reach(time, interrupted);
        if (result == Result::Stopped || result == Result::BrokenOff)
            return;
        (void)keepAnswer(time, true);
    }
}

PictureFinder::Result PictureFinder::reach(std::int64_t time, const Interrupted &interrupted)
{
    if (m_pictures.at(time) != nullptr)
        return Result::Found;
    m_run.trustKeys(true);
    if (m_run.isWorthGoingOn(time)) {
        const Result result = m_run.decodeUpTo(time, interrupted);
        if (result == Result::Found || result == Result::Stopped || result == Result::End)
            return result;
    }
    return seekAndDecode(time, interrupted);
}

PictureFinder::Result PictureFinder::seekAndDecode(std::int64_t time, const Interrupted &interrupted)
{
    const std::int64_t second = std::max<std::int64_t>(av_rescale_q(1, {1, 1}, m_film->stream().time_base), 1);
    std::int64_t from = time;
    if (const std::int64_t duration = m_film->duration(); duration > 0)
        from = std::min(from, av_sat_add64(m_zero, duration));

    std::optional<std::int64_t> failedKey;
    std::int64_t back = second;
    for (std::int64_t seekTime = from; m_film->marksKeys() && seekTime > m_zero;) {
        if (interrupted())
            return Result::Stopped;
        std::optional<std::int64_t> keySlot;
        if (m_film->seek(seekTime)) {
            keySlot = m_run.startAtKey(time, interrupted);
            const bool isNew = keySlot && (!failedKey || m_run.startKey() < *failedKey);
            if (isNew && m_run.startKey() <= time) {
                const Result result = m_run.decodeUpTo(time, interrupted);
                const bool isNone = result == Result::BrokenOff && !m_run.hasShown();
                if (result != Result::Late && result != Result::Passed && !isNone)
                    return result;
            }
        }
        // What is marked as a key may need what comes before it.
        m_run.trustKeys(false);
        if (keySlot && !failedKey) {
            seekTime = av_sat_sub64(std::min(seekTime, *keySlot), 1);
            failedKey = m_run.startKey();
        } else {
            seekTime = av_sat_sub64(from, back);
            back = av_sat_add64(back, back);
        }
    }
    if (interrupted())
        return Result::Stopped;
    if (!m_film->rewind()) {
        m_run.abandon();
        return Result::BrokenOff;
    }
    m_run.restart();
    return m_run.decodeUpTo(time, interrupted);
}

const ShownPicture *PictureFinder::keepAnswer(std::int64_t time, bool isLasting)
{
    ShownPicture answer;
    if (const ShownPicture *shown = m_pictures.at(time)) {
        if (m_pictures.isKept(*shown))
            return shown;
        answer = {anotherOwner(*shown->frame), shown->from, shown->until};
    } else {
        // The last picture not later than the time, proven by `reach`, or the best there is.
        const ShownPicture *best = m_pictures.lastUpTo(time);
        if (best == nullptr && !m_first)
            return nullptr;
        const std::int64_t from = best == nullptr ? time : best->from;
        answer = {anotherOwner(best == nullptr ? *m_first : *best->frame), from, from};
        if (isLasting) {
            answer.from = std::max(from, m_run.times().lastUpTo(time).value_or(from));
            answer.until = time + 1;
        }
    }
    return answer.frame ? &m_pictures.keep(std::move(answer), m_run.wanted().expected) : nullptr;
}
