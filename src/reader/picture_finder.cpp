#include "reader/picture_finder.h"

#include "reader/picture_painter.h"

extern "C" {
#include <libavutil/imgutils.h>
}

#include <algorithm>
#include <chrono>
#include <thread>

namespace {

constexpr std::int64_t latest = std::numeric_limits<std::int64_t>::max();

/// Reading on is cheaper than a seek up to this many seconds, and within one group of pictures up to the second
/// number, unless the index names every picture.
constexpr std::int64_t nearSeconds = 2;
constexpr std::int64_t sameGroupSeconds = 30;

/// How far packets are read ahead of the decoder, at most.
constexpr std::size_t mostQueuedBytes = 32'000'000;
constexpr std::size_t mostQueuedPackets = 1000;

/// How long the film's first picture is looked for.
constexpr auto firstPicturePatience = std::chrono::milliseconds(2000);

int threadsFor(const AVCodecParameters &stream)
{
    // Each thread holds a picture of its own.
    constexpr std::int64_t largePicture = std::int64_t(2048) * 1152;
    const int most = std::int64_t(stream.width) * stream.height > largePicture ? 4 : 8;
    return std::clamp(static_cast<int>(std::thread::hardware_concurrency()), 1, most);
}

std::size_t reorderingOf(const AVCodecParameters &stream)
{
    constexpr std::size_t mostByFormat = 16;
    if (stream.codec_id == AV_CODEC_ID_H264 || stream.codec_id == AV_CODEC_ID_HEVC)
        return mostByFormat;
    return static_cast<std::size_t>(std::max(stream.video_delay, 0)) + 1;
}

Frame reference(const AVFrame &frame)
{
    return Frame(av_frame_clone(&frame));
}

} // namespace

std::unique_ptr<PictureFinder> PictureFinder::create(std::unique_ptr<FilmFile> file, const Interrupted &interrupted)
{
    std::unique_ptr<PictureFinder> finder(new PictureFinder(std::move(file)));
    if (!finder->openDecoder())
        return nullptr;
    finder->findFirst(interrupted);
    return finder;
}

PictureFinder::PictureFinder(std::unique_ptr<FilmFile> file)
    : m_file(std::move(file)), m_timeBase(m_file->stream().time_base), m_kinds(m_file->parameters()),
      m_reordering(reorderingOf(m_file->parameters())), m_trustDecodingTimes(m_file->tellsTimes())
{
}

bool PictureFinder::openDecoder()
{
    const AVCodecParameters &stream = m_file->parameters();
    const AVCodec *codec = avcodec_find_decoder(stream.codec_id);
    if (codec == nullptr)
        return false;
    m_decoder.reset(avcodec_alloc_context3(codec));
    if (!m_decoder || avcodec_parameters_to_context(m_decoder.get(), &stream) < 0)
        return false;
    m_decoder->pkt_timebase = m_timeBase;
    m_decoder->thread_count = threadsFor(stream);
    m_decoder->max_pixels = mostPicturePixels();
    return avcodec_open2(m_decoder.get(), codec, nullptr) >= 0;
}

void PictureFinder::findFirst(const Interrupted &interrupted)
{
    restart();
    const auto deadline = std::chrono::steady_clock::now() + firstPicturePatience;
    for (;;) {
        const Progress progress = step(interrupted);
        if (progress == Progress::Picture) {
            m_zero = m_recent.back().from;
            m_first = reference(*m_recent.back().frame);
            return;
        }
        if (progress == Progress::End || interrupted() || std::chrono::steady_clock::now() > deadline)
            break;
    }
    if (!m_times.empty())
        m_zero = m_times.begin()->first;
}

// Asking

void PictureFinder::expect(std::vector<std::int64_t> times, bool strides)
{
    m_expected = std::move(times);
    m_strides = strides && !m_expected.empty();
}

PictureFinder::Answer PictureFinder::find(std::int64_t time, const Interrupted &interrupted)
{
    if (time <= m_zero && m_first)
        return {Outcome::Found, m_first.get()};
    const Result result = atHand(time) != nullptr ? Result::Found : reach(time, interrupted);
    if (result == Result::Stopped)
        return {Outcome::Stopped, nullptr};
    const Shown *shown = keepAnswer(time, result != Result::BrokenOff);
    if (shown == nullptr)
        return {Outcome::None, nullptr};
    return {Outcome::Found, shown->frame.get()};
}

void PictureFinder::workAhead(const Interrupted &interrupted)
{
    for (const std::int64_t time : m_expected) {
        const Result result = atHand(time) != nullptr ? Result::Found : reach(time, interrupted);
        if (result == Result::Stopped || result == Result::BrokenOff)
            return;
        (void)keepAnswer(time, true);
    }
}

