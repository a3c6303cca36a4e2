#include "film/film_file.h"

#include "platform/whole_file.h"

#include <algorithm>
#include <iterator>
#include <limits>
#include <string_view>
#include <utility>
#include <vector>

namespace {

constexpr AVRational guessedFrameRate = {25, 1};

int refuseToOpen(AVFormatContext *, AVIOContext **, const char *, int, AVDictionary **)
{
    return AVERROR(EPERM);
}

bool isRegularFile(const std::string &path)
{
    return stateOfFile(std::u8string(path.begin(), path.end())).has_value();
}

bool isPositive(AVRational rate)
{
    return rate.num > 0 && rate.den > 0;
}

// A picture's bytes without what lies between its lines; none if they cannot be had.
std::vector<std::uint8_t> pixelsOf(const AVFrame &picture)
{
    const auto format = static_cast<AVPixelFormat>(picture.format);
    const int size = av_image_get_buffer_size(format, picture.width, picture.height, 1);
    std::vector<std::uint8_t> pixels(static_cast<std::size_t>(std::max(size, 0)));
    (void)av_image_copy_to_buffer(pixels.data(), size, picture.data, picture.linesize, format, picture.width,
                                  picture.height, 1);
    return pixels;
}

} // namespace

std::unique_ptr<FilmFile> FilmFile::open(const std::string &path, const Interrupted &interrupted,
                                         const Interrupted &ended)
{
    // What is wrong with a film is told by what it shows, not in a terminal.
    av_log_set_level(AV_LOG_QUIET);
    std::unique_ptr<FilmFile> file(new FilmFile(path, ended));
    if (!isRegularFile(path) || !file->openInput() || !file->openContext(interrupted))
        return nullptr;
    // Until it has moved once, a Matroska file does not know its index.
    if (std::string_view(file->m_context->iformat->name).starts_with("matroska") && !file->rewind())
        return nullptr;
    file->m_marksKeys = file->areMarksTrue();
    file->m_fieldsPerPicture = file->fieldsPerPicture();
    return file;
}

int FilmFile::onInterrupt(void *file)
{
    const auto *self = static_cast<const FilmFile *>(file);
    return self->m_ended() || (self->m_interrupted != nullptr && (*self->m_interrupted)()) ? 1 : 0;
}

bool FilmFile::openInput()
{
    const AVIOInterruptCB callback = {&FilmFile::onInterrupt, this};
    AVDictionary *options = nullptr;
    av_dict_set(&options, "protocol_whitelist", "file", 0);
    AVIOContext *input = nullptr;
    const int opened = avio_open2(&input, ("file:" + m_path).c_str(), AVIO_FLAG_READ, &callback, &options);
    m_input.reset(input);
    av_dict_free(&options);
    return opened >= 0;
}

bool FilmFile::openContext(const Interrupted &interrupted)
{
    FormatContext contextBefore = std::move(m_context);
    AVStream *const streamBefore = std::exchange(m_stream, nullptr);
    m_interrupted = &interrupted;
    const bool opened = readHeader();
    m_interrupted = nullptr;
    if (!opened && contextBefore) {
        // What the film is like is still asked for, and its file may become readable again.
        m_context = std::move(contextBefore);
        m_stream = streamBefore;
    }
    return opened;
}

bool FilmFile::readHeader()
{
    m_input->error = 0;
    AVFormatContext *context = avio_seek(m_input.get(), 0, SEEK_SET) < 0 ? nullptr : avformat_alloc_context();
    if (context == nullptr)
        return false;

    // What is read names other files in vain: no protocol is allowed and none is opened. Without a file name, no
    // demuxer is chosen by it, nor makes another name of it.
    context->pb = m_input.get();
    context->interrupt_callback = {&FilmFile::onInterrupt, this};
    context->io_open = refuseToOpen;
    context->protocol_whitelist = av_strdup("none");
    if (avformat_open_input(&context, nullptr, nullptr, nullptr) < 0) // frees the context on failure
        return false;
    m_context.reset(context);
    if (avformat_find_stream_info(context, nullptr) < 0 || !chooseStream() || !prepareOrder())
        return false;
    Packet first = readStream();
    if (!m_first && first) {
        m_first.reset(av_packet_alloc());
        if (!m_first || av_packet_copy_props(m_first.get(), first.get()) < 0)
            return false;
        m_first->pos = first->pos;
    }
    m_unread.push_back(std::move(first));
    return m_unread.front() != nullptr;
}

