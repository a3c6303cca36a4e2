#include "reader/packet_queue.h"

namespace {

/// How far packets are read ahead of the decoder, at most.
constexpr std::size_t mostBytes = 32'000'000;
constexpr std::size_t mostPackets = 1000;
constexpr std::size_t mostPacketsWithoutTimes = 64;

} // namespace

PacketQueue::PacketQueue(FilmFile &film) : m_film(film), m_kinds(film.parameters()), m_times(film) {}

void PacketQueue::clear()
{
    m_entries.clear();
    m_times.clear();
    m_bytes = 0;
    m_ended = false;
}

std::size_t PacketQueue::bytesOf(const Entry &entry)
{
    return static_cast<std::size_t>(entry.packet->size);
}

void PacketQueue::readOne()
{
    if (Packet packet = m_film.read()) {
        append(std::move(packet));
        return;
    }
    m_ended = true;
    if (m_film.isAtEnd())
        m_times.end();
}

void PacketQueue::append(Packet packet)
{
    Entry entry;
    entry.isKey = isKey(*packet);
    if ((packet->flags & AV_PKT_FLAG_DISCARD) == 0)
        entry.time = packet->pts;
    entry.isDroppable = entry.time != AV_NOPTS_VALUE && m_film.tellsTimes() && m_kinds.isUnreferenced(*packet);
    m_times.note(entry.time, packet->dts);
    entry.packet = std::move(packet);
    m_bytes += bytesOf(entry);
    m_entries.push_back(std::move(entry));
}

bool PacketQueue::readsOnFor(std::int64_t time) const
{
    const bool knowsTimes = m_times.complete() > earliestTime;
    return m_times.complete() < time && m_bytes < mostBytes
           && m_entries.size() < (knowsTimes ? mostPackets : mostPacketsWithoutTimes);
}

PacketQueue::Entry PacketQueue::takeFront()
{
    Entry entry = std::move(m_entries.front());
    m_entries.pop_front();
    m_bytes -= bytesOf(entry);
    return entry;
}

std::optional<std::int64_t> PacketQueue::skipToLastKey(std::int64_t time)
{
    if (m_entries.size() < 2)
        return std::nullopt;
    const Entry &last = m_entries.back();
    if (!last.isKey || last.time == AV_NOPTS_VALUE || last.time > time)
        return std::nullopt;
    m_entries.erase(m_entries.begin(), std::prev(m_entries.end()));
    m_bytes = bytesOf(m_entries.front());
    return m_entries.front().time;
}