PictureFinder::Result PictureFinder::reach(std::int64_t time, const Interrupted &interrupted)
{
    m_skips = true;
    if (isWorthGoingOn(time)) {
        const Result result = decodeUpTo(time, interrupted);
        if (result == Result::Found || result == Result::Stopped || result == Result::End)
            return result;
    }
    return seekAndDecode(time, interrupted);
}

// Where decoding stands

void PictureFinder::restart()
{
    avcodec_flush_buffers(m_decoder.get());
    m_queue.clear();
    m_queuedBytes = 0;
    m_times.clear();
    m_complete = earliest;
    m_startKey = earliest;
    m_lastShown.reset();
    m_fileEnded = false;
    m_drained = false;
    m_failures = 0;
    m_standing = true;
}

bool PictureFinder::couldStillCome(std::int64_t time) const
{
    if (m_lastShown && time < *m_lastShown)
        return false;
    if (m_complete < time)
        return true;
    const auto last = lastTimeUpTo(time);
    return last && m_times.at(*last) != Fate::LeftOut && (!m_lastShown || *last > *m_lastShown);
}

bool PictureFinder::isWorthGoingOn(std::int64_t time) const
{
    if (!m_standing || m_drained || !couldStillCome(time))
        return false;
    const std::int64_t here = m_lastShown ? *m_lastShown : m_startKey;
    if (here == earliest)
        return false;
    const std::int64_t second = av_rescale_q(1, {1, 1}, m_timeBase);
    const std::int64_t gap = av_sat_sub64(time, here);
    if (gap <= nearSeconds * second)
        return true;
    const auto key = m_file->indexedKey(time);
    return key && *key <= here && (m_file->indexIsComplete() || gap <= sameGroupSeconds * second);
}

PictureFinder::Result PictureFinder::seekAndDecode(std::int64_t time, const Interrupted &interrupted)
{
    const std::int64_t second = std::max<std::int64_t>(av_rescale_q(1, {1, 1}, m_timeBase), 1);
    std::int64_t from = time;
    if (const std::int64_t duration = m_file->duration(); duration > 0)
        from = std::min(from, av_sat_add64(m_zero, duration));

    std::optional<std::int64_t> failedKey;
    std::int64_t back = second;
    for (std::int64_t seekTime = from; seekTime > m_zero;) {
        if (interrupted())
            return Result::Stopped;
        std::optional<std::int64_t> keySlot;
        if (m_file->seek(seekTime)) {
            keySlot = startAtKey(time, interrupted);
            const bool isNew = keySlot && (!failedKey || m_startKey < *failedKey);
            if (isNew && m_startKey <= time) {
                const Result result = decodeUpTo(time, interrupted);
                const bool isNone = result == Result::BrokenOff && !m_lastShown;
                if (result != Result::Late && result != Result::Passed && !isNone)
                    return result;
            }
        }
        // What is marked as a key may need what comes before it.
        m_skips = false;
        if (keySlot && !failedKey) {
            seekTime = av_sat_sub64(std::min(seekTime, *keySlot), 1);
            failedKey = m_startKey;
        } else {
            seekTime = av_sat_sub64(from, back);
            back = av_sat_add64(back, back);
        }
    }
    if (interrupted())
        return Result::Stopped;
    if (!m_file->rewind()) {
        m_standing = false;
        return Result::BrokenOff;
    }
    restart();
    return decodeUpTo(time, interrupted);
}

std::optional<std::int64_t> PictureFinder::startAtKey(std::int64_t time, const Interrupted &interrupted)
{
    restart();
    while (!interrupted()) {
        Packet packet = m_file->read();
        if (!packet)
            break;
        const std::int64_t shown = packet->pts;
        const std::int64_t decoded = packet->dts == AV_NOPTS_VALUE ? shown : packet->dts;
        if (m_kinds.isKey(*packet)) {
            enqueue(std::move(packet));
            m_startKey = shown == AV_NOPTS_VALUE ? earliest : shown;
            return decoded == AV_NOPTS_VALUE ? time : decoded;
        }
        const bool isPast = decoded != AV_NOPTS_VALUE && decoded > time && shown > time;
        if (isPast)
            break;
    }
    m_standing = false;
    return std::nullopt;
}

// Decoding

PictureFinder::Result PictureFinder::decodeUpTo(std::int64_t time, const Interrupted &interrupted)
{
    m_asked = time;
    for (;;) {
        if (interrupted())
            return Result::Stopped;
        const bool shown = m_lastShown && *m_lastShown <= time;
        if (m_complete >= time && !m_times.empty()) {
            const auto last = lastTimeUpTo(time);
            if (!last && !shown)
                return Result::Late;
            if (last && m_times.at(*last) == Fate::LeftOut)
                return Result::Passed;
            if (last && shown && *m_lastShown >= *last)
                return Result::Found;
        }
        switch (step(interrupted)) {
        case Progress::Picture:
            if (*m_lastShown > time)
                return shown ? Result::Found : Result::Late;
            break;
        case Progress::Fed:
            break;
        case Progress::End:
            if (!m_file->isAtEnd())
                return Result::BrokenOff;
            if (!shown)
                return Result::Late;
            m_end = Shown{reference(*m_recent.back().frame), m_recent.back().from, latest};
            return Result::End;
        }
    }
}

