// From starting the program to its first painted window, against a program with an empty window, in turns. The
// screen is watched from outside: it is a colour that no program paints, until the middle of it changes. No window
// manager may run on it, whose own painting would count. The figure is printed as "name value".

#include "figures.h"

#include <sys/types.h>
#include <sys/wait.h>
#include <unistd.h>
#include <xcb/xcb.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <vector>

namespace {

constexpr std::uint32_t untouchedColour = 0x00FF00FF;

[[noreturn]] void fail(const char *what)
{
    std::fprintf(stderr, "startup_bench: %s\n", what);
    std::exit(EXIT_FAILURE);
}

class Screen {
public:
    Screen() : m_connection(xcb_connect(nullptr, nullptr))
    {
        if (xcb_connection_has_error(m_connection))
            fail("no display");
        m_screen = xcb_setup_roots_iterator(xcb_get_setup(m_connection)).data;
        if (m_screen->root_depth != 24)
            fail("the display must be 24 bits deep");
        xcb_change_window_attributes(m_connection, m_screen->root, XCB_CW_BACK_PIXEL, &untouchedColour);
    }
    ~Screen() { xcb_disconnect(m_connection); }
    Screen(const Screen &) = delete;
    Screen &operator=(const Screen &) = delete;

    void clear()
    {
        xcb_clear_area(m_connection, 0, m_screen->root, 0, 0, 0, 0);
        xcb_flush(m_connection);
    }

    /// True if nobody has painted the middle of the screen.
    [[nodiscard]] bool isUntouched()
    {
        const auto x = static_cast<std::int16_t>(m_screen->width_in_pixels / 2);
        const auto y = static_cast<std::int16_t>(m_screen->height_in_pixels / 2);
        constexpr std::uint32_t allPlanes = 0xFFFFFFFF;
        const auto request =
            xcb_get_image(m_connection, XCB_IMAGE_FORMAT_Z_PIXMAP, m_screen->root, x, y, 1, 1, allPlanes);
        const std::unique_ptr<xcb_get_image_reply_t, decltype(&std::free)> reply(
            xcb_get_image_reply(m_connection, request, nullptr), &std::free);
        if (!reply)
            fail("the screen cannot be read");
        const std::uint8_t *pixel = xcb_get_image_data(reply.get());
        return pixel[0] == 0xFF && pixel[1] == 0x00 && pixel[2] == 0xFF;
    }

private:
    xcb_connection_t *m_connection;
    xcb_screen_t *m_screen;
};

/// Milliseconds from starting `program` until it has painted the middle of the screen; it is ended then.
double paintingTime(Screen &screen, const char *program)
{
    constexpr useconds_t pollMicroseconds = 200;
    constexpr double longestWait = 10'000.0;
    for (const double waiting = steadyMilliseconds(); screen.clear(), !screen.isUntouched();) {
        if (steadyMilliseconds() - waiting > longestWait)
            fail("something else is in the middle of the screen");
        usleep(pollMicroseconds);
    }
    const double start = steadyMilliseconds();
    const pid_t process = fork();
    if (process == 0) {
        execl(program, program, static_cast<char *>(nullptr));
        _exit(127);
    }
    while (screen.isUntouched()) {
        if (waitpid(process, nullptr, WNOHANG) == process)
            fail("the program has ended without a window");
        if (steadyMilliseconds() - start > longestWait) {
            kill(process, SIGKILL);
            fail("the program shows no window");
        }
        usleep(pollMicroseconds);
    }
    const double taken = steadyMilliseconds() - start;
    kill(process, SIGTERM);
    waitpid(process, nullptr, 0);
    return taken;
}

} // namespace

int main(int argc, char *argv[])
{
    if (argc != 3)
        fail("usage: startup_bench PROGRAM EMPTY-PROGRAM");
    Screen screen;
    // The first start reads the files from the disk.
    paintingTime(screen, argv[1]);
    paintingTime(screen, argv[2]);
    constexpr int runs = 25;
    std::vector<double> program;
    std::vector<double> empty;
    for (int run = 0; run < runs; ++run) {
        program.push_back(paintingTime(screen, argv[1]));
        empty.push_back(paintingTime(screen, argv[2]));
    }
    std::printf("# startup: program %.1f ms, empty window %.1f ms\n", median(program), median(empty));
    printFigure("startup_vs_empty_qt", median(program) / median(empty));
    return EXIT_SUCCESS;
}
