#include "protocol/reader_side.h"

#include "protocol/blocks.h"

#include <atomic>
#include <cstring>

namespace protocol {

char CommandBlock::at(std::size_t index) const
{
    char &byte = reinterpret_cast<char *>(m_memory->data())[index];
    return std::atomic_ref<char>(byte).load(std::memory_order_relaxed);
}

bool CommandBlock::hasChanged() const
{
    std::size_t index = 0;
    for (const char character : m_taken) {
        if (at(index++) != character)
            return true;
    }
    return at(index) != '\0';
}

std::string CommandBlock::text() const
{
    std::string text;
    for (std::size_t index = 0; index < m_memory->size(); ++index) {
        const char character = at(index);
        if (character == '\0')
            return text;
        text += character;
    }
    return {};
}

std::optional<std::string> CommandBlock::take()
{
    if (!hasChanged()) {
        m_seen.clear();
        return std::nullopt;
    }
    std::string now = text();
    if (now.empty() || now != m_seen) {
        m_seen = std::move(now);
        return std::nullopt;
    }
    m_seen.clear();
    m_taken = std::move(now);
    return m_taken;
}

void publish(const SharedMemory &results, std::string_view command, std::string_view reply)
{
    const std::optional<std::string> answer = protocol::answer(command, reply);
    if (!answer)
        return;
    auto *const block = reinterpret_cast<char *>(results.data());
    // While its first byte is missing, nobody takes the command for answered.
    const std::atomic_ref<char> first(*block);
    first.store('\0', std::memory_order_relaxed);
    std::atomic_thread_fence(std::memory_order_seq_cst);
    std::memcpy(block + 1, answer->c_str() + 1, answer->size());
    first.store(answer->front(), std::memory_order_seq_cst);
}

} // namespace protocol