bool FilmFile::chooseStream()
{
    constexpr int notShown = AV_DISPOSITION_ATTACHED_PIC | AV_DISPOSITION_TIMED_THUMBNAILS;
    for (unsigned index = 0; index < m_context->nb_streams; ++index) {
        AVStream *stream = m_context->streams[index];
        stream->discard = AVDISCARD_ALL;
        if (stream->codecpar->codec_type != AVMEDIA_TYPE_VIDEO || (stream->disposition & notShown) != 0)
            continue;
        const bool preferred = (stream->disposition & AV_DISPOSITION_DEFAULT) != 0;
        if (m_stream == nullptr || (preferred && (m_stream->disposition & AV_DISPOSITION_DEFAULT) == 0))
            m_stream = stream;
    }
    if (m_stream == nullptr || !isPositive(m_stream->time_base))
        return false;
    m_stream->discard = AVDISCARD_DEFAULT;

    const std::string_view format = m_context->iformat->name;
    m_isEdited = format == "mov,mp4,m4a,3gp,3g2,mj2";
    m_complete = m_isEdited || format == "avi";
    m_sparseIndex = (m_context->iformat->flags & AVFMT_TS_DISCONT) != 0;
    return true;
}

bool FilmFile::prepareOrder()
{
    const AVInputFormat &format = *m_context->iformat;
    m_isAvi = std::string_view(format.name) == "avi";
    m_filter.reset();
    if (m_isAvi && m_stream->codecpar->codec_id == AV_CODEC_ID_MPEG4) {
        // A picture and the bidirectional one before it in one packet, an empty packet after.
        AVBSFContext *filter = nullptr;
        const int result = av_bsf_alloc(av_bsf_get_by_name("mpeg4_unpack_bframes"), &filter);
        m_filter.reset(filter);
        if (result < 0 || avcodec_parameters_copy(filter->par_in, m_stream->codecpar) < 0)
            return false;
        filter->time_base_in = m_stream->time_base;
        if (av_bsf_init(filter) < 0)
            return false;
    }
    m_tellsTimes = !m_isAvi && m_stream->start_time != AV_NOPTS_VALUE;
    m_order =
        m_tellsTimes ? PresentationOrder::filling(*m_stream->codecpar) : PresentationOrder::of(*m_stream->codecpar);
    forgetPosition();
    return true;
}

// A film's first packet is a key, and the second is none, almost always; what is marked otherwise is tried.
bool FilmFile::areMarksTrue()
{
    std::deque<Packet> looked;
    const auto lookUpTo = [&](std::size_t count) {
        while (looked.size() < count) {
            Packet packet = readStream();
            if (!packet)
                break;
            looked.push_back(std::move(packet));
        }
        return looked.size() >= count;
    };
    const auto isMarked = [](const Packet &packet) { return (packet->flags & AV_PKT_FLAG_KEY) != 0; };
    const auto areTrue = [&] {
        constexpr std::size_t fewest = 2;
        constexpr std::size_t most = 16;
        if (!lookUpTo(fewest))
            return true;
        const bool marked = isMarked(looked[0]);
        if (marked && !isMarked(looked[1]))
            return true;
        const AVCodecDescriptor *codec = avcodec_descriptor_get(m_stream->codecpar->codec_id);
        if (marked && codec != nullptr && (codec->props & AV_CODEC_PROP_INTRA_ONLY) != 0)
            return true;
        (void)lookUpTo(most);
        // What begins in a group has a key farther on.
        if (!marked && std::any_of(looked.begin(), looked.end(), isMarked))
            return true;
        return beginsWithKey(looked, marked ? 1 : 0) == marked;
    };
    const bool result = areTrue();
    std::move(m_unread.begin(), m_unread.end(), std::back_inserter(looked));
    m_unread = std::move(looked);
    m_atEnd = false;
    return result;
}

