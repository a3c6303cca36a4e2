#include "protocol/program_side.h"

#include "protocol/blocks.h"

#include <algorithm>
#include <atomic>
#include <cstring>
#include <utility>

namespace protocol {
namespace {

std::string contentOf(const SharedMemory &block)
{
    return {reinterpret_cast<const char *>(block.data()), block.size()};
}

} // namespace

void ProgramSide::open(const std::string &shareName)
{
    m_shareName = shareName;
    m_commands = SharedMemory::open(objectName(commandBlock, shareName), blockSize);
    m_results = SharedMemory::open(objectName(resultBlock, shareName), blockSize);
}

void ProgramSide::close()
{
    *this = {};
}

void ProgramSide::send(std::string command)
{
    m_earlier.push_back(std::exchange(m_sent, std::move(command)));
    std::memcpy(m_commands->data(), m_sent.c_str(), m_sent.size() + 1);
}

bool ProgramSide::isAnsweredBy(const std::string &result) const
{
    const auto isLongerAndAnswered = [&](const std::string &earlier) {
        return earlier.size() > m_sent.size() && earlier.starts_with(m_sent) && result.starts_with(earlier);
    };
    return result.starts_with(m_sent) && std::none_of(m_earlier.begin(), m_earlier.end(), isLongerAndAnswered);
}

std::optional<std::string> ProgramSide::reply()
{
    if (!m_results || !isAnsweredBy(contentOf(*m_results)))
        return std::nullopt;
    // The reader writes the reply before the echo: what is copied once the echo was seen is complete.
    std::atomic_thread_fence(std::memory_order_acquire);
    const std::string result = contentOf(*m_results);
    const std::optional<std::string_view> reply = replyIn(result, m_sent);
    if (!reply)
        return std::nullopt;
    // The reader works in order: nothing earlier can be answered any more.
    m_earlier.clear();
    return std::string(*reply);
}

void ProgramSide::mapData(std::int32_t size)
{
    unmapData();
    if (size > 0)
        m_data = SharedMemory::open(objectName(dataBlock, m_shareName), static_cast<std::size_t>(size));
}

std::span<const std::byte> ProgramSide::data() const
{
    return m_data ? std::span<const std::byte>(m_data->data(), m_data->size()) : std::span<const std::byte>();
}

} // namespace protocol
