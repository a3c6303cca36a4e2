#include "player/playback_engine.h"

#include <QWidget>

#include <cmath>

namespace {

GraphSystem *graphSystem = nullptr;
/// Where the session's graph is from: `graphSystem` or one that takes what that refuses.
GraphSystem *sessionSystem = nullptr;
PlayerDisplay *display = nullptr;

// The session's interfaces. The graph is declared first, so that it ends last.
std::unique_ptr<GraphBuilder> pGraph;
std::unique_ptr<MediaControl> pControl;
std::unique_ptr<MediaEvent> pEvent;
std::unique_ptr<MediaSeeking> g_pSeek;
std::unique_ptr<BasicVideo> pBasVid;
std::unique_ptr<VideoWindow> pVidWin;

/// Status of the last checked call.
Status hr = statusOk;

constexpr double normalRate = 1.0;

/// Child window with sibling clipping.
constexpr std::uint32_t childWindowStyle = 0x44000000;

/// Releases what the session holds and ends the library's use on this thread; nothing if it holds nothing.
void releaseSession()
{
    if (!pGraph)
        return;
    pVidWin.reset();
    g_pSeek.reset();
    pBasVid.reset();
    pEvent.reset();
    pControl.reset();
    pGraph.reset();
    sessionSystem->uninitialize();
    sessionSystem = nullptr;
}

/// Asks for one interface and keeps it; false with the text shown and the session released if it is refused.
template <typename Interface>
bool obtain(std::unique_ptr<Interface> &kept, Queried<Interface> queried, const char *failureText)
{
    hr = queried.status;
    kept = std::move(queried.object);
    if (!failed(hr) && kept)
        return true;
    display->showMessage(QString::fromLatin1(failureText));
    releaseSession();
    return false;
}

/// Builds the graph up to a picture in the panel. `placed` gets the status of placing it. False if the open has
/// failed; what failed has been shown and released.
bool buildGraph(GraphSystem &system, const QString &filePath, Status &placed)
{
    hr = system.initialize();
    if (failed(hr)) {
        display->showMessage(QStringLiteral("hdshow: CoInitialize() failure\n"));
        return false;
    }
    Queried<GraphBuilder> graph = system.createGraphBuilder();
    hr = graph.status;
    if (failed(hr) || !graph.object) {
        display->showMessage(QStringLiteral("hdshow: CoCreateInstance() failure\n"));
        system.uninitialize();
        return false;
    }
    sessionSystem = &system;
    pGraph = std::move(graph.object);

    if (!obtain(pControl, pGraph->queryControl(), "hdshow: unable to obtain IMediaControl interface\n"))
        return false;
    if (!obtain(pEvent, pGraph->queryEvent(), "hdshow: unable to obtain IMediaEvent interface\n"))
        return false;
    // The event interface's text serves the basic-video interface too.
    if (!obtain(pBasVid, pGraph->queryBasicVideo(), "hdshow: unable to obtain IMediaEvent interface\n"))
        return false;
    if (!obtain(g_pSeek, pGraph->querySeeking(), "Failed query interface"))
        return false;

    hr = pGraph->renderFile(filePath);
    if (GraphSystem *successor = failed(hr) ? system.successor() : nullptr) {
        releaseSession();
        return buildGraph(*successor, filePath, placed);
    }
    if (failed(hr)) {
        display->showMessage(QStringLiteral("Failed open file"));
        releaseSession();
        return false;
    }

    if (!obtain(pVidWin, pGraph->queryVideoWindow(), "Failed query interface 2"))
        return false;

    QWidget *panel = display->videoPanel();
    hr = pVidWin->setOwner(panel);
    if (hr != statusOk)
        display->showMessage(QStringLiteral("!=S_OK"));
    if (failed(hr)) {
        display->showMessage(QStringLiteral("Failed pin owner"));
        releaseSession();
        return false;
    }

    hr = pVidWin->setWindowStyle(childWindowStyle);
    if (failed(hr)) {
        display->showMessage(QStringLiteral("Failed WindowStyle"));
        releaseSession();
        return false;
    }

    placed = hr = pVidWin->setWindowPosition(0, 0, panel->width(), panel->height());
    if (placed != statusOk)
        display->showMessage(QStringLiteral("!=S_OK"));
    return true;
}

} // namespace

