// scripted_reader NAME: a frame reader without films, for the tests of the program's side. Whatever it is asked to
// open is a film of 320 x 240 pictures at 25 a second; every picture carries its index (scripted_reader.h).
//
// It does what the file beside it, called like it with ".script" behind, tells it for some of its commands: a line
// "WORD DEED" for each command that begins with WORD, "WORD@N DEED" for the N-th of these alone. Deeds:
//   reply TEXT     answers with TEXT
//   separator C    puts C between echo and answer
//   silent         carries the command out but does not answer
//   late MS        answers after so many milliseconds
//   garbage        fills the result block with noise
//   endless        fills the result block behind the echo to its very end
//   small          carries a bufupdate out with a block of one byte
//   die            ends without an answer
//   last           ends after the answer
// WORD "start" is its start: "die" and "late MS" are known there.
// It writes its process number and each command it takes to the file called like it with ".log" behind.

#include "scripted_reader.h"

#include "platform/process.h"
#include "platform/shared_objects.h"
#include "util/frame_protocol.h"

#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <thread>

namespace {

using Clock = std::chrono::milliseconds;

std::string textOf(const SharedMemory &block)
{
    std::string copy(reinterpret_cast<const char *>(block.data()), block.size());
    return copy.substr(0, copy.find('\0'));
}

class Script {
public:
    explicit Script(const std::string &file)
    {
        std::ifstream lines(file);
        for (std::string line; std::getline(lines, line);) {
            const std::size_t blank = line.find(' ');
            deeds[line.substr(0, blank)] = line.substr(blank + 1);
        }
    }

    /// The deed for the next command that begins with `word`; empty for the usual one.
    std::string next(const std::string &word)
    {
        const std::string numbered = word + '@' + std::to_string(++counts[word]);
        const auto found = deeds.find(deeds.contains(numbered) ? numbered : word);
        return found == deeds.end() ? std::string() : found->second;
    }

private:
    std::map<std::string, std::string> deeds;
    std::map<std::string, int> counts;
};

class Reader {
public:
    Reader(const std::string &program, std::string shareName)
        : name(std::move(shareName)), script(program + ".script"), log(program + ".log", std::ios::app)
    {
    }

    int run()
    {
        log << "pid " << getpid() << std::endl;
        const std::string start = script.next("start");
        if (start == "die")
            return EXIT_FAILURE;
        pauseFor(start);
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
            log << taken << std::endl;
            serve(taken);
        }
        return EXIT_SUCCESS;
    }

private:
    [[nodiscard]] std::string nameOf(std::string_view prefix) const { return std::string(prefix) + name; }

    static void pauseFor(const std::string &deed)
    {
        if (deed.starts_with("late "))
            std::this_thread::sleep_for(Clock(std::stoi(deed.substr(5))));
    }

    void serve(const std::string &text)
    {
        std::istringstream words(text);
        std::string word;
        long long number = 0;
        words >> word >> number;
        const std::string deed = script.next(word);
        if (deed == "die")
            std::_Exit(EXIT_FAILURE);
        if (word == "exit")
            std::_Exit(EXIT_SUCCESS);
        if (word == "frames")
            frames = static_cast<std::size_t>(number);
        if (word == "bufupdate") {
            data.reset();
            data = SharedMemory::create(nameOf(frame_protocol::dataBlock), deed == "small" ? 1 : frames * frameSize);
        }
        if (word == "read" && data->size() >= ownFrameSize)
            paint(number);
        pauseFor(deed);
        if (deed == "silent")
            return;
        answer(text, word, deed);
        if (deed == "last")
            std::_Exit(EXIT_SUCCESS);
    }

    void answer(const std::string &text, const std::string &word, const std::string &deed)
    {
        auto *const block = reinterpret_cast<char *>(result->data());
        if (deed == "garbage") {
            for (std::size_t i = 0; i < result->size(); ++i)
                block[i] = static_cast<char>(std::rand() % 255 + 1);
            return;
        }
        std::string reply = word == "open" ? scripted_reader::openReply : "ok";
        char separator = ' ';
        if (deed.starts_with("reply "))
            reply = deed.substr(6);
        if (word == "open") {
            std::istringstream size(reply);
            std::size_t width = 0;
            std::size_t height = 0;
            frameSize = size >> width >> height && width * height < 10'000'000 ? width * height * 3 : ownFrameSize;
        }
        if (deed.starts_with("separator "))
            separator = deed.back();
        if (deed == "endless")
            reply = std::string(result->size() - text.size() - 2, 'x');
        reply.insert(reply.begin(), separator);
        std::memcpy(block + text.size(), reply.c_str(), reply.size() + (deed == "endless" ? 0 : 1));
        if (deed == "endless")
            block[result->size() - 1] = 'x';
        std::memcpy(block, text.data(), text.size());
    }

    void paint(long long index)
    {
        auto *pixel = reinterpret_cast<unsigned char *>(data->data());
        for (int y = 0; y < scripted_reader::height; ++y) {
            for (int x = 0; x < scripted_reader::width; ++x, pixel += 3) {
                const scripted_reader::Color color = scripted_reader::colorAt(index, x, y);
                pixel[0] = color.blue;
                pixel[1] = color.green;
                pixel[2] = color.red;
            }
        }
    }

    static constexpr std::size_t ownFrameSize = std::size_t{3} * scripted_reader::width * scripted_reader::height;

    std::string name;
    Script script;
    std::ofstream log;
    std::size_t frames = 1;
    std::size_t frameSize = ownFrameSize;
    std::unique_ptr<SharedMemory> command;
    std::unique_ptr<SharedMemory> result;
    std::unique_ptr<SharedMemory> data;
};

} // namespace

int main(int count, char **arguments)
{
    return count == 2 ? Reader(arguments[0], arguments[1]).run() : EXIT_FAILURE;
}