// Whether the first picture that a decoder makes of the packets from one on needs no other.
bool FilmFile::beginsWithKey(const std::deque<Packet> &packets, std::size_t from) const
{
    if (from > 0)
        addPalette(*packets[from]);
    const Frame picture = decoded(packets, from, 0);
    if (!picture)
        return false;
    if (from == 0 || picture->pict_type != AV_PICTURE_TYPE_NONE)
        return picture->key_frame != 0 || picture->pict_type == AV_PICTURE_TYPE_I;
    // The decoder does not tell: what needs no other picture is the same after another.
    const Frame after = decoded(packets, from - 1, 1);
    return after && pixelsOf(*picture) == pixelsOf(*after);
}

// Of the pictures that a decoder makes of the packets from one on, the one after so many; null if there is none.
Frame FilmFile::decoded(const std::deque<Packet> &packets, std::size_t from, int skipped) const
{
    const AVCodec *codec = avcodec_find_decoder(m_stream->codecpar->codec_id);
    const CodecContext decoder(codec == nullptr ? nullptr : avcodec_alloc_context3(codec));
    Frame picture(av_frame_alloc());
    if (!decoder || !picture || avcodec_parameters_to_context(decoder.get(), m_stream->codecpar) < 0)
        return nullptr;
    decoder->thread_count = 1;
    if (avcodec_open2(decoder.get(), codec, nullptr) < 0)
        return nullptr;
    for (; from <= packets.size(); ++from) {
        (void)avcodec_send_packet(decoder.get(), from < packets.size() ? packets[from].get() : nullptr);
        if (avcodec_receive_frame(decoder.get(), picture.get()) >= 0 && skipped-- == 0)
            return picture;
    }
    return nullptr;
}

// What the film is like

const AVCodecParameters &FilmFile::parameters() const
{
    return m_filter ? *m_filter->par_out : *m_stream->codecpar;
}

AVRational FilmFile::frameRate() const
{
    const AVRational told = av_div_q(m_stream->r_frame_rate, {m_fieldsPerPicture, 1});
    for (const AVRational rate : {countsFields() ? told : m_stream->avg_frame_rate, told}) {
        if (isPositive(rate))
            return rate;
    }
    return guessedFrameRate;
}

// GXF tells the rate of fields for an average.
bool FilmFile::countsFields() const
{
    return std::string_view(m_context->iformat->name) == "gxf";
}

// Where the codec tells no rate of pictures either, the first two packets do.
int FilmFile::fieldsPerPicture() const
{
    const bool isRateOfFields = av_cmp_q(m_stream->r_frame_rate, av_inv_q(m_stream->time_base)) == 0;
    if (!countsFields() || !isRateOfFields || m_unread.size() < 2)
        return 1;
    constexpr std::int64_t pair = 2;
    return av_sat_sub64(m_unread[1]->dts, m_unread[0]->dts) == pair ? 2 : 1;
}

bool FilmFile::knowsTimes() const
{
    return m_tellsTimes || (m_isAvi && m_stream->codecpar->video_delay == 0);
}

std::int64_t FilmFile::duration() const
{
    if (m_stream->duration != AV_NOPTS_VALUE && m_stream->duration > 0)
        return m_stream->duration;
    if (m_context->duration != AV_NOPTS_VALUE && m_context->duration > 0)
        return av_rescale_q(m_context->duration, AV_TIME_BASE_Q, m_stream->time_base);
    return 0;
}

std::int64_t FilmFile::pictureCount() const
{
    const std::int64_t edited = m_isEdited ? editedPictures() : 0;
    if (edited > 0 || m_stream->nb_frames > 0)
        return edited > 0 ? edited : m_stream->nb_frames;
    const AVRational length = av_mul_q(av_inv_q(frameRate()), av_inv_q(m_stream->time_base));
    // What does not fit is a number below zero.
    return length.num > 0 ? std::max<std::int64_t>(av_rescale(duration(), length.den, length.num), 0) : 0;
}

