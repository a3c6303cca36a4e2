#pragma once

#include <string>
#include <string_view>

// The channel between a process and the hidden process it starts: one end of a socket pair, found by the started
// process at a fixed descriptor. The starter's first words on it name the object directory they share. Either side
// sees the other's end as the end of the channel, since nobody else holds it.

constexpr int startingChannelDescriptor = 3;

/// The starter's first words; the path of the object directory and a newline follow.
constexpr std::string_view startingGreeting = "Tavrin starts this process; objects in ";

/// What a process that was started so knows of its starter.
struct StartingChannel {
    int descriptor = -1;         ///< -1 if nobody started this process so
    std::string objectDirectory; ///< absolute path
};

/// The channel of this process; the first call takes it over, so that no process inherits it further.
[[nodiscard]] const StartingChannel &startingChannel();
