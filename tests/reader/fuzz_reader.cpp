// fuzz_reader FILMS [SEED [FIRST]]: opens and reads mutated films, as many as FILMS, number FIRST (from 0) and the
// following ones of those that SEED makes, and fails where the reader itself does: a crash, a sanitizer's report, a
// read that is not answered, a film that takes too long. A film that made it fail is kept in the current folder.

#include "reader/film.h"
#include "reader_films.h"

#include <QFile>
#include <QRandomGenerator>
#include <QTemporaryDir>

#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <random>
#include <thread>

using namespace std::chrono_literals;

namespace {

using Clock = std::chrono::steady_clock;

/// After this a film's work is interrupted, which is no answer; after `hangs` it has not even been interrupted.
constexpr auto patience = 10s;
constexpr auto hangs = 30s;
constexpr int filmsPerProcess = 50;

/// What a child process tells its parent, in memory that both see.
struct Progress {
    std::atomic_int64_t film = -1;
    std::atomic<Clock::rep> begun = 0;
    std::atomic_int64_t opened = 0;
    std::atomic_int64_t pictures = 0;
    std::atomic_int64_t unanswered = 0;
};

std::vector<QByteArray> smallFilms()
{
    std::vector<QByteArray> contents;
    for (ReaderFilm film : readerFilms()) {
        if (!film.copied.isEmpty() || film.cutBytes > 0)
            continue;
        film.made.file = "fuzz_" + film.made.file;
        film.made.size = {96, 72};
        film.made.frames = 40;
        QFile file(makeReaderFilm(film));
        if (!file.open(QIODevice::ReadOnly))
            throw std::runtime_error("cannot read " + film.made.file.toStdString());
        contents.push_back(file.readAll());
    }
    return contents;
}

class Mutation {
public:
    Mutation(quint32 seed, std::int64_t film)
    {
        std::seed_seq both{std::uint32_t(seed), static_cast<std::uint32_t>(film)};
        m_random.seed(both);
    }

    QByteArray of(const std::vector<QByteArray> &films)
    {
        QByteArray bytes = films[below(films.size())];
        const std::size_t changes = 1 + below(4);
        for (std::size_t change = 0; change < changes && bytes.size() > 16; ++change)
            apply(bytes, films);
        return bytes;
    }

    std::size_t below(std::size_t bound)
    {
        return std::uniform_int_distribution<std::size_t>(0, bound - 1)(m_random);
    }

private:
    // Headers lie at a file's ends more often than in its middle.
    qsizetype place(const QByteArray &bytes)
    {
        const auto size = static_cast<std::size_t>(bytes.size());
        const std::size_t edge = std::min<std::size_t>(size, 1024);
        switch (below(4)) {
        case 0:
            return static_cast<qsizetype>(below(edge));
        case 1:
            return static_cast<qsizetype>(size - 1 - below(edge));
        default:
            return static_cast<qsizetype>(below(size));
        }
    }

    void apply(QByteArray &bytes, const std::vector<QByteArray> &films)
    {
        const qsizetype at = place(bytes);
        const auto length = static_cast<qsizetype>(1 + below(below(2) == 0 ? 16 : 4096));
        switch (below(7)) {
        case 0:
            for (std::size_t flips = 1 + below(64); flips > 0; --flips)
                flip(bytes, place(bytes));
            break;
        case 1:
            flip(bytes, at);
            break;
        case 2: {
            static constexpr std::uint32_t extremes[] = {0,      1,          0x7F,       0x80,      0xFF,
                                                         0xFFFF, 0x7FFFFFFF, 0x80000000, 0xFFFFFFFF};
            const std::uint32_t value = extremes[below(std::size(extremes))];
            const int width = below(2) == 0 ? 4 : 2;
            for (int byte = 0; byte < width && at + byte < bytes.size(); ++byte)
                bytes[at + byte] = static_cast<char>(value >> (8 * (width - 1 - byte)));
            break;
        }
        case 3:
            bytes.remove(at, length);
            break;
        case 4:
            bytes.insert(at, bytes.mid(place(bytes), length));
            break;
        case 5: {
            const QByteArray &other = films[below(films.size())];
            bytes.replace(at, length, other.mid(place(other), length));
            break;
        }
        default:
            bytes.truncate(std::max<qsizetype>(at, 16));
            break;
        }
    }

    void flip(QByteArray &bytes, qsizetype at)
    {
        bytes[at] = static_cast<char>(bytes[at] ^ static_cast<char>(1U << below(8)));
    }