PictureFinder::Progress PictureFinder::step(const Interrupted &interrupted)
{
    Frame picture(av_frame_alloc());
    const int result = picture ? avcodec_receive_frame(m_decoder.get(), picture.get()) : AVERROR(ENOMEM);
    if (result == 0) {
        take(std::move(picture));
        return Progress::Picture;
    }
    constexpr int mostFailures = 1000;
    if (result == AVERROR_EOF || (m_drained && ++m_failures > mostFailures)) {
        m_standing = false;
        return Progress::End;
    }
    if (!m_drained)
        feed(interrupted);
    return Progress::Fed;
}

void PictureFinder::feed(const Interrupted &interrupted)
{
    while (!m_fileEnded && (m_queue.empty() || readsFurther() || !isNeeded(m_queue.front()))) {
        if (interrupted())
            return;
        readOne();
    }
    if (m_queue.empty()) {
        (void)avcodec_send_packet(m_decoder.get(), nullptr);
        m_drained = true;
        return;
    }
    const Queued next = std::move(m_queue.front());
    m_queue.pop_front();
    m_queuedBytes -= static_cast<std::size_t>(next.packet->size);
    const bool needed = isNeeded(next).value_or(true);
    if (const auto entry = m_times.find(next.time); entry != m_times.end())
        entry->second = needed ? Fate::Sent : Fate::LeftOut;
    // What a packet's error costs shows in the pictures that come, or do not.
    if (needed)
        (void)avcodec_send_packet(m_decoder.get(), next.packet.get());
}

bool PictureFinder::readsFurther() const
{
    constexpr std::size_t mostWithoutTimes = 64;
    return m_complete < m_asked && m_queuedBytes < mostQueuedBytes && m_queue.size() < mostQueuedPackets
           && (m_complete > earliest || m_queue.size() < mostWithoutTimes);
}

void PictureFinder::readOne()
{
    if (Packet packet = m_file->read()) {
        enqueue(std::move(packet));
    } else {
        m_fileEnded = true;
        if (m_file->isAtEnd())
            m_complete = latest;
    }
}

void PictureFinder::enqueue(Packet packet)
{
    Queued queued;
    queued.key = m_kinds.isKey(*packet);
    if ((packet->flags & AV_PKT_FLAG_DISCARD) == 0)
        queued.time = packet->pts;
    queued.droppable = queued.time != AV_NOPTS_VALUE && m_file->tellsTimes() && m_kinds.isUnreferenced(*packet);
    noteTime(queued.time, packet->dts);
    m_queuedBytes += static_cast<std::size_t>(packet->size);
    queued.packet = std::move(packet);
    m_queue.push_back(std::move(queued));

    const Queued &last = m_queue.back();
    if (m_skips && last.key && last.time != AV_NOPTS_VALUE && last.time <= m_asked && m_queue.size() > 1)
        startOverAtLastQueued();
}

void PictureFinder::startOverAtLastQueued()
{
    m_queue.erase(m_queue.begin(), std::prev(m_queue.end()));
    m_queuedBytes = static_cast<std::size_t>(m_queue.front().packet->size);
    m_startKey = m_queue.front().time;
    for (auto &[time, fate] : m_times) {
        if (time >= m_startKey)
            break;
        fate = Fate::LeftOut;
    }
    m_lastShown.reset();
    avcodec_flush_buffers(m_decoder.get());
}

std::optional<bool> PictureFinder::isNeeded(const Queued &queued) const
{
    if (!queued.droppable)
        return true;
    std::int64_t wanted = latest;
    for (const std::int64_t time : m_expected) {
        if (time >= queued.time)
            wanted = std::min(wanted, time);
    }
    if (m_asked >= queued.time)
        wanted = std::min(wanted, m_asked);
    if (wanted == latest)
        return !m_strides;
    const auto next = m_times.upper_bound(queued.time);
    if (next != m_times.end() && next->first <= wanted)
        return false;
    if (m_complete >= wanted)
        return true;
    return std::nullopt;
}

std::optional<std::int64_t> PictureFinder::lastTimeUpTo(std::int64_t time) const
{
    const auto after = m_times.upper_bound(time);
    if (after == m_times.begin())
        return std::nullopt;
    return std::prev(after)->first;
}