// Pictures that an edit list leaves out, and decoding needs, are marked in the index; those that it repeats are there
// again.
std::int64_t FilmFile::editedPictures() const
{
    std::int64_t count = 0;
    for (int index = 0; index < avformat_index_get_entries_count(m_stream); ++index) {
        const AVIndexEntry *entry = avformat_index_get_entry(m_stream, index);
        count += (entry->flags & AVINDEX_DISCARD_FRAME) == 0 ? 1 : 0;
    }
    return count;
}

AVRational FilmFile::pixelAspect(const AVFrame *picture) const
{
    // The function only reads the picture, though it does not say so.
    return av_guess_sample_aspect_ratio(m_context.get(), m_stream, const_cast<AVFrame *>(picture));
}

std::optional<std::int64_t> FilmFile::indexedKey(std::int64_t decodingTime) const
{
    if (m_sparseIndex || avformat_index_get_entries_count(m_stream) < 2)
        return std::nullopt;
    const AVIndexEntry *entry = avformat_index_get_entry_from_timestamp(m_stream, decodingTime, AVSEEK_FLAG_BACKWARD);
    if (entry == nullptr)
        return std::nullopt;
    return entry->timestamp;
}

// Reading

Packet FilmFile::readStream()
{
    if (!m_unread.empty()) {
        Packet packet = std::move(m_unread.front());
        m_unread.pop_front();
        return packet;
    }
    // After a broken packet there may be a good one.
    constexpr int mostFailures = 100;
    Packet packet(av_packet_alloc());
    for (int failures = 0; packet && failures < mostFailures;) {
        const int result = av_read_frame(m_context.get(), packet.get());
        if (result == AVERROR_EOF || result == AVERROR_EXIT) {
            // Demuxers take for the end what the system could not read.
            m_atEnd = result == AVERROR_EOF && m_input->error == 0;
            return nullptr;
        }
        if (result < 0)
            ++failures;
        else if (packet->stream_index == m_stream->index) {
            if (m_isAvi)
                countByIndex(*packet);
            if (std::exchange(m_paletteIsDue, false))
                addPalette(*packet);
            return packet;
        }
        av_packet_unref(packet.get());
    }
    return nullptr;
}

// Demuxers hand the palette over once, with the first packet that they ever read.
void FilmFile::addPalette(AVPacket &packet) const
{
    std::size_t size = 0;
    std::size_t ownSize = 0;
    const std::uint8_t *palette =
        m_first ? av_packet_get_side_data(m_first.get(), AV_PKT_DATA_PALETTE, &size) : nullptr;
    if (palette == nullptr || av_packet_get_side_data(&packet, AV_PKT_DATA_PALETTE, &ownSize) != nullptr)
        return;
    if (std::uint8_t *copy = av_packet_new_side_data(&packet, AV_PKT_DATA_PALETTE, size))
        std::copy_n(palette, size, copy);
}

// An AVI file tells no times, packets are counted; past a damaged stretch the count is short of those that were lost.
void FilmFile::countByIndex(AVPacket &packet) const
{
    constexpr std::int64_t chunkHeader = 8;
    const std::int64_t chunk = packet.pos - chunkHeader;
    int first = 0;
    for (int count = avformat_index_get_entries_count(m_stream); count > 0;) {
        const int half = count / 2;
        const AVIndexEntry *entry = avformat_index_get_entry(m_stream, first + half);
        if (entry->pos == chunk) {
            packet.dts = entry->timestamp;
            return;
        }
        if (entry->pos < chunk) {
            first += half + 1;
            count -= half + 1;
        } else {
            count = half;
        }
    }
}

Packet FilmFile::readFiltered()
{
    if (!m_filter)
        return readStream();
    Packet packet(av_packet_alloc());
    while (packet) {
        const int received = av_bsf_receive_packet(m_filter.get(), packet.get());
        if (received == 0)
            return packet;
        if (received == AVERROR_EOF)
            return nullptr;
        const Packet next = readStream();
        if (av_bsf_send_packet(m_filter.get(), next.get()) < 0 && !next)
            return nullptr;
    }
    return nullptr;
}

