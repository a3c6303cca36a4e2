#include "fake_graph.h"

#include <QFile>
#include <QTimer>

#include <algorithm>

namespace {

/// Every part of the graph but its builder.
class Part final : public MediaControl, public MediaSeeking, public BasicVideo, public VideoWindow {
public:
    explicit Part(FakeGraphSystem &system) : m_system(system)
    {
        m_landing.setSingleShot(true);
        m_landing.callOnTimeout(&m_landing, [this] { land(); });
    }

    Status run() override
    {
        m_system.stand(m_system.now(), true);
        return m_system.step("run");
    }
    Status pause() override
    {
        m_system.stand(m_system.now(), false);
        return m_system.step("pause");
    }
    Status stop() override { return m_system.step("stop"); }

    std::int32_t sourceWidth() override { return m_system.width; }
    std::int32_t sourceHeight() override { return m_system.height; }
    double averageTimePerFrame() override { return m_system.frameSeconds; }

    Status setOwner(QWidget *) override { return m_system.step("owner"); }
    Status setWindowStyle(std::uint32_t) override { return m_system.step("style"); }
    Status setWindowPosition(int, int, int, int) override { return m_system.step("place"); }

private:
    Status doSeek(MediaTime time, SeekTo) override
    {
        const Status status = m_system.step(QString("seek %1").arg(time));
        m_target = time;
        if (m_system.isLive)
            m_landing.start(0);
        else
            land();
        return status;
    }
    void land()
    {
        m_system.stand(m_target, m_system.running);
        settled();
    }
    bool doIsSettled() override { return !m_landing.isActive(); }
    bool doIsPaused() override { return !m_system.running; }
    double doPosition() override { return secondsOf(m_system.now()); }
    double doFrameDuration() override { return m_system.frameSeconds; }
    MediaTime doDuration() override { return m_system.duration; }
    Status doSetRate(double newRate) override
    {
        const Status status = m_system.step("rate");
        if (newRate == m_system.refusedRate)
            return statusFailure;
        m_system.stand(m_system.now(), m_system.running);
        m_system.rate = newRate;
        return status;
    }
    double doRate() override { return m_system.rate; }

    FakeGraphSystem &m_system;
    QTimer m_landing;
    MediaTime m_target = 0;
};

class Builder final : public GraphBuilder {
public:
    explicit Builder(FakeGraphSystem &system) : m_system(system)
    {
        ++m_system.graphsAlive;
        ++m_system.graphsBuilt;
        m_system.stand(0, false);
    }
    ~Builder() override { --m_system.graphsAlive; }

    Queried<MediaControl> queryControl() override { return answer<MediaControl>("control"); }
    Queried<BasicVideo> queryBasicVideo() override { return answer<BasicVideo>("picture"); }
    Queried<MediaSeeking> querySeeking() override { return answer<MediaSeeking>("seeking"); }
    Queried<VideoWindow> queryVideoWindow() override { return answer<VideoWindow>("window"); }
    Queried<MediaEvent> queryEvent() override
    {
        const Status status = m_system.step("event");
        return {status, failed(status) ? nullptr : std::make_unique<MediaEvent>()};
    }

private:
    Status doRenderFile(const QString &path) override
    {
        m_system.calls << "file " + path;
        QFile file(path);
        const bool isText = m_system.isLive && file.open(QIODevice::ReadOnly) && !file.read(1000).contains('\0');
        return isText ? statusFailure : m_system.step("render");
    }

    template <typename Interface>
    Queried<Interface> answer(const QString &name)
    {
        const Status status = m_system.step(name);
        return {status, failed(status) ? nullptr : std::make_unique<Part>(m_system)};
    }

    FakeGraphSystem &m_system;
};

} // namespace

Status FakeGraphSystem::initialize()
{
    const Status status = step("initialize");
    if (!failed(status))
        ++initialized;
    return status;
}

Queried<GraphBuilder> FakeGraphSystem::createGraphBuilder()
{
    const Status status = step("create");
    return {status, failed(status) ? nullptr : std::make_unique<Builder>(*this)};
}

Status FakeGraphSystem::step(const QString &name)
{
    calls << name;
    const auto found = statuses.find(name);
    return found == statuses.end() ? statusOk : found->second;
}

int FakeGraphSystem::shownNumber() const
{
    return graphsAlive > 0 ? static_cast<int>(frameNumber(now(), 1.0 / frameSeconds)) : -1;
}

void FakeGraphSystem::stand(MediaTime newPosition, bool runs)
{
    // What stands, stands on a picture.
    const auto frame = mediaTimeAt(frameSeconds);
    position = isLive && !runs ? std::min(newPosition, duration - 1) / frame * frame : newPosition;
    running = runs;
    sinceRun.start();
}

MediaTime FakeGraphSystem::now() const
{
    const double elapsed = isLive && running ? static_cast<double>(sinceRun.nsecsElapsed()) / 100.0 * rate : 0.0;
    return std::min(position + static_cast<MediaTime>(elapsed), duration - 1);
}
