// The twenty positions of the speed track bar: does the film run at the rate of each, told by the numbers painted
// into its pictures against the clock, over ten seconds of film, and is there sound, told by a recording of what the
// sound server plays. Takes five and a half minutes. Each figure is printed as "name value".

#include "bench_film.h"
#include "bench_graph.h"
#include "figures.h"

#include "films/film_witness.h"
#include "player/engine_player.h"
#include "player/transport.h"

#include <QApplication>
#include <QProcess>

#include <algorithm>
#include <array>
#include <clocale>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <utility>

namespace {

constexpr int samplesPerSecond = 48'000;

/// What the sound server plays while this lives.
class Recording {
public:
    Recording()
    {
        m_recorder.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        m_recorder.start("parec", {"--device=@DEFAULT_MONITOR@", "--format=s16le", "--channels=1", "--latency-msec=50",
                                   "--rate=" + QString::number(samplesPerSecond)});
        if (!m_recorder.waitForReadyRead())
            qFatal("the sound server's output cannot be recorded");
        m_recorder.readAllStandardOutput();
    }
    ~Recording()
    {
        m_recorder.kill();
        m_recorder.waitForFinished();
    }

    /// The part of the time since the start, 0 to 1, in which something could be heard.
    [[nodiscard]] double audiblePart()
    {
        const QByteArray bytes = m_recorder.readAllStandardOutput();
        constexpr std::size_t windowSamples = samplesPerSecond / 10;
        // 40 decibels below full scale; the film's tone has 18.
        constexpr double quietest = 327.68;
        const std::size_t windows = static_cast<std::size_t>(bytes.size()) / sizeof(std::int16_t) / windowSamples;
        std::size_t audible = 0;
        for (std::size_t window = 0; window < windows; ++window) {
            std::array<std::int16_t, windowSamples> samples{};
            std::memcpy(samples.data(), bytes.constData() + window * sizeof samples, sizeof samples);
            double power = 0.0;
            for (const std::int16_t sample : samples)
                power += static_cast<double>(sample) * sample;
            audible += std::sqrt(power / windowSamples) >= quietest ? 1 : 0;
        }
        return windows > 0 ? static_cast<double>(audible) / static_cast<double>(windows) : 0.0;
    }

private:
    QProcess m_recorder;
};

/// A picture on the surface and when it was seen there first.
struct Sighting {
    int number = 0;
    double milliseconds = 0.0;
};

/// The first picture that comes up whose number is at least `number`.
Sighting waitForPicture(int number)
{
    VideoSurface &surface = benchSurface();
    constexpr double longestWait = 200'000.0;
    const double start = steadyMilliseconds();
    std::uint64_t drawn = surface.picturesDrawn();
    while (steadyMilliseconds() - start < longestWait) {
        constexpr int pollMilliseconds = 1;
        runEvents(pollMilliseconds);
        if (std::exchange(drawn, surface.picturesDrawn()) == surface.picturesDrawn())
            continue;
        const double now = steadyMilliseconds();
        if (const int shown = paintedFrameNumber(surface.picture()).value_or(-1); shown >= number)
            return {shown, now};
    }
    qFatal("picture %d does not come up", number);
}

} // namespace

int main(int argc, char *argv[])
{
    const QApplication application(argc, argv);
    std::setlocale(LC_NUMERIC, "C");
    EnginePlayer player(makeBenchGraphSystem);
    player.openPaused(benchFilm());
    SetVideoRect(benchPictureWidth, benchPictureHeight);

    double largestError = 0.0;
    int silent = 0;
    constexpr int slowest = -9;
    constexpr int fastest = 10;
    for (int position = slowest; position <= fastest; ++position) {
        Pause();
        player.seekTo(0);
        SetRate(trackBarRate(position));
        Play();
        // The sound's way through the filter and the server's buffer takes this long.
        constexpr double startUpSeconds = 1.0;
        const int from = static_cast<int>(std::ceil(startUpSeconds * speed * benchFilmRate));
        const Sighting first = waitForPicture(from);
        Recording recording;
        constexpr double filmSeconds = 10.0;
        const Sighting last = waitForPicture(first.number + static_cast<int>(filmSeconds * benchFilmRate));
        const double audible = recording.audiblePart();

        const double film = (last.number - first.number) / benchFilmRate;
        const double rate = film / ((last.milliseconds - first.milliseconds) / 1000.0);
        const double error = std::abs(rate / speed - 1.0) * 100.0;
        constexpr double audibleEnough = 0.9;
        largestError = std::max(largestError, error);
        silent += audible < audibleEnough ? 1 : 0;
        std::printf("# position %3d: rate %.1f, measured %.4f, off by %.2f %%, sound %.0f %% of the time\n", position,
                    speed, rate, error, audible * 100.0);
        std::fflush(stdout);
    }
    printFigure("rate_error_percent_max", largestError);
    printFigure("rate_silent_positions", silent);
    return EXIT_SUCCESS;
}
