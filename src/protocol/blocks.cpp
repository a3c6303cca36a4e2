#include "protocol/blocks.h"

std::string protocol::objectName(std::string_view prefix, std::string_view shareName)
{
    return std::string(prefix).append(shareName);
}

bool protocol::fitsCommandBlock(std::string_view command)
{
    return command.size() + 1 < blockSize && command.find('\0') == std::string_view::npos;
}

std::optional<std::string_view> protocol::textIn(std::string_view block)
{
    const auto end = block.find('\0');
    return end == std::string_view::npos ? std::nullopt : std::optional(block.substr(0, end));
}

std::optional<std::string> protocol::answer(std::string_view command, std::string_view reply)
{
    if (command.size() + 1 + reply.size() + 1 > blockSize)
        return std::nullopt;
    return std::string(command).append(1, ' ').append(reply);
}

std::optional<std::string_view> protocol::replyIn(std::string_view block, std::string_view command)
{
    if (block.size() <= command.size() || !block.starts_with(command))
        return std::nullopt;
    return textIn(block.substr(command.size() + 1));
}
