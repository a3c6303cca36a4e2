// scripted_reader NAME: a frame reader without films, for the tests of the program's side. Whatever it is asked to
// open is a film of 320 x 240 pictures at 25 a second; every picture carries its index (scripted_reader.h).
//
// It does what the file beside it, called like it with ".script" behind, tells it for some of its commands: a line
// "WORD DEED" for each command that begins with WORD, "WORD@N DEED" for the N-th of these alone. Deeds:
//   reply TEXT     answers with TEXT
//   silent         carries the command out but does not answer
//   late MS        answers after so many milliseconds
//   small          carries a bufupdate out with a block of one byte
//   die            ends without an answer
//   last           ends after the answer
// WORD "start" is its start: "late MS" is known there.

#include "scripted_reader.h"

#include "platform/process.h"
#include "platform/shared_objects.h"
#include "protocol/blocks.h"
#include "protocol/command.h"
#include "protocol/opened_film.h"
#include "protocol/reader_side.h"

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <map>
#include <string>
#include <thread>

namespace {

constexpr protocol::OpenedFilm film{scripted_reader::width, scripted_reader::height, 250, 25.0};

class Reader {
public:
    Reader(const std::string &program, std::string shareName) : m_name(std::move(shareName))
    {
        std::ifstream script(program + ".script");
        for (std::string word, deed; script >> word && std::getline(script >> std::ws, deed);)
            m_deeds[word] = deed;
    }

    int run()
    {
        pauseFor(nextDeed("start"));
        auto commands = SharedMemory::create(nameOf(protocol::commandBlock), protocol::blockSize);
        m_result = SharedMemory::create(nameOf(protocol::resultBlock), protocol::blockSize);
        m_data = SharedMemory::create(nameOf(protocol::dataBlock), protocol::unopenedDataSize);
        // Last, as the real one does: who sees it takes the blocks for there.
        const auto mutex = LivenessMutex::create(nameOf(protocol::livenessMutex));
        if (!mutex || !commands || !m_result || !m_data)
            return EXIT_FAILURE;
        StartingProcess::tellReady();
        for (protocol::CommandBlock block(std::move(commands)); !StartingProcess::hasEnded();) {
            if (const std::optional<std::string> command = block.take())
                serve(*command);
            std::this_thread::sleep_for(std::chrono::microseconds(200));
        }
        return EXIT_SUCCESS;
    }

private:
    [[nodiscard]] std::string nameOf(std::string_view prefix) const { return protocol::objectName(prefix, m_name); }

    /// The deed for the next command that begins with `word`; empty for the usual one.
    std::string nextDeed(const std::string &word)
    {
        const std::string numbered = word + '@' + std::to_string(++m_counts[word]);
        return m_deeds[m_deeds.contains(numbered) ? numbered : word];
    }

    static void pauseFor(const std::string &deed)
    {
        if (deed.starts_with("late "))
            std::this_thread::sleep_for(std::chrono::milliseconds(std::stoi(deed.substr(5))));
    }

    void serve(const std::string &text)
    {
        const std::string deed = nextDeed(text.substr(0, text.find(' ')));
        const std::optional<protocol::Command> command = protocol::parseCommand(text);
        if (!command || deed == "die" || *command == protocol::Command(protocol::Exit{}))
            std::_Exit(EXIT_FAILURE);
        if (std::holds_alternative<protocol::BufferUpdate>(*command))
            renewData(deed == "small" ? 1 : *film.dataSize(protocol::mostPictures));
        if (const auto *read = std::get_if<protocol::Read>(&*command))
            paint(static_cast<unsigned>(read->first));
        pauseFor(deed);
        if (deed != "silent")
            protocol::publish(*m_result, text, replyTo(*command, deed));
        if (deed == "last")
            std::_Exit(EXIT_SUCCESS);
    }

    static std::string replyTo(const protocol::Command &command, const std::string &deed)
    {
        if (deed.starts_with("reply "))
            return deed.substr(6);
        return std::holds_alternative<protocol::Open>(command) ? textOf(film) : std::string(protocol::done);
    }

    void renewData(std::int32_t size)
    {
        m_data.reset();
        m_data = SharedMemory::create(nameOf(protocol::dataBlock), static_cast<std::size_t>(size));
    }

    void paint(unsigned index)
    {
        if (m_data->size() < static_cast<std::size_t>(*film.dataSize(1)))
            return;
        for (int place = 0; place < film.width * film.height; ++place) {
            const unsigned color = scripted_reader::colorAt(index, place % film.width, place / film.width);
            // As this machine keeps a number, blue is its first byte.
            std::memcpy(m_data->data() + place * protocol::bytesPerPixel, &color, protocol::bytesPerPixel);
        }
    }

    std::string m_name;
    std::map<std::string, std::string> m_deeds;
    std::map<std::string, int> m_counts;
    std::unique_ptr<SharedMemory> m_result, m_data;
};

} // namespace

int main(int count, char **arguments)
{
    return count == 2 ? Reader(arguments[0], arguments[1]).run() : EXIT_FAILURE;
}
