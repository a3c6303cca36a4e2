// fuzz_reader FILMS [SEED]: opens and reads as many mutated films, made by SEED and the seeds after it, each in a
// process of its own, and fails where the reader itself does: a crash, a sanitizer's report, a read that is not
// answered, a film that takes too long. A film that made it fail is kept in the current folder.

#include "random_seed.h"
#include "reader_films.h"

#include <QFile>
#include <QRandomGenerator>
#include <QTemporaryDir>

#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>

namespace {

using Clock = std::chrono::steady_clock;
using Films = std::vector<QByteArray>;

/// After this a film's work is interrupted, which is no answer; after `hangs` it has not even been interrupted.
constexpr std::chrono::seconds patience(10);
constexpr unsigned hangs = 30;

/// How the process of a film ends; others are failures that it does not know of.
enum Outcome { NotOpened = 10, Answered, NotAnswered };

Films smallFilms()
{
    Films contents;
    for (ReaderFilm film : readerFilms()) {
        if (film.made.copiedFrom > 0.0 || film.made.cutBytes > 0)
            continue;
        film.made.file = "fuzz_" + film.made.file;
        film.made.size = {96, 72};
        film.made.frames = 40;
        contents.push_back(contentOf(makeFilm(film.made)));
    }
    return contents;
}

class Mutation {
public:
    explicit Mutation(quint32 seed) : m_random(seed) {}

    QByteArray of(const Films &films)
    {
        QByteArray bytes = oneOf(films);
        for (qsizetype changes = 1 + below(4); changes > 0 && bytes.size() > 16; --changes)
            change(bytes, oneOf(films));
        return bytes;
    }

    qsizetype below(qsizetype bound) { return m_random.bounded(static_cast<int>(bound)); }

private:
    const QByteArray &oneOf(const Films &films) { return films[static_cast<std::size_t>(below(std::ssize(films)))]; }

    // Headers lie at a file's ends more often than in its middle.
    qsizetype place(const QByteArray &bytes)
    {
        const qsizetype edge = std::min<qsizetype>(bytes.size(), 1024);
        const qsizetype end = below(4);
        return end == 0 ? below(edge) : end == 1 ? bytes.size() - 1 - below(edge) : below(bytes.size());
    }

    void change(QByteArray &bytes, const QByteArray &other)
    {
        const qsizetype at = place(bytes);
        const qsizetype length = 1 + below(below(2) == 0 ? 16 : 4096);
        const qsizetype kind = below(6);
        if (kind == 0) {
            for (qsizetype flips = below(2) == 0 ? 1 : 1 + below(64); flips > 0; --flips)
                bytes.data()[place(bytes)] ^= static_cast<char>(1 << below(8));
        } else if (kind == 1) {
            const char *const extremes[] = {"00000000", "00000001", "0000007f", "00000080", "000000ff",
                                            "0000ffff", "7fffffff", "80000000", "ffffffff"};
            const QByteArray value = QByteArray::fromHex(extremes[below(std::ssize(extremes))]).last(2 + 2 * below(2));
            bytes.replace(at, value.size(), value);
        } else if (kind == 2) {
            bytes.remove(at, length);
        } else if (kind == 3) {
            bytes.insert(at, bytes.mid(place(bytes), length));
        } else if (kind == 4) {
            bytes.replace(at, length, other.mid(place(other), length));
        } else {
            bytes.truncate(std::max<qsizetype>(at, 16));
        }
    }

    QRandomGenerator m_random;
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

} // namespace

int main(int count, char **arguments)
{
    const int films = count > 1 ? std::atoi(arguments[1]) : 0;
    const auto firstSeed = count > 2 ? static_cast<quint32>(std::strtoul(arguments[2], nullptr, 10)) : randomSeed();
    av_log_set_level(AV_LOG_QUIET);
    const Films originals = smallFilms();
    std::printf("%d mutations of %zu films, seed %u\n", films, originals.size(), firstSeed);
    const QTemporaryDir folder;
    const QString path = folder.filePath("film");
    int opened = 0;
    int failures = 0;
    for (int number = 0; number < films; ++number) {
        const quint32 seed = firstSeed + static_cast<quint32>(number);
        Mutation mutation(seed);
        writeFile(path, mutation.of(originals));
        std::fflush(stdout);
        const pid_t process = fork();
        if (process == 0) {
            alarm(hangs);
            _exit(readFilm(path, mutation)); // leaks of the libraries on damaged films are not the matter here
        }
        int status = 0;
        if (waitpid(process, &status, 0) != process)
            return EXIT_FAILURE;
        const int outcome = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
        opened += outcome == Answered ? 1 : 0;
        if (outcome == Answered || outcome == NotOpened)
            continue;
        ++failures;
        const QString kept = QString("fuzz_%1").arg(seed);
        QFile::copy(path, kept);
        std::printf("%s: %s\n", qPrintable(kept),
                    outcome == NotAnswered ? "a read is not answered"
                    : outcome == -1        ? strsignal(WTERMSIG(status))
                                           : "the reader fails");
    }
    std::printf("%d films tried, %d read, %d failures\n", films, opened, failures);
    return failures == 0 && opened > 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}