void initializeEngine(GraphSystem &system, PlayerDisplay &playerDisplay)
{
    graphSystem = &system;
    display = &playerDisplay;
}

void releaseEngine()
{
    if (!graphSystem)
        return;
    Teardown();
    releaseSession();
    graphSystem = nullptr;
    display = nullptr;
}

void Open(const QString &filePath)
{
    if (OPENED)
        Teardown();
    // An open that failed late leaves its interfaces standing.
    releaseSession();

    Status placed = statusOk;
    if (!buildGraph(*graphSystem, filePath, placed))
        return;

    srcWidth = pBasVid->sourceWidth();
    srcHeight = pBasVid->sourceHeight();
    // A stream without pictures is stepped through at the rate that holds before any film.
    constexpr double defaultFrameRate = 25.0;
    const double averageTimePerFrame = pBasVid->averageTimePerFrame();
    fps =
        averageTimePerFrame > 0.0 && std::isfinite(averageTimePerFrame) ? 1.0 / averageTimePerFrame : defaultFrameRate;
    speed = normalRate;
    (void)g_pSeek->setRate(speed);
    display->showNormalRate();

    if (failed(placed)) {
        display->showMessage(QStringLiteral("hdshow: unable to render "));
        return;
    }

    hr = pControl->run();
    PAUSED = false;
    OPENED = true;
    if (failed(hr)) {
        display->showMessage(QStringLiteral("hdshow: unable to run "));
        return;
    }

    Duration = GetDuration();
    display->showOpenedVideo(filePath);
    SetVolume(display->volumeBarLevel());
    display->showPlaying(true);
    display->restartFitting();
}

void Teardown()
{
    if (!OPENED)
        return;
    pControl->stop();
    releaseSession();
    OPENED = false;
}

void Play()
{
    if (!OPENED || !PAUSED)
        return;
    (void)pControl->run();
    PAUSED = false;
    display->showPlaying(true);
    display->restartFitting();
}

void Pause()
{
    if (!OPENED || PAUSED)
        return;
    (void)pControl->pause();
    PAUSED = true;
    display->showPlaying(false);
}

MediaTime GetPosition()
{
    return OPENED ? g_pSeek->currentPosition() : 0;
}

void SetPosition(MediaTime position, SeekTo picture)
{
    if (OPENED)
        g_pSeek->setPositions(position, picture);
}

bool IsSettled()
{
    return !OPENED || g_pSeek->isSettled();
}

MediaTime GetDuration()
{
    return OPENED ? g_pSeek->duration() : 0;
}

double GetRate()
{
    return OPENED ? g_pSeek->rate() : speed;
}

void SetRate(double rate)
{
    speed = rate;
    if (!OPENED)
        return;
    if (PAUSED) {
        (void)g_pSeek->setRate(rate);
        return;
    }
    (void)pControl->pause();
    hr = g_pSeek->setRate(rate);
    if (hr != statusOk) {
        display->showMessage(QStringLiteral("Error set rate"));
        display->showNormalRate();
        // A bar that moves back asks for the rate of its middle in turn.
        if (rate != normalRate)
            SetRate(normalRate);
    }
    (void)pControl->run();
}

std::uint16_t GetVolume()
{
    return (sessionSystem ? sessionSystem : graphSystem)->waveVolume().left;
}

void SetVolume(std::uint16_t level)
{
    for (GraphSystem *system = graphSystem; system; system = system->successor())
        system->setWaveVolume({level, level});
}

QString GraphName()
{
    return sessionSystem ? sessionSystem->name() : QString();
}

void SetVideoRect(int width, int height)
{
    if (OPENED)
        (void)pVidWin->setWindowPosition(0, 0, width, height);
}
