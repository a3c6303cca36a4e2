// reader_bench: what the frame reader costs while it decodes for an export, beside ffmpeg doing the same, and while
// nobody asks it for anything.

#include "export_films.h"
#include "player/figures.h"
#include "scripted_client.h"

#include <QProcess>

#include <sys/resource.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace {

constexpr int scenes = 20;
constexpr int sceneSeconds = 5;

double sceneStart(int scene)
{
    return 3.4 + 14.7 * scene;
}

std::filesystem::path processFolder(pid_t process)
{
    return "/proc/" + std::to_string(process);
}

double userSeconds(pid_t process)
{
    // The fields are counted from the end of the program's name, which may hold anything.
    std::ifstream file(processFolder(process) / "stat");
    std::string line;
    std::getline(file, line);
    line.erase(0, line.rfind(')') + 1);
    std::istringstream fields(line);
    std::string skipped;
    constexpr int fieldsBefore = 11;
    for (int field = 0; field < fieldsBefore; ++field)
        fields >> skipped;
    double ticks = 0.0;
    if (!(fields >> ticks))
        throw std::runtime_error("the reader's processor time cannot be told");
    return ticks / static_cast<double>(sysconf(_SC_CLK_TCK));
}

// All threads', user's and system's, to the nanosecond.
double runningSeconds(pid_t process)
{
    double sum = 0.0;
    for (const auto &thread : std::filesystem::directory_iterator(processFolder(process) / "task")) {
        std::ifstream file(thread.path() / "schedstat");
        double nanoseconds = 0.0;
        if (!(file >> nanoseconds))
            throw std::runtime_error("a thread's running time cannot be told");
        sum += nanoseconds / 1e9;
    }
    return sum;
}

double peakMegabytes(pid_t process)
{
    std::ifstream file(processFolder(process) / "status");
    for (std::string word; file >> word;) {
        if (double kilobytes = 0.0; word == "VmHWM:" && file >> kilobytes)
            return kilobytes / 1024.0;
    }
    throw std::runtime_error("the reader's peak memory cannot be told");
}

double childrenUserSeconds()
{
    rusage used{};
    getrusage(RUSAGE_CHILDREN, &used);
    return static_cast<double>(used.ru_utime.tv_sec) + static_cast<double>(used.ru_utime.tv_usec) / 1e6;
}

void readScenes(ScriptedClient &client, double frameRate, int lastScene)
{
    for (int scene = 0; scene < lastScene; ++scene) {
        for (int second = 0; second < sceneSeconds; ++second) {
            const auto index = static_cast<long long>(frameRate * (sceneStart(scene) + second));
            if (!client.ask("read " + std::to_string(index)))
                throw std::runtime_error("no answer to the read of " + std::to_string(index));
        }
    }
}

struct ReaderCost {
    double userSeconds;
    double idleSecondsPerMinute;
    double peakMegabytes;
};

ReaderCost costOfReader(const QString &film, int lastScene, std::chrono::seconds idle)
{
    ScriptedClient client;
    const auto opened = client.isReady() ? client.open(film.toStdString()) : std::nullopt;
    if (!opened)
        throw std::runtime_error("the reader does not open " + film.toStdString());
    readScenes(client, opened->frameRate, lastScene);
    // What it began to decode ahead is its own cost too.
    std::this_thread::sleep_for(std::chrono::seconds(1));
    const double decoding = userSeconds(client.process());
    const double before = runningSeconds(client.process());
    std::this_thread::sleep_for(idle);
    const double idled = runningSeconds(client.process()) - before;
    const double idleMinutes = static_cast<double>(idle.count()) / 60.0;
    return {decoding, idle.count() == 0 ? 0.0 : idled / idleMinutes, peakMegabytes(client.process())};
}

double userSecondsOfFfmpeg(const QString &film)
{
    const double before = childrenUserSeconds();
    for (int scene = 0; scene < scenes; ++scene) {
        const QStringList arguments{"-nostdin", "-v",
                                    "error",    "-y",
                                    "-ss",      QString::number(sceneStart(scene), 'f', 1),
                                    "-t",       QString::number(sceneSeconds),
                                    "-i",       film,
                                    "-vf",      "fps=1:round=up",
                                    "-f",       "null",
                                    "-"};
        if (QProcess::execute("ffmpeg", arguments) != 0)
            throw std::runtime_error("ffmpeg fails on " + film.toStdString());
    }
    return childrenUserSeconds() - before;
}

void measure()
{
    using namespace std::chrono_literals;
    const QString film = exportFilm("1080p");
    constexpr int rounds = 3;
    std::vector<double> ratios;
    for (int round = 0; round < rounds; ++round) {
        const double reader = costOfReader(film, scenes, 0s).userSeconds;
        const double ffmpeg = userSecondsOfFfmpeg(film);
        std::printf("%d scenes: reader %.2f s, ffmpeg %.2f s of processor time\n", scenes, reader, ffmpeg);
        std::fflush(stdout);
        ratios.push_back(reader / ffmpeg);
    }
    printFigure("reader_decode_cpu_vs_ffmpeg", median(ratios));

    const ReaderCost cost = costOfReader(film, scenes, 30s);
    printFigure("reader_idle_cpu", cost.idleSecondsPerMinute);
    printFigure("reader_peak_mb", cost.peakMegabytes);
    printFigure("reader_peak_4k_mb", costOfReader(exportFilm("4k"), 2, 0s).peakMegabytes);
}

} // namespace

int main()
{
    try {
        measure();
    } catch (const std::exception &error) {
        std::fprintf(stderr, "%s\n", error.what());
        return EXIT_FAILURE;
    }
    return EXIT_SUCCESS;
}
