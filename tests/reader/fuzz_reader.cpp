// fuzz_reader FILMS [SEED [FIRST]]: opens and reads mutated films, as many as FILMS, number FIRST (from 0) and the
// following ones of those that SEED makes, each in a process of its own, and fails where the reader itself does: a
// crash, a sanitizer's report, a read that is not answered, a film that takes too long. A film that made it fail is
// kept in the current folder.

#include "reader_films.h"

#include <QFile>
#include <QRandomGenerator>
#include <QTemporaryDir>

#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <random>

namespace {

using Clock = std::chrono::steady_clock;

/// After this a film's work is interrupted, which is no answer; after `hangs` it has not even been interrupted.
constexpr std::chrono::seconds patience(10);
constexpr unsigned hangs = 30;

/// How the process of a film ends; others are failures that it does not know of.
enum Outcome { NotOpened = 10, Answered, NotAnswered };

std::vector<QByteArray> smallFilms()
{
    std::vector<QByteArray> contents;
    for (ReaderFilm film : readerFilms()) {
        if (film.copiedFrom > 0.0 || film.cutBytes > 0)
            continue;
        film.made.file = "fuzz_" + film.made.file;
        film.made.size = {96, 72};
        film.made.frames = 40;
        contents.push_back(contentOf(makeReaderFilm(film)));
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
        QByteArray bytes = films[static_cast<std::size_t>(below(std::ssize(films)))];
        for (qsizetype changes = 1 + below(4); changes > 0 && bytes.size() > 16; --changes)
            apply(bytes, films[static_cast<std::size_t>(below(std::ssize(films)))]);
        return bytes;
    }

    qsizetype below(qsizetype bound) { return std::uniform_int_distribution<qsizetype>(0, bound - 1)(m_random); }

private:
    // Headers lie at a file's ends more often than in its middle.
    qsizetype place(const QByteArray &bytes)
    {
        const qsizetype edge = std::min<qsizetype>(bytes.size(), 1024);
        const qsizetype end = below(4);
        return end == 0 ? below(edge) : end == 1 ? bytes.size() - 1 - below(edge) : below(bytes.size());
    }

    void apply(QByteArray &bytes, const QByteArray &other)
    {
        const qsizetype at = place(bytes);
        const qsizetype length = 1 + below(below(2) == 0 ? 16 : 4096);
        switch (below(7)) {
        case 0:
            for (qsizetype flips = 1 + below(64); flips > 0; --flips)
                flip(bytes, place(bytes));
            break;
        case 1:
            flip(bytes, at);
            break;
        case 2: {
            static const char *const extremes[] = {"00000000", "00000001", "0000007f", "00000080", "000000ff",
                                                   "0000ffff", "7fffffff", "80000000", "ffffffff"};
            const QByteArray value = QByteArray::fromHex(extremes[below(std::ssize(extremes))]);
            const QByteArray written = below(2) == 0 ? value : value.last(2);
            bytes.replace(at, written.size(), written);
            break;
        }
        case 3:
            bytes.remove(at, length);
            break;
        case 4:
            bytes.insert(at, bytes.mid(place(bytes), length));
            break;
        case 5:
            bytes.replace(at, length, other.mid(place(other), length));
            break;
        default:
            bytes.truncate(std::max<qsizetype>(at, 16));
            break;
        }
    }

    void flip(QByteArray &bytes, qsizetype at) { bytes[at] = static_cast<char>(bytes[at] ^ (1 << below(8))); }

    std::mt19937 m_random;
};

Outcome readFilm(const QString &path, Mutation &random)
{
    const auto deadline = Clock::now() + patience;
    const Interrupted interrupted = [deadline] { return Clock::now() > deadline; };
    const auto film = Film::open(path.toStdString(), interrupted, interrupted);
    // Larger pictures are a matter of time and memory, not of other code.
    constexpr std::size_t mostBytes = 100'000'000;
    if (!film || film->pictureBytes() > mostBytes)
        return NotOpened;
    std::vector<std::byte> pixels(film->pictureBytes());
    constexpr std::int64_t last = std::numeric_limits<std::int64_t>::max();
    const std::int64_t count = film->frameCount();
    std::vector<std::int64_t> indices{0, 1, 25, 26, 12, count - 1, count, last, -last};
    for (int more = 0; more < 4; ++more)
        indices.push_back(random.below(45));
    for (const std::int64_t index : indices) {
        if (!film->read(index, pixels, interrupted))
            return NotAnswered;
        film->workAhead(interrupted);
    }
    return Answered;
}

/// The status that the process of a film ends with.
int statusOfReading(const QString &path, Mutation &random)
{
    const pid_t process = fork();
    if (process < 0)
        throw std::runtime_error("cannot start a process");
    if (process == 0) {
        alarm(hangs);
        _exit(readFilm(path, random)); // leaks of the libraries on damaged films are not the matter here
    }
    int status = 0;
    waitpid(process, &status, 0);
    return status;
}

int fuzz(int count, quint32 seed, int first)
{
    const std::vector<QByteArray> films = smallFilms();
    std::printf("%d mutations of %zu films, seed %u\n", count, films.size(), seed);
    std::fflush(stdout);
    const QTemporaryDir folder;
    const QString path = folder.filePath("film");
    int opened = 0;
    int failures = 0;
    for (int number = first; number < first + count; ++number) {
        Mutation mutation(seed, number);
        writeFile(path, mutation.of(films));
        const int status = statusOfReading(path, mutation);
        const int outcome = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
        opened += outcome == Answered ? 1 : 0;
        if (outcome == Answered || outcome == NotOpened)
            continue;
        ++failures;
        const bool hung = WIFSIGNALED(status) && WTERMSIG(status) == SIGALRM;
        const QString kept = QString("fuzz_%1_%2").arg(seed).arg(number);
        QFile::remove(kept);
        QFile::copy(path, kept);
        std::printf("film %d: %s; kept as %s\n", number,
                    outcome == NotAnswered ? "a read was not answered"
                    : hung                 ? "the reader hangs"
                                           : "the reader crashed",
                    qPrintable(kept));
        std::fflush(stdout);
    }
    std::printf("%d films tried, %d read, %d failures\n", count, opened, failures);
    return failures == 0 && opened > 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}

} // namespace

int main(int count, char **arguments)
{
    const int films = count > 1 ? std::atoi(arguments[1]) : 0;
    if (films < 1) {
        std::fputs("usage: fuzz_reader FILMS [SEED [FIRST]]\n", stderr);
        return EXIT_FAILURE;
    }
    av_log_set_level(AV_LOG_QUIET);
    try {
        const auto seed = count > 2 ? static_cast<quint32>(std::strtoul(arguments[2], nullptr, 10))
                                    : QRandomGenerator::global()->generate();
        return fuzz(films, seed, count > 3 ? std::max(std::atoi(arguments[3]), 0) : 0);
    } catch (const std::exception &error) {
        std::fprintf(stderr, "%s\n", error.what());
        return EXIT_FAILURE;
    }
}
