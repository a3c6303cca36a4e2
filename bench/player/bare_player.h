#pragma once

#include "player/mpv/mpv_handle.h"

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <thread>
#include <vector>

/// What somebody would write who had only a step and a seek to do: a player core whose pictures a thread draws into
/// memory with the core's software renderer, and its own commands, waited for with its own events.
class BarePlayer {
public:
    /// Opens the film, paused on its first picture; pictures are drawn `width` x `height` pixels large. Ends the
    /// program if that fails.
    BarePlayer(const char *path, int width, int height);
    ~BarePlayer();
    BarePlayer(const BarePlayer &) = delete;
    BarePlayer &operator=(const BarePlayer &) = delete;

    /// Milliseconds from the core's own step command until the next picture is drawn; returns when the core has
    /// come to rest.
    [[nodiscard]] double stepForward();

    /// Milliseconds from an exact seek to `seconds` until its picture is drawn.
    [[nodiscard]] double seek(double seconds);

private:
    void drawPictures();
    void waitForDrawing(std::uint64_t pictures);
    void waitForEvent(mpv_event_id event);

    MpvHandle m_core;
    MpvRenderContext m_context;
    int m_width;
    int m_height;
    std::vector<std::uint32_t> m_pixels;
    std::thread m_thread;

    std::mutex m_mutex;
    std::condition_variable m_changed;
    bool m_updated = false;
    bool m_ended = false;
    std::uint64_t m_begun = 0; ///< new pictures whose drawing has begun
    std::uint64_t m_drawn = 0; ///< new pictures drawn
    double m_drawnAt = 0.0;    ///< when the last of them was (steady milliseconds)
};
