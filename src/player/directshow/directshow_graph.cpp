#include "player/directshow/directshow_graph.h"

#include "player/directshow/directshow_session.h"
#include "player/session_roles.h"

#include <QWidget>

#include <cmath>
#include <type_traits>
#include <utility>

#include <mmsystem.h>

namespace {

class Event final : public MediaEvent {
public:
    explicit Event(const std::shared_ptr<DirectShowSession> &, Com<IMediaEvent> event) : m_event(std::move(event)) {}

private:
    Com<IMediaEvent> m_event;
};

class Picture final : public BasicVideo {
public:
    Picture(std::shared_ptr<DirectShowSession> session, Com<IBasicVideo> picture)
        : m_session(std::move(session)), m_picture(std::move(picture))
    {
    }

    std::int32_t sourceWidth() override
    {
        long width = 0;
        return SUCCEEDED(m_picture->get_SourceWidth(&width)) ? width : 0;
    }

    std::int32_t sourceHeight() override
    {
        long height = 0;
        return SUCCEEDED(m_picture->get_SourceHeight(&height)) ? std::abs(height) : 0;
    }

    // What the graph tells is cut to 100 ns, and some tell nothing.
    double averageTimePerFrame() override { return m_session->frameDuration(); }

private:
    std::shared_ptr<DirectShowSession> m_session;
    Com<IBasicVideo> m_picture;
};

class Window final : public VideoWindow {
public:
    Window(std::shared_ptr<DirectShowSession> session, Com<IVideoWindow> window)
        : m_session(std::move(session)), m_window(std::move(window))
    {
    }

    ~Window() override
    {
        m_window->put_Visible(OAFALSE);
        m_window->put_Owner(0);
    }

    Status setOwner(QWidget *owner) override
    {
        // The windows around the panel have no need of one of the system's own.
        owner->setAttribute(Qt::WA_DontCreateNativeAncestors);

        const auto window = static_cast<OAHWND>(owner->winId());
        const Status status = m_window->put_Owner(window);
        // The panel gets what is done with the mouse over the picture.
        if (SUCCEEDED(status))
            m_window->put_MessageDrain(window);
        m_owner = owner;
        return status;
    }

    Status setWindowStyle(std::uint32_t styleBits) override
    {
        return m_window->put_WindowStyle(static_cast<long>(styleBits));
    }

    Status setWindowPosition(int x, int y, int width, int height) override
    {
        const double scale = m_owner->devicePixelRatioF();
        const auto pixels = [scale](int length) { return std::lround(length * scale); };
        const QRect place(pixels(x), pixels(y), pixels(width), pixels(height));
        if (place == m_place)
            return statusOk;
        const Status status = m_window->SetWindowPosition(place.x(), place.y(), place.width(), place.height());
        if (SUCCEEDED(status)) {
            m_place = place;
            m_window->put_Visible(OATRUE);
        }
        return status;
    }

private:
    std::shared_ptr<DirectShowSession> m_session;
    Com<IVideoWindow> m_window;
    QWidget *m_owner = nullptr;
    QRect m_place; ///< the system's pixels
};

class Builder final : public GraphBuilder {
public:
    explicit Builder(Com<IGraphBuilder> graph) : m_session(std::make_shared<DirectShowSession>(std::move(graph))) {}

    Queried<MediaControl> queryControl() override
    {
        return query<SessionControl<DirectShowSession>, MediaControl, IMediaControl>(IID_IMediaControl);
    }
    Queried<MediaEvent> queryEvent() override { return query<Event, MediaEvent, IMediaEvent>(IID_IMediaEvent); }
    Queried<BasicVideo> queryBasicVideo() override { return query<Picture, BasicVideo, IBasicVideo>(IID_IBasicVideo); }
    Queried<MediaSeeking> querySeeking() override
    {
        return query<SessionSeeking<DirectShowSession>, MediaSeeking, IMediaSeeking>(IID_IMediaSeeking);
    }
    Queried<VideoWindow> queryVideoWindow() override
    {
        return query<Window, VideoWindow, IVideoWindow>(IID_IVideoWindow);
    }

private:
    Status doRenderFile(const QString &path) override { return m_session->render(path); }

    template <typename Body, typename Role, typename Interface>
    Queried<Role> query(REFIID identifier)
    {
        Com<Interface> asked;
        const Status status = ask(m_session->graph(), identifier, asked);
        if (FAILED(status))
            return {status, nullptr};
        // Some roles need nothing beside the session, which has their interface too.
        if constexpr (std::is_constructible_v<Body, decltype(m_session)>)
            return {status, std::make_unique<Body>(m_session)};
        else
            return {status, std::make_unique<Body>(m_session, std::move(asked))};
    }

    std::shared_ptr<DirectShowSession> m_session;
};

/// The system's first device.
const auto firstWaveDevice = reinterpret_cast<HWAVEOUT>(0);

} // namespace

DirectShowSystem::DirectShowSystem(std::unique_ptr<GraphSystem> successor) : m_successor(std::move(successor)) {}
DirectShowSystem::~DirectShowSystem() = default;

Status DirectShowSystem::initialize()
{
    return CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
}

void DirectShowSystem::uninitialize()
{
    CoUninitialize();
}

Queried<GraphBuilder> DirectShowSystem::createGraphBuilder()
{
    Com<IGraphBuilder> graph;
    const Status status = CoCreateInstance(CLSID_FilterGraph, nullptr, CLSCTX_INPROC_SERVER, IID_IGraphBuilder, &graph);
    if (FAILED(status))
        return {status, nullptr};
    return {status, std::make_unique<Builder>(std::move(graph))};
}

WaveLevel DirectShowSystem::waveVolume()
{
    DWORD level = 0;
    if (waveOutGetVolume(firstWaveDevice, &level) == MMSYSERR_NOERROR)
        return {LOWORD(level), HIWORD(level)};
    return m_level;
}

void DirectShowSystem::setWaveVolume(WaveLevel level)
{
    m_level = level;
    waveOutSetVolume(firstWaveDevice, static_cast<DWORD>(MAKELONG(level.left, level.right)));
}
