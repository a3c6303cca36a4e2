#include "bare_player.h"

#include "figures.h"

#include <QtGlobal>

#include <algorithm>
#include <array>
#include <chrono>
#include <string>
#include <utility>

namespace {

constexpr std::array<std::pair<const char *, const char *>, 9> coreOptions{{
    {"config", "no"},
    {"load-scripts", "no"},
    {"osc", "no"},
    {"osd-level", "0"},
    {"vo", "libmpv"},
    {"hwdec", "no"},
    {"hr-seek", "yes"},
    {"keep-open", "always"},
    {"pause", "yes"},
}};

} // namespace

BarePlayer::BarePlayer(const char *path, int width, int height)
    : m_core(mpv_create()), m_width(width), m_height(height),
      m_pixels(static_cast<std::size_t>(width) * static_cast<std::size_t>(height))
{
    for (const auto &[name, value] : coreOptions) {
        if (mpv_set_option_string(m_core.get(), name, value) < 0)
            qFatal("the player core knows no option %s=%s", name, value);
    }
    std::array parameters{mpv_render_param{MPV_RENDER_PARAM_API_TYPE, const_cast<char *>(MPV_RENDER_API_TYPE_SW)},
                          mpv_render_param{MPV_RENDER_PARAM_INVALID, nullptr}};
    mpv_render_context *context = nullptr;
    if (mpv_initialize(m_core.get()) < 0 || mpv_render_context_create(&context, m_core.get(), parameters.data()) < 0)
        qFatal("the player core does not start");
    m_context.reset(context);
    const auto onUpdate = [](void *data) {
        auto *player = static_cast<BarePlayer *>(data);
        const std::scoped_lock lock(player->m_mutex);
        player->m_updated = true;
        player->m_changed.notify_all();
    };
    mpv_render_context_set_update_callback(context, onUpdate, this);
    m_thread = std::thread(&BarePlayer::drawPictures, this);

    std::array<const char *, 3> load{"loadfile", path, nullptr};
    if (mpv_command(m_core.get(), load.data()) < 0)
        qFatal("the player core does not load %s", path);
    waitForEvent(MPV_EVENT_PLAYBACK_RESTART);
    waitForDrawing(1);
}

BarePlayer::~BarePlayer()
{
    mpv_render_context_set_update_callback(m_context.get(), nullptr, nullptr);
    {
        const std::scoped_lock lock(m_mutex);
        m_ended = true;
        m_changed.notify_all();
    }
    m_thread.join();
    m_context.reset();
}

double BarePlayer::stepForward()
{
    std::unique_lock lock(m_mutex);
    const std::uint64_t next = m_begun + 1;
    lock.unlock();
    const double start = steadyMilliseconds();
    std::array<const char *, 2> words{"frame-step", nullptr};
    mpv_command(m_core.get(), words.data());
    waitForDrawing(next);
    lock.lock();
    const double taken = m_drawnAt - start;
    lock.unlock();

    int paused = 0;
    while (mpv_get_property(m_core.get(), "pause", MPV_FORMAT_FLAG, &paused) >= 0 && !paused) {
        constexpr double pollSeconds = 0.001;
        mpv_wait_event(m_core.get(), pollSeconds);
    }
    return taken;
}

double BarePlayer::seek(double seconds)
{
    while (mpv_wait_event(m_core.get(), 0.0)->event_id != MPV_EVENT_NONE) {}
    std::unique_lock lock(m_mutex);
    const std::uint64_t next = m_begun + 1;
    lock.unlock();
    const std::string target = std::to_string(seconds);
    const double start = steadyMilliseconds();
    std::array<const char *, 4> words{"seek", target.c_str(), "absolute+exact", nullptr};
    mpv_command(m_core.get(), words.data());
    waitForEvent(MPV_EVENT_PLAYBACK_RESTART);
    lock.lock();
    const std::uint64_t awaited = std::max(next, m_begun);
    lock.unlock();
    waitForDrawing(awaited);
    lock.lock();
    return m_drawnAt - start;
}

void BarePlayer::waitForEvent(mpv_event_id event)
{
    constexpr double longestWaitSeconds = 60.0;
    for (;;) {
        const mpv_event_id reached = mpv_wait_event(m_core.get(), longestWaitSeconds)->event_id;
        if (reached == event)
            return;
        if (reached == MPV_EVENT_NONE || reached == MPV_EVENT_END_FILE || reached == MPV_EVENT_SHUTDOWN)
            qFatal("the player core brings no picture");
    }
}

void BarePlayer::waitForDrawing(std::uint64_t pictures)
{
    std::unique_lock lock(m_mutex);
    constexpr std::chrono::seconds longestWait(10);
    if (!m_changed.wait_for(lock, longestWait, [&] { return m_drawn >= pictures; }))
        qFatal("the player core draws no picture");
}

void BarePlayer::drawPictures()
{
    std::unique_lock lock(m_mutex);
    for (;;) {
        m_changed.wait(lock, [this] { return m_updated || m_ended; });
        if (m_ended)
            return;
        m_updated = false;
        lock.unlock();
        const bool ready = mpv_render_context_update(m_context.get()) & MPV_RENDER_UPDATE_FRAME;
        lock.lock();
        if (!ready)
            continue;

        mpv_render_frame_info info{};
        mpv_render_context_get_info(m_context.get(), {MPV_RENDER_PARAM_NEXT_FRAME_INFO, &info});
        constexpr std::uint64_t shownBefore = MPV_RENDER_FRAME_INFO_REDRAW | MPV_RENDER_FRAME_INFO_REPEAT;
        const bool isNew = (info.flags & MPV_RENDER_FRAME_INFO_PRESENT) && !(info.flags & shownBefore);
        m_begun += isNew ? 1 : 0;
        lock.unlock();
        std::array<int, 2> size{m_width, m_height};
        std::size_t stride = static_cast<std::size_t>(m_width) * sizeof(std::uint32_t);
        std::array parameters{mpv_render_param{MPV_RENDER_PARAM_SW_SIZE, size.data()},
                              mpv_render_param{MPV_RENDER_PARAM_SW_FORMAT, const_cast<char *>("bgr0")},
                              mpv_render_param{MPV_RENDER_PARAM_SW_STRIDE, &stride},
                              mpv_render_param{MPV_RENDER_PARAM_SW_POINTER, m_pixels.data()},
                              mpv_render_param{MPV_RENDER_PARAM_INVALID, nullptr}};
        mpv_render_context_render(m_context.get(), parameters.data());
        mpv_render_context_report_swap(m_context.get());
        lock.lock();
        if (isNew) {
            ++m_drawn;
            m_drawnAt = steadyMilliseconds();
            m_changed.notify_all();
        }
    }
}
