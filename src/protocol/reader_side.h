#pragma once

#include "platform/shared_objects.h"

#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace protocol {

/// The command block as the reader sees it. The program writes it at any moment and without a lock, so a command
/// counts only when it was read twice, with a pause between, as the same bytes.
class CommandBlock {
public:
    explicit CommandBlock(std::unique_ptr<SharedMemory> memory) : m_memory(std::move(memory)) {}

    /// True if something else stands in the block than the command taken last. Costs next to nothing.
    [[nodiscard]] bool hasChanged() const;

    /// To be called again and again: the command that stands in the block, once it is certain and if it was not taken
    /// before. A text that does not end within the block is none.
    [[nodiscard]] std::optional<std::string> take();

    /// True if `take` has seen a new command that is not certain yet.
    [[nodiscard]] bool isPending() const { return !m_seen.empty(); }

private:
    [[nodiscard]] char at(std::size_t index) const;
    [[nodiscard]] std::string text() const;

    std::unique_ptr<SharedMemory> m_memory;
    std::string m_seen; ///< read once
    std::string m_taken;
};

/// Answers `command` in the result block: the reply is there before the command can be found. A reply that does not fit
/// beside it is not told, nor any part of it.
void publish(const SharedMemory &results, std::string_view command, std::string_view reply);

} // namespace protocol
