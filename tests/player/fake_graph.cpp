#include "fake_graph.h"

#include <algorithm>

namespace {

/// Every part of the graph but its builder.
class Part final : public MediaControl, public MediaSeeking, public BasicVideo, public VideoWindow {
public:
    explicit Part(FakeGraphSystem &system) : m_system(system) {}

    Status run() override
    {
        m_system.running = true;
        return m_system.step("run");
    }
    Status pause() override
    {
        m_system.running = false;
        return m_system.step("pause");
    }
    Status stop() override { return m_system.step("stop"); }

    Status setPositions(MediaTime current, SeekTo) override
    {
        m_system.position = std::clamp<MediaTime>(current, 0, m_system.duration);
        return m_system.step(QString("seek %1").arg(current));
    }
    MediaTime currentPosition() override { return m_system.position; }
    MediaTime duration() override { return m_system.duration; }
    Status setRate(double newRate) override
    {
        const Status status = m_system.step("rate");
        if (newRate == m_system.refusedRate)
            return statusFailure;
        m_system.rate = newRate;
        return status;
    }
    double rate() override { return m_system.rate; }

    std::int32_t sourceWidth() override { return m_system.width; }
    std::int32_t sourceHeight() override { return m_system.height; }
    double averageTimePerFrame() override { return m_system.frameSeconds; }

    Status setOwner(QWidget *) override { return m_system.step("owner"); }
    Status setWindowStyle(std::uint32_t) override { return m_system.step("style"); }
    Status setWindowPosition(int, int, int, int) override { return m_system.step("place"); }

private:
    FakeGraphSystem &m_system;
};

class Builder final : public GraphBuilder {
public:
    explicit Builder(FakeGraphSystem &system) : m_system(system)
    {
        ++m_system.graphsAlive;
        ++m_system.graphsBuilt;
        m_system.position = 0;
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
    Status renderFile(const QString &path) override
    {
        m_system.calls << "file " + path;
        return m_system.step("render");
    }

private:
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
