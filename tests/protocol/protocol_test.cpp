#include "random_seed.h"

#include "protocol/blocks.h"
#include "protocol/command.h"
#include "protocol/opened_film.h"
#include "protocol/reader_side.h"

#include <QTest>

#include <bit>
#include <cmath>
#include <cstring>
#include <limits>
#include <random>

using namespace protocol;

namespace {

constexpr auto least64 = std::numeric_limits<std::int64_t>::min();
constexpr auto most64 = std::numeric_limits<std::int64_t>::max();

/// Values of all magnitudes.
class RandomValues {
public:
    std::int64_t whole() { return static_cast<std::int64_t>(m_bits()) >> m_bits() % 64; }
    std::int32_t size() { return static_cast<std::int32_t>(whole()); }
    double rate()
    {
        const auto rate = std::bit_cast<double>(m_bits());
        return std::isfinite(rate) ? rate : 30'000.0 / 1001.0;
    }
    OpenedFilm film() { return {size(), size(), whole(), rate()}; }
    /// Any bytes but NUL.
    std::string path(std::size_t length)
    {
        std::string path(length, '/');
        for (char &byte : path)
            byte = static_cast<char>(m_bits() % 255 + 1);
        return path;
    }
    std::size_t below(std::size_t bound) { return m_bits() % bound; }

private:
    std::mt19937_64 m_bits{randomSeed()};
};

} // namespace

class ProtocolTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void whatIsWrittenReadsBackAsItself()
    {
        RandomValues random;
        for (int round = 0; round < 20'000; ++round) {
            const Command commands[]{
                Timeout{random.whole()},
                Frames{random.whole()},
                BufferUpdate{},
                Open{random.path(random.below(900))},
                Close{},
                Read{random.whole()},
                Read{random.whole(), random.whole()},
                Exit{},
            };
            for (const Command &command : commands)
                QVERIFY2(parseCommand(textOf(command)) == command, textOf(command).c_str());
            const OpenedFilm film = random.film();
            QVERIFY2(parseOpenedFilm(textOf(film)) == film, textOf(film).c_str());
        }
    }

    void whatIsNoCommandIsNone()
    {
        for (const char *text :
             {"",         " ",          "x",           "read",    "read ",     "read x", "read 1x", "read 1 ",
              "read 1 x", "read 1 2 3", "read 1.5",    "read +1", "reads 1",   "Read 1", "open",    "frames",
              "frames x", "timeout",    "bufupdate 1", "closes",  "close now", " close", "exit now"})
            QVERIFY2(!parseCommand(text), text);
        QVERIFY(parseCommand("read 99999999999999999999 -99999999999999999999") == Command(Read{most64, least64}));
        QVERIFY(parseCommand("open  a b ") == Command(Open{" a b "}));
    }

    void onlyFourWholeNumbersAreAFilm()
    {
        QVERIFY(parseOpenedFilm("640 480 1500 25") == OpenedFilm(640, 480, 1500, 25.0));
        QVERIFY(parseOpenedFilm("  64\t48  -1   12.5e0 \n") == OpenedFilm(64, 48, -1, 12.5));
        QVERIFY(parseOpenedFilm("64 48 9007199254740993 24") == OpenedFilm(64, 48, 9007199254740993, 24.0));
        for (const char *reply :
             {"", "ok", "no such film", "64 48 1500", "64 48 1500 ", "64 48 1500 fast", "64 48 1500 25fps",
              "64 48 1500 25 1", "64 48 1.5 25", "64,48,1500,25", "0x40 48 1500 25", "2147483648 48 1500 25",
              "64 48 9223372036854775808 25", "64 48 1500 1e999", "64 48 1500 inf", "64 48 1500 nan"})
            QVERIFY2(!parseOpenedFilm(reply), reply);
    }

    void aTruncatedReplyIsNone()
    {
        RandomValues random;
        for (int round = 0; round < 300; ++round) {
            const std::string command = textOf(Open{random.path(1 + random.below(900))});
            const std::string reply = textOf(random.film());
            const std::string block = answer(command, reply).value_or("") + '\0';
            QVERIFY(replyIn(block + "old", command) == reply);
            for (std::size_t size = 0; size < block.size(); ++size)
                QVERIFY(!replyIn(std::string_view(block).substr(0, size), command));
            for (std::size_t size = 0; size <= reply.rfind(' ') + 1; ++size)
                QVERIFY(!parseOpenedFilm(reply.substr(0, size)));
        }
    }

    void anAnswerFillsTheBlockAndNoMore()
    {
        for (const std::size_t command : {1, 500, 985, 997}) {
            const std::string text(command, 'c');
            const std::size_t room = blockSize - command - 2;
            QVERIFY(answer(text, std::string(room, 'r')) == text + ' ' + std::string(room, 'r'));
            QVERIFY(!answer(text, std::string(room + 1, 'r')));
        }
        QVERIFY(fitsCommandBlock(std::string(998, 'c')) && !fitsCommandBlock(std::string(999, 'c')));
        QVERIFY(!fitsCommandBlock(std::string("close\0now", 9)));
    }

    /// The program writes a command without a lock.
    void onlyACertainCommandIsTaken()
    {
        const std::string name = "protocol_test";
        CommandBlock block(SharedMemory::create(name, blockSize));
        const auto program = SharedMemory::open(name, blockSize);
        QVERIFY(program);
        const auto write = [&](std::string_view bytes) { std::memcpy(program->data(), bytes.data(), bytes.size()); };
        write({"close\0", 6});
        QVERIFY(!block.take() && block.isPending());
        write({"read 12\0", 8});
        QVERIFY(!block.take());
        QVERIFY(block.take() == "read 12" && !block.hasChanged() && !block.take());
        write(std::string(blockSize, '1')); // its end is not there
        QVERIFY(block.hasChanged() && !block.take() && !block.take());
    }

    void picturesAreCountedUpTo32Bits()
    {
        const std::tuple<OpenedFilm, int, std::optional<std::int32_t>> sizes[]{
            {{640, 480}, 1, 921'600},          {{320, 240}, 20, 4'608'000},       {{26754, 26755}, 1, 2'147'409'810},
            {{26755, 26755}, 1, std::nullopt}, {{65536, 65536}, 1, std::nullopt}, {{8192, 8192}, 20, std::nullopt},
            {{0, 480}, 1, std::nullopt},       {{-4, -4}, 1, std::nullopt},
        };
        for (const auto &[film, pictures, size] : sizes)
            QCOMPARE(film.dataSize(pictures), size);
    }
};

QTEST_GUILESS_MAIN(ProtocolTest)
#include "protocol_test.moc"
