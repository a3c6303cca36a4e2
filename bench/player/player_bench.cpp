// A step and a seek of the engine against a bare loop on the same player core: from the command until the picture
// is drawn, in turns. Each figure is printed as "name value".

#include "bare_player.h"
#include "bench_film.h"
#include "bench_graph.h"
#include "figures.h"

#include "player/engine_player.h"
#include "util/media_time.h"

#include <QApplication>

#include <atomic>
#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <vector>

namespace {

/// Between two commands: the other player and this one's decoder come to rest.
constexpr int restMilliseconds = 60;

/// Milliseconds from `position`'s command until the last picture drawn for it.
double drawingTime(EnginePlayer &player, const std::atomic<double> &drawnAt, MediaTime position, SeekTo picture)
{
    const double start = steadyMilliseconds();
    SetPosition(position, picture);
    if (!player.settle())
        qFatal("the engine brings no picture");
    return drawnAt - start;
}

/// Milliseconds of each command, by the clock and of the processor.
struct Times {
    std::vector<double> clock;
    std::vector<double> processor;

    /// Runs a command that tells the milliseconds it took, after a rest.
    template <typename Command>
    void measure(Command command)
    {
        runEvents(restMilliseconds);
        const double used = processorMilliseconds();
        clock.push_back(command());
        processor.push_back(processorMilliseconds() - used);
    }
};

void report(const char *name, const Times &ours, const Times &bare)
{
    std::printf("# %s: engine %.2f ms (processor %.2f ms), bare loop %.2f ms (processor %.2f ms)\n", name,
                median(ours.clock), median(ours.processor), median(bare.clock), median(bare.processor));
    printFigure(name, median(ours.clock) / median(bare.clock));
}

} // namespace

int main(int argc, char *argv[])
{
    const QApplication application(argc, argv);
    std::setlocale(LC_NUMERIC, "C");
    const QString film = benchFilm();

    EnginePlayer player(makeBenchGraphSystem, QSize(benchPictureWidth, benchPictureHeight));
    player.openPaused(film);
    SetVideoRect(benchPictureWidth, benchPictureHeight);
    BarePlayer bare(film.toUtf8().constData(), benchPictureWidth, benchPictureHeight);

    // The picture is drawn on a thread of the surface's own, which this is called on.
    std::atomic<double> drawnAt = 0.0;
    QObject::connect(
        &benchSurface(), &VideoSurface::pictureDrawn, &benchSurface(), [&drawnAt] { drawnAt = steadyMilliseconds(); },
        Qt::DirectConnection);

    constexpr int steps = 100;
    // Some way into a group, so that a step that seeks has to pay for it.
    constexpr int stepsFrom = 400;
    const MediaTime start = static_cast<MediaTime>(stepsFrom / benchFilmRate * unitsPerSecond);
    player.seekTo(start);
    static_cast<void>(bare.seek(stepsFrom / benchFilmRate));
    Times ourSteps;
    Times bareSteps;
    for (int step = 1; step <= steps; ++step) {
        ourSteps.measure([&] {
            const MediaTime next = steppedPosition(GetPosition(), unitsPerSecond / fps, Duration);
            return drawingTime(player, drawnAt, next, SeekTo::NextPicture);
        });
        if (player.shownNumber() != stepsFrom + step)
            qFatal("step %d shows picture %d", step, player.shownNumber());
        bareSteps.measure([&] { return bare.stepForward(); });
    }
    report("step_forward_vs_mpv", ourSteps, bareSteps);

    constexpr int seeks = 50;
    std::mt19937 random(1);
    std::uniform_int_distribution<int> pictures(0, benchFilmPictures - 1);
    Times ourSeeks;
    Times bareSeeks;
    for (int seek = 0; seek < seeks; ++seek) {
        const int number = pictures(random);
        const double seconds = number / benchFilmRate;
        const auto seekOurs = [&] {
            ourSeeks.measure([&] {
                return drawingTime(player, drawnAt, static_cast<MediaTime>(seconds * unitsPerSecond), SeekTo::Time);
            });
        };
        const auto seekBare = [&] { bareSeeks.measure([&] { return bare.seek(seconds); }); };
        // Neither is always the first to come to a part of the film.
        if (seek % 2 == 0) {
            seekOurs();
            seekBare();
        } else {
            seekBare();
            seekOurs();
        }
        if (player.shownNumber() != number)
            qFatal("the seek to picture %d shows picture %d", number, player.shownNumber());
    }
    report("seek_vs_mpv", ourSeeks, bareSeeks);
    return EXIT_SUCCESS;
}
