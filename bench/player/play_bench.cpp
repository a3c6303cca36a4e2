// What playing costs in the main window, against the mpv program with a picture of the same size, drawn in software
// as well: processor seconds of 20 s of playing, in turns. The figure is printed as "name value".

#include "bench_film.h"
#include "figures.h"

#include <QCoreApplication>
#include <QFile>
#include <QProcess>

#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <thread>
#include <vector>

namespace {

/// Processor seconds, user's and system's, that a process and its ended children have used.
double processorSeconds(const QProcess &process)
{
    QFile file(QStringLiteral("/proc/%1/stat").arg(process.processId()));
    if (!file.open(QIODevice::ReadOnly))
        qFatal("a player has ended early");
    const QByteArray line = file.readAll();
    // After the program's name in parentheses: its state, and as the 12th to 15th fields the times.
    const QList<QByteArray> fields = line.mid(line.lastIndexOf(')') + 2).split(' ');
    double ticks = 0.0;
    for (int field = 11; field <= 14; ++field)
        ticks += fields.at(field).toDouble();
    return ticks / static_cast<double>(sysconf(_SC_CLK_TCK));
}

double secondsOfPlaying(const QProcess &process)
{
    const double before = processorSeconds(process);
    std::this_thread::sleep_for(std::chrono::seconds(20));
    return processorSeconds(process) - before;
}

void end(QProcess &process)
{
    process.kill();
    process.waitForFinished();
}

} // namespace

int main(int argc, char *argv[])
{
    const QCoreApplication application(argc, argv);
    const QString film = benchFilm();
    std::vector<double> ours;
    std::vector<double> theirs;
    constexpr int runs = 3;
    for (int run = 0; run < runs; ++run) {
        QProcess program;
        program.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        program.start(QCoreApplication::applicationDirPath() + "/../bin/play_host", {film});
        if (!program.waitForReadyRead())
            qFatal("the program does not play");
        const QList<QByteArray> size = program.readLine().simplified().split(' ');
        ours.push_back(secondsOfPlaying(program));
        end(program);

        QProcess player;
        player.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        player.start("mpv", {"--no-config", "--really-quiet", "--no-osc", "--vo=x11", "--hwdec=no", "--no-border",
                             QStringLiteral("--geometry=%1x%2+0+0").arg(size.value(0), size.value(1)), film});
        if (!player.waitForStarted())
            qFatal("mpv does not start");
        std::this_thread::sleep_for(std::chrono::seconds(4));
        theirs.push_back(secondsOfPlaying(player));
        end(player);
        std::printf("# picture %s x %s: program %.2f s, mpv %.2f s\n", size.value(0).constData(),
                    size.value(1).constData(), ours.back(), theirs.back());
        std::fflush(stdout);
    }
    printFigure("play_cpu_vs_mpv", median(ours) / median(theirs));
    return EXIT_SUCCESS;
}