void PictureFinder::noteTime(std::int64_t shown, std::int64_t decoded)
{
    if (shown != AV_NOPTS_VALUE) {
        if (shown <= m_complete || (decoded != AV_NOPTS_VALUE && shown < decoded))
            m_trustDecodingTimes = false;
        m_times.emplace(shown, Fate::Waiting);
    }
    constexpr std::size_t mostTimes = 1024;
    if (m_times.size() > mostTimes)
        m_times.erase(m_times.begin(), std::next(m_times.begin(), mostTimes / 2));

    // A packet is decoded before it is shown, and packets come in decoding order.
    if (m_trustDecodingTimes && decoded != AV_NOPTS_VALUE) {
        m_complete = std::max(m_complete, decoded);
    } else if (m_times.size() > m_reordering) {
        // At most so many pictures are decoded before one that is shown before them.
        const auto certain = std::next(m_times.rbegin(), static_cast<std::ptrdiff_t>(m_reordering));
        m_complete = std::max(m_complete, certain->first);
    }
}

void PictureFinder::take(Frame picture)
{
    std::int64_t time = picture->pts;
    if (time == AV_NOPTS_VALUE)
        time = picture->best_effort_timestamp;
    if (time == AV_NOPTS_VALUE) {
        const std::int64_t length = av_rescale_q(1, av_inv_q(m_file->frameRate()), m_timeBase);
        time = m_lastShown ? av_sat_add64(*m_lastShown, std::max<std::int64_t>(length, 1))
                           : std::max<std::int64_t>(m_startKey, 0);
    }
    m_lastShown = time;

    Shown shown{std::move(picture), time, av_sat_add64(time, 1)};
    const auto next = m_times.upper_bound(time);
    if (m_complete == latest)
        shown.until = next == m_times.end() ? latest : next->first;
    else if (m_complete > time)
        shown.until = std::min(next == m_times.end() ? latest : next->first, m_complete + 1);
    m_recent.push_back(std::move(shown));
    while (m_recent.size() > capacity(24'000'000, 2, 8))
        m_recent.pop_front();
}

// What is at hand

const PictureFinder::Shown *PictureFinder::atHand(std::int64_t time) const
{
    if (m_end && time >= m_end->from)
        return &*m_end;
    const auto answers = [time](const Shown &shown) { return shown.from <= time && time < shown.until; };
    for (const auto *pictures : {&m_kept, &m_recent}) {
        if (const auto found = std::find_if(pictures->begin(), pictures->end(), answers); found != pictures->end())
            return &*found;
    }
    return nullptr;
}

const PictureFinder::Shown *PictureFinder::keepAnswer(std::int64_t time, bool lasting)
{
    const auto isKept = [this](const Shown *shown) {
        return (m_end && shown == &*m_end)
               || std::any_of(m_kept.begin(), m_kept.end(), [shown](const Shown &kept) { return shown == &kept; });
    };
    const Shown *shown = atHand(time);
    if (shown != nullptr && isKept(shown))
        return shown;

    Shown answer;
    if (shown != nullptr) {
        answer = {reference(*shown->frame), shown->from, shown->until};
    } else {
        // The last picture not later than the time, proven by `reach`, or the best there is.
        const Shown *best = nullptr;
        for (const auto *pictures : {&m_kept, &m_recent}) {
            for (const Shown &candidate : *pictures) {
                if (candidate.from <= time && (best == nullptr || candidate.from > best->from))
                    best = &candidate;
            }
        }
        if (best == nullptr && !m_first)
            return nullptr;
        const std::int64_t from = best == nullptr ? time : best->from;
        answer = {reference(best == nullptr ? *m_first : *best->frame), from, from};
        if (lasting) {
            answer.from = std::max(from, lastTimeUpTo(time).value_or(from));
            answer.until = time + 1;
        }
    }
    if (!answer.frame)
        return nullptr;

    const auto isExpected = [this](const Shown &kept) {
        return std::any_of(m_expected.begin(), m_expected.end(),
                           [&kept](std::int64_t expected) { return kept.from <= expected && expected < kept.until; });
    };
    while (m_kept.size() >= capacity(40'000'000, 3, 12)) {
        const auto dispensable = std::find_if_not(m_kept.begin(), m_kept.end(), isExpected);
        m_kept.erase(dispensable == m_kept.end() ? m_kept.begin() : dispensable);
    }
    m_kept.push_back(std::move(answer));
    return &m_kept.back();
}

std::size_t PictureFinder::capacity(std::size_t bytes, std::size_t least, std::size_t most) const
{
    const int size = av_image_get_buffer_size(m_decoder->pix_fmt, m_decoder->width, m_decoder->height, 1);
    if (size <= 0)
        return least;
    return std::clamp(bytes / static_cast<std::size_t>(size), least, most);
}