    std::mt19937 m_random;
};

void readFilm(const QString &path, Mutation &random, Progress &progress)
{
    const auto deadline = Clock::now() + patience;
    const Interrupted interrupted = [deadline] { return Clock::now() > deadline; };
    const auto film = Film::open(path.toStdString(), interrupted, interrupted);
    // Larger pictures are a matter of time and memory, not of other code.
    constexpr std::size_t mostBytes = 100'000'000;
    if (!film || film->pictureBytes() > mostBytes)
        return;
    ++progress.opened;
    std::vector<std::byte> pixels(film->pictureBytes());
    constexpr std::int64_t last = std::numeric_limits<std::int64_t>::max();
    const std::int64_t count = film->frameCount();
    std::vector<std::int64_t> indices{0, 1, 25, 26, 12, count - 1, count, last, -last};
    for (int more = 0; more < 4; ++more)
        indices.push_back(static_cast<std::int64_t>(random.below(45)));
    for (const std::int64_t index : indices) {
        if (!film->read(index, pixels, interrupted)) {
            ++progress.unanswered;
            return;
        }
        ++progress.pictures;
        film->workAhead(interrupted);
    }
}

[[noreturn]] void readFilms(const std::vector<QByteArray> &films, quint32 seed, std::int64_t first, std::int64_t end,
                            const QString &path, Progress &progress)
{
    for (std::int64_t number = first; number < end; ++number) {
        Mutation mutation(seed, number);
        QFile file(path);
        if (!file.open(QIODevice::WriteOnly) || file.write(mutation.of(films)) < 0)
            std::abort();
        file.close();
        progress.begun = Clock::now().time_since_epoch().count();
        progress.film = number;
        readFilm(path, mutation, progress);
        if (progress.unanswered > 0)
            break;
    }
    // Leaks of the libraries on damaged films are not the matter here.
    _exit(progress.unanswered > 0 ? EXIT_FAILURE : EXIT_SUCCESS);
}

/// How the process of a batch ended: nothing if well.
const char *failureOf(pid_t process, const Progress &progress)
{
    for (;;) {
        int status = 0;
        if (waitpid(process, &status, WNOHANG) == process) {
            if (WIFEXITED(status) && WEXITSTATUS(status) == EXIT_SUCCESS)
                return nullptr;
            return progress.unanswered > 0 ? "a read was not answered" : "the reader crashed";
        }
        const Clock::time_point begun{Clock::duration(progress.begun)};
        if (progress.film >= 0 && Clock::now() - begun > hangs) {
            kill(process, SIGKILL);
            waitpid(process, &status, 0);
            return "the reader hangs";
        }
        std::this_thread::sleep_for(5ms);
    }
}

int fuzz(std::int64_t count, quint32 seed, std::int64_t first)
{
    const std::vector<QByteArray> films = smallFilms();
    std::printf("%lld mutations of %zu films, seed %u\n", static_cast<long long>(count), films.size(), seed);
    std::fflush(stdout);
    const QTemporaryDir folder;
    const QString path = folder.filePath("film");
    std::int64_t tried = 0;
    std::int64_t opened = 0;
    std::int64_t pictures = 0;
    int failures = 0;
    for (std::int64_t next = first; next < first + count;) {
        void *shared = mmap(nullptr, sizeof(Progress), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
        if (shared == MAP_FAILED)
            throw std::runtime_error("no memory to share");
        auto *progress = new (shared) Progress;
        const std::int64_t end = std::min(next + filmsPerProcess, first + count);
        const pid_t process = fork();
        if (process < 0)
            throw std::runtime_error("cannot start a process");
        if (process == 0)
            readFilms(films, seed, next, end, path, *progress);
        const char *failure = failureOf(process, *progress);
        const std::int64_t reached = failure == nullptr ? end : progress->film + 1;
        if (failure != nullptr) {
            ++failures;
            const QString kept = QString("fuzz_%1_%2").arg(seed).arg(reached - 1);
            QFile::remove(kept);
            QFile::copy(path, kept);
            std::printf("film %lld: %s; kept as %s\n", static_cast<long long>(reached - 1), failure,
                        qPrintable(kept));
            std::fflush(stdout);
        }
        tried += std::max(reached, next + 1) - next;
        opened += progress->opened;
        pictures += progress->pictures;
        next = std::max(reached, next + 1);
        munmap(shared, sizeof(Progress));
    }
    std::printf("%lld films tried, %lld opened, %lld pictures read, %d failures\n", static_cast<long long>(tried),
                static_cast<long long>(opened), static_cast<long long>(pictures), failures);
    return failures == 0 && opened > 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}

} // namespace

int main(int count, char **arguments)
{
    const auto number = [&](int argument, std::int64_t otherwise) {
        return argument < count ? std::strtoll(arguments[argument], nullptr, 10) : otherwise;
    };
    const std::int64_t films = number(1, 0);
    if (films < 1) {
        std::fputs("usage: fuzz_reader FILMS [SEED [FIRST]]\n", stderr);
        return EXIT_FAILURE;
    }
    av_log_set_level(AV_LOG_QUIET);
    try {
        const auto seed = static_cast<quint32>(number(2, QRandomGenerator::global()->generate()));
        return fuzz(films, seed, std::max<std::int64_t>(number(3, 0), 0));
    } catch (const std::exception &error) {
        std::fprintf(stderr, "%s\n", error.what());
        return EXIT_FAILURE;
    }
}
