// scripted_reader NAME: a frame reader without films, for the tests of the program's side. Whatever it is asked to
// open is a film of 320 x 240 pictures at 25 a second; every picture carries its index (scripted_reader.h).
//
// It does what the file beside it, called like it with ".script" behind, tells it for some of its commands: a line
// "WORD DEED" for each command that begins with WORD, "WORD@N DEED" for the N-th of these alone. Deeds:
//   reply TEXT     answers with TEXT
//   silent         carries the command out but does not answer
//   late MS        answers after so many milliseconds
//   garbage        fills the result block with noise
//   endless        fills the result block behind the echo to its very end
//   small          carries a bufupdate out with a block of one byte
//   die            ends without an answer
//   last           ends after the answer
// WORD "start" is its start: "late MS" is known there.

#include "scripted_reader.h"

#include "platform/process.h"
#include "platform/shared_objects.h"
#include "util/frame_protocol.h"

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <thread>

namespace {

/// Room for the most pictures that one read delivers.
constexpr std::size_t dataSize = frame_protocol::mostFrames * 3UL * scripted_reader::width * scripted_reader::height;

std::string textOf(const SharedMemory &block)
{
    std::string copy(reinterpret_cast<const char *>(block.data()), block.size());
    return copy.substr(0, copy.find('\0'));
}

class Reader {
public:
    Reader(const std::string &program, std::string shareName) : name(std::move(shareName))
    {
        std::ifstream script(program + ".script");
        for (std::string word, deed; script >> word && std::getline(script >> std::ws, deed);)
            deeds[word] = deed;
    }

    int run()
    {
        pauseFor(nextDeed("start"));
        command = SharedMemory::create(nameOf(frame_protocol::commandBlock), frame_protocol::blockSize);
        result = SharedMemory::create(nameOf(frame_protocol::resultBlock), frame_protocol::blockSize);
        data = SharedMemory::create(nameOf(frame_protocol::dataBlock), frame_protocol::unopenedDataSize);
        // Last, as the real one does: who sees it takes the blocks for there.
        const auto mutex = LivenessMutex::create(nameOf(frame_protocol::livenessMutex));
        if (!mutex || !command || !result || !data)
            return EXIT_FAILURE;
        StartingProcess::tellReady();
        for (std::string last; !StartingProcess::hasEnded();) {
            const std::string taken = textOf(*command);
            std::this_thread::sleep_for(std::chrono::microseconds(200));
            if (taken.empty() || taken == last || taken != textOf(*command))
                continue;
            last = taken;
            serve(taken);
        }
        return EXIT_SUCCESS;
    }

private:
    [[nodiscard]] std::string nameOf(std::string_view prefix) const { return std::string(prefix) + name; }

    /// The deed for the next command that begins with `word`; empty for the usual one.
    std::string nextDeed(const std::string &word)
    {
        const std::string numbered = word + '@' + std::to_string(++counts[word]);
        return deeds[deeds.contains(numbered) ? numbered : word];
    }

    static void pauseFor(const std::string &deed)
    {
        if (deed.starts_with("late "))
            std::this_thread::sleep_for(std::chrono::milliseconds(std::stoi(deed.substr(5))));
    }

    void serve(const std::string &text)
    {
        std::istringstream words(text);
        std::string word;
        unsigned number = 0;
        words >> word >> number;
        const std::string deed = nextDeed(word);
        if (deed == "die" || word == "exit")
            std::_Exit(EXIT_FAILURE);
        if (word == "bufupdate") {
            data.reset();
            data = SharedMemory::create(nameOf(frame_protocol::dataBlock), deed == "small" ? 1 : dataSize);
        }
        if (word == "read" && data->size() == dataSize)
            paint(number);
        pauseFor(deed);
        if (deed != "silent")
            answer(text, word, deed);
        if (deed == "last")
            std::_Exit(EXIT_SUCCESS);
    }

    void answer(const std::string &text, const std::string &word, const std::string &deed)
    {
        auto *const block = reinterpret_cast<char *>(result->data());
        std::string reply = deed.starts_with("reply ") ? deed.substr(6) : word == "open" ? "320 240 250 25" : "ok";
        if (deed == "endless" || deed == "garbage")
            reply = std::string(result->size() - text.size() - 1, 'x');
        // The echo comes last.
        reply = ' ' + reply + '\0';
        std::memcpy(block + text.size(), reply.data(), std::min(reply.size(), result->size() - text.size()));
        std::memcpy(block, deed == "garbage" ? reply.data() + 1 : text.data(), text.size());
    }

    void paint(unsigned index)
    {
        auto *pixel = reinterpret_cast<unsigned char *>(data->data());
        for (int y = 0; y < scripted_reader::height; ++y) {
            for (int x = 0; x < scripted_reader::width; ++x, pixel += 3) {
                const unsigned color = scripted_reader::colorAt(index, x, y);
                // As this machine keeps a number, blue is its first byte.
                std::memcpy(pixel, &color, 3);
            }
        }
    }

    std::string name;
    std::map<std::string, std::string> deeds;
    std::map<std::string, int> counts;
    std::unique_ptr<SharedMemory> command, result, data;
};

} // namespace

int main(int count, char **arguments)
{
    return count == 2 ? Reader(arguments[0], arguments[1]).run() : EXIT_FAILURE;
}
