#pragma once

#include "platform/shared_objects.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace protocol {

/// The program's views of the blocks that it shares with the frame reader (protocol/blocks.h), and the handshake over
/// them: one command at a time, answered by its echo.
class ProgramSide {
public:
    /// Maps command and result block of the reader with that share name. `isOpen` tells whether both are there.
    void open(const std::string &shareName);
    /// Lets go of all blocks.
    void close();
    [[nodiscard]] bool isOpen() const { return m_commands && m_results; }

    /// Puts a command into its open block, which it must fit.
    void send(std::string command);

    /// The reply to the command sent last, once it is there as a whole. The same command again is answered by its old
    /// answer; but one that is only the beginning of an earlier one, such as a shorter index, is not answered by that
    /// one's, even if it comes late.
    [[nodiscard]] std::optional<std::string> reply();

    /// Maps the first `size` bytes of the data block; leaves it unmapped if it is smaller or `size` is 0.
    void mapData(std::int32_t size);
    void unmapData() { m_data.reset(); }
    /// What is mapped of the data block; nothing if it is not.
    [[nodiscard]] std::span<const std::byte> data() const;

private:
    [[nodiscard]] bool isAnsweredBy(const std::string &result) const;

    std::string m_shareName;
    std::unique_ptr<SharedMemory> m_commands;
    std::unique_ptr<SharedMemory> m_results;
    std::unique_ptr<SharedMemory> m_data;

    std::string m_sent;
    std::vector<std::string> m_earlier; ///< sent before it, back to the last one that was answered
};

} // namespace protocol
