#include "player/mpv/mpv_graph.h"

#include "player/graph_system.h"
#include "player/session_roles.h"

#include <QWidget>

#include <clocale>
#include <utility>

namespace {

class Picture final : public BasicVideo {
public:
    explicit Picture(std::shared_ptr<MpvSession> session) : m_session(std::move(session)) {}
    std::int32_t sourceWidth() override { return m_session->film().width; }
    std::int32_t sourceHeight() override { return m_session->film().height; }
    double averageTimePerFrame() override { return m_session->frameDuration(); }

private:
    std::shared_ptr<MpvSession> m_session;
};

class Window final : public VideoWindow {
public:
    explicit Window(std::shared_ptr<MpvSession> session) : m_session(std::move(session)) {}
    ~Window() override { widget()->hide(); }

    Status setOwner(QWidget *owner) override
    {
        // The surface was made inside its panel: a core has to draw before its window is asked for.
        if (widget()->parentWidget() != owner)
            return statusFailure;
        widget()->show();
        return statusOk;
    }

    Status setWindowStyle(std::uint32_t) override { return statusOk; }

    Status setWindowPosition(int x, int y, int width, int height) override
    {
        widget()->setGeometry(x, y, width, height);
        return statusOk;
    }

private:
    [[nodiscard]] QWidget *widget() const { return m_session->surface().widget(); }

    std::shared_ptr<MpvSession> m_session;
};

template <typename Role, typename Interface>
Queried<Interface> role(const std::shared_ptr<MpvSession> &session)
{
    return {statusOk, std::make_unique<Role>(session)};
}

class Builder final : public GraphBuilder {
public:
    explicit Builder(std::shared_ptr<MpvSession> session) : m_session(std::move(session)) {}

    Queried<MediaControl> queryControl() override { return role<SessionControl<MpvSession>, MediaControl>(m_session); }
    Queried<MediaEvent> queryEvent() override { return {statusOk, std::make_unique<MediaEvent>()}; }
    Queried<BasicVideo> queryBasicVideo() override { return role<Picture, BasicVideo>(m_session); }
    Queried<MediaSeeking> querySeeking() override { return role<SessionSeeking<MpvSession>, MediaSeeking>(m_session); }
    Queried<VideoWindow> queryVideoWindow() override { return role<Window, VideoWindow>(m_session); }

private:
    Status doRenderFile(const QString &path) override { return m_session->render(path); }

    std::shared_ptr<MpvSession> m_session;
};

} // namespace

MpvGraphSystem::MpvGraphSystem(QWidget *panel, std::unique_ptr<VideoSurface> surface)
    : m_panel(panel), m_surface(surface ? std::move(surface) : createVideoSurface(panel))
{
    m_surface->widget()->hide();
}

MpvGraphSystem::~MpvGraphSystem() = default;

Status MpvGraphSystem::initialize()
{
    // The core reads and writes numbers with the C library and refuses to start under another locale.
    std::setlocale(LC_NUMERIC, "C");
    return statusOk;
}

Queried<GraphBuilder> MpvGraphSystem::createGraphBuilder()
{
    auto session = std::make_shared<MpvSession>(*m_surface);
    if (!session->isValid()) {
        session.reset();
        m_surface = createSoftwareSurface(m_panel);
        session = std::make_shared<MpvSession>(*m_surface);
    }
    if (!session->isValid())
        return {};
    session->sound().setLevel(m_level.left);
    m_session = session;
    return {statusOk, std::make_unique<Builder>(std::move(session))};
}

WaveLevel MpvGraphSystem::waveVolume()
{
    if (const auto session = m_session.lock())
        m_level.left = m_level.right = session->sound().level();
    return m_level;
}

void MpvGraphSystem::setWaveVolume(WaveLevel level)
{
    m_level = level;
    if (const auto session = m_session.lock())
        session->sound().setLevel(level.left);
}

std::unique_ptr<GraphSystem> createMpvGraphSystem(QWidget *panel)
{
    return std::make_unique<MpvGraphSystem>(panel);
}