Packet FilmFile::read()
{
    if (!m_order) {
        Packet packet = readFiltered();
        if (packet && packet->pts == AV_NOPTS_VALUE && m_stream->codecpar->video_delay == 0)
            packet->pts = packet->dts;
        return packet;
    }
    for (;;) {
        if (Packet packet = m_order->pop())
            return packet;
        if (m_orderEnded)
            return nullptr;
        Packet packet = readFiltered();
        if (!packet) {
            m_order->end();
            m_orderEnded = true;
            continue;
        }
        if (packet->dts == AV_NOPTS_VALUE)
            packet->dts = nextSlot(*packet);
        m_lastSlot = packet->dts;
        m_order->push(std::move(packet));
    }
}

std::int64_t FilmFile::nextSlot(const AVPacket &packet)
{
    const std::int64_t length = av_rescale_q(1, av_inv_q(frameRate()), m_stream->time_base);
    const std::int64_t slot =
        m_lastSlot == AV_NOPTS_VALUE ? 0 : av_sat_add64(m_lastSlot, std::max<std::int64_t>(length, 1));
    // Without a time to seek by, the way back is by the places of keys that were met.
    m_countsSlots = m_countsSlots || !m_tellsTimes;
    if (m_countsSlots && (packet.flags & AV_PKT_FLAG_KEY) != 0 && packet.pos >= 0)
        m_keyPlaces.emplace(slot, packet.pos);
    return slot;
}

// Moving

void FilmFile::forgetPosition()
{
    m_unread.clear();
    m_paletteIsDue = true;
    m_input->error = 0;
    m_atEnd = false;
    m_lastSlot = AV_NOPTS_VALUE;
    m_orderEnded = false;
    if (m_order)
        m_order->clear();
    if (m_filter)
        av_bsf_flush(m_filter.get());
}

bool FilmFile::seek(std::int64_t time)
{
    forgetPosition();
    if (m_countsSlots)
        return seekToMetKey(time);
    return av_seek_frame(m_context.get(), m_stream->index, time, AVSEEK_FLAG_BACKWARD) >= 0;
}

bool FilmFile::seekToMetKey(std::int64_t time)
{
    auto key = m_keyPlaces.upper_bound(time);
    if (key == m_keyPlaces.begin())
        return false;
    --key;
    const int result = avformat_seek_file(m_context.get(), -1, 0, key->second, key->second, AVSEEK_FLAG_BYTE);
    Packet packet = result < 0 ? nullptr : readStream();
    if (!packet || packet->pos != key->second)
        return false;
    packet->dts = key->first;
    m_unread.push_back(std::move(packet));
    return true;
}

bool FilmFile::seekToStart()
{
    forgetPosition();
    // By times a seek finds a key picture; the film may begin before its first one.
    const bool byBytes = (m_context->iformat->flags & AVFMT_NO_BYTE_SEEK) == 0 && (m_sparseIndex || m_countsSlots);
    int result = -1;
    if (byBytes)
        result =
            avformat_seek_file(m_context.get(), -1, std::numeric_limits<std::int64_t>::min(), 0, 0, AVSEEK_FLAG_BYTE);
    if (result < 0) {
        const AVIndexEntry *entry = avformat_index_get_entry(m_stream, 0);
        const std::int64_t start = m_stream->start_time == AV_NOPTS_VALUE ? 0 : m_stream->start_time;
        result = av_seek_frame(m_context.get(), m_stream->index, entry == nullptr ? start : entry->timestamp,
                               AVSEEK_FLAG_BACKWARD);
    }
    if (result < 0)
        return false;
    Packet first = readStream();
    const bool found = first && isFirst(*first);
    m_unread.push_back(std::move(first));
    return found;
}

bool FilmFile::isFirst(const AVPacket &packet) const
{
    const auto agree = [](std::int64_t one, std::int64_t other) {
        return one == other || one == AV_NOPTS_VALUE || other == AV_NOPTS_VALUE;
    };
    if (packet.pos >= 0 && m_first->pos >= 0 && packet.pos != m_first->pos)
        return false;
    return agree(packet.pts, m_first->pts) && agree(packet.dts, m_first->dts);
}

bool FilmFile::rewind()
{
    return seekToStart() || openContext(m_ended);
}
