// From a program's start to its window on the screen, and to the whole picture in it, in turns with
// an empty window of the toolkit and with one that has a word in it. Needs an empty X display
// without a window manager; bench/start/start brings one. Then how often the standing window wakes.
// StartBench ROUNDS PROGRAM EMPTY WORD
#include "bench/Result.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <memory>
#include <spawn.h>
#include <string>
#include <string_view>
#include <sys/resource.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>
#include <xcb/xcb.h>

namespace {

using Clock = std::chrono::steady_clock;
using Milliseconds = std::chrono::duration<double, std::milli>;
using namespace std::chrono_literals;

constexpr auto patience = 20s;
constexpr auto glance = 300us; // between two looks at the screen
constexpr int16_t looksAt = 300;
constexpr uint32_t black = 0;
constexpr uint32_t editorGround = 0xffffff; // the program's frame is grey
constexpr double mark = 1.5;
constexpr auto settling = 2s;
constexpr auto idling = 5s;
constexpr double caretWakeUps = 8; // two blinks a second: the timer, and the server's answers

/// A spot of the screen that every first window covers, and the program's editor in it.
class Screen {
public:
    Screen() : m_connection(xcb_connect(nullptr, nullptr), xcb_disconnect) {
        if (xcb_connection_has_error(m_connection.get()))
            fail("no display");
        m_root = xcb_setup_roots_iterator(xcb_get_setup(m_connection.get())).data->root;
        // Black, so that whatever a window paints differs.
        xcb_change_window_attributes(m_connection.get(), m_root, XCB_CW_BACK_PIXEL, &black);
        xcb_clear_area(m_connection.get(), 0, m_root, 0, 0, 0, 0);
        xcb_flush(m_connection.get());
    }

    uint32_t colour() const {
        const auto cookie = xcb_get_image(m_connection.get(), XCB_IMAGE_FORMAT_Z_PIXMAP, m_root,
                                          looksAt, looksAt, 1, 1, 0xffffff);
        const auto release = [](void* memory) { std::free(memory); };
        const std::unique_ptr<xcb_get_image_reply_t, decltype(release)> reply(
            xcb_get_image_reply(m_connection.get(), cookie, nullptr), release);
        if (!reply)
            fail("the screen cannot be read");
        const uint8_t* pixel = xcb_get_image_data(reply.get());
        return pixel[0] | static_cast<uint32_t>(pixel[1]) << 8 |
               static_cast<uint32_t>(pixel[2]) << 16;
    }

    /// Gives all windows of the screen's first level the keyboard, one after the other.
    void focusWindows() const {
        const auto release = [](void* memory) { std::free(memory); };
        const std::unique_ptr<xcb_query_tree_reply_t, decltype(release)> tree(
            xcb_query_tree_reply(m_connection.get(), xcb_query_tree(m_connection.get(), m_root),
                                 nullptr),
            release);
        if (!tree)
            fail("the screen cannot be read");
        const xcb_window_t* windows = xcb_query_tree_children(tree.get());
        for (int i = 0; i < xcb_query_tree_children_length(tree.get()); ++i) {
            const std::unique_ptr<xcb_get_window_attributes_reply_t, decltype(release)> window(
                xcb_get_window_attributes_reply(
                    m_connection.get(), xcb_get_window_attributes(m_connection.get(), windows[i]),
                    nullptr),
                release);
            if (window && window->map_state == XCB_MAP_STATE_VIEWABLE)
                xcb_set_input_focus(m_connection.get(), XCB_INPUT_FOCUS_PARENT, windows[i],
                                    XCB_CURRENT_TIME);
        }
        xcb_flush(m_connection.get());
    }

    [[noreturn]] static void fail(const char* why) {
        std::fprintf(stderr, "%s\n", why);
        std::exit(1);
    }

private:
    std::unique_ptr<xcb_connection_t, decltype(&xcb_disconnect)> m_connection;
    xcb_window_t m_root = 0;
};

template <typename Predicate>
void waitUntil(const Screen& screen, Predicate isReached) {
    const auto end = Clock::now() + patience;
    while (!isReached(screen.colour())) {
        if (Clock::now() > end)
            Screen::fail("the window does not come or go");
        timespec pause{0, std::chrono::nanoseconds(glance).count()};
        nanosleep(&pause, nullptr);
    }
}

bool isBlank(uint32_t colour) {
    return colour == black;
}

bool isPainted(uint32_t colour) {
    return colour != black;
}

bool isEditor(uint32_t colour) {
    return colour == editorGround;
}

double milliseconds(const timeval& time) {
    return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_usec) / 1e3;
}

struct Start {
    double window;    // ms to the window on the screen
    double picture;   // ms to the whole picture in it
    double processor; // ms of processor time until then, which a busy machine hardly lengthens
};

pid_t spawn(const char* program) {
    char* const arguments[] = {const_cast<char*>(program), nullptr};
    pid_t process = 0;
    if (posix_spawn(&process, program, nullptr, nullptr, arguments, environ) != 0)
        Screen::fail(std::strerror(errno));
    return process;
}

rusage end(pid_t process) {
    kill(process, SIGTERM);
    rusage used{};
    wait4(process, nullptr, 0, &used);
    return used;
}

Start measureStart(const Screen& screen, const char* program, bool (*isWhole)(uint32_t)) {
    waitUntil(screen, isBlank);
    const auto start = Clock::now();
    const pid_t process = spawn(program);
    waitUntil(screen, isPainted);
    const double window = Milliseconds(Clock::now() - start).count();
    waitUntil(screen, isWhole);
    const double picture = Milliseconds(Clock::now() - start).count();
    const rusage used = end(process);
    return {window, picture, milliseconds(used.ru_utime) + milliseconds(used.ru_stime)};
}

/// How often any of the process's threads has stopped waiting until now.
long wakeUps(pid_t process) {
    long sum = 0;
    const std::filesystem::path threads("/proc/" + std::to_string(process) + "/task");
    for (const auto& thread : std::filesystem::directory_iterator(threads)) {
        std::ifstream status(thread.path() / "status");
        for (std::string line; std::getline(status, line);) {
            constexpr std::string_view name = "voluntary_ctxt_switches:";
            if (line.starts_with(name))
                sum += std::stol(line.substr(name.size()));
        }
    }
    return sum;
}

/// Wake-ups a second of a window that nobody touches, without and with the keyboard.
void measureIdling(const Screen& screen, const char* program, const char* other) {
    double perSecond[2][2];
    const char* const programs[] = {program, other};
    for (int which = 0; which < 2; ++which) {
        waitUntil(screen, isBlank);
        const pid_t process = spawn(programs[which]);
        waitUntil(screen, isPainted);
        for (const bool hasFocus : {false, true}) {
            if (hasFocus)
                screen.focusWindows();
            std::this_thread::sleep_for(settling);
            const long before = wakeUps(process);
            std::this_thread::sleep_for(idling);
            perSecond[which][hasFocus] = static_cast<double>(wakeUps(process) - before) /
                                         std::chrono::duration<double>(idling).count();
        }
        end(process);
    }
    for (const bool hasFocus : {false, true}) {
        const char* const promise = hasFocus ? "idle, wake-ups a second while the caret blinks"
                                             : "idle, wake-ups a second without the keyboard";
        const double most = hasFocus ? caretWakeUps : 0.2;
        std::printf("%s: %.1f, empty window %.1f (mark %.1f)\n", promise, perSecond[0][hasFocus],
                    perSecond[1][hasFocus], most);
        kopertal::bench::record({.promise = promise,
                                 .figure = perSecond[0][hasFocus],
                                 .reference = "empty window",
                                 .referenceFigure = perSecond[1][hasFocus],
                                 .relation = "<=",
                                 .mark = most});
    }
}

double median(const std::vector<Start>& starts, double Start::*figure) {
    std::vector<double> values;
    values.reserve(starts.size());
    for (const Start& start : starts)
        values.push_back(start.*figure);
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

/// Without `relation` the reference is there to explain the figure.
void report(const char* promise, const std::vector<Start>& ours, const char* reference,
            const std::vector<Start>& others, double Start::*figure,
            const char* relation = nullptr) {
    const double our = median(ours, figure);
    const double other = median(others, figure);
    kopertal::bench::record({.promise = promise,
                             .figure = our,
                             .unit = "ms",
                             .reference = reference,
                             .referenceFigure = other,
                             .ratio = our / other,
                             .relation = relation,
                             .mark = mark});
    std::printf("%-34s median %6.1f ms, %s %6.1f ms, ratio %.2f\n", promise, our, reference, other,
                our / other);
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 5)
        Screen::fail("StartBench ROUNDS PROGRAM EMPTY WORD");
    const Screen screen;
    std::vector<Start> ours;
    std::vector<Start> empties;
    std::vector<Start> words;
    for (int round = -2; round < std::atoi(argv[1]); ++round) { // the first two fill the caches
        const Start our = measureStart(screen, argv[2], isEditor);
        const Start empty = measureStart(screen, argv[3], isPainted);
        const Start word = measureStart(screen, argv[4], isPainted);
        if (round >= 0) {
            ours.push_back(our);
            empties.push_back(empty);
            words.push_back(word);
        }
    }
    report("start to the window on the screen", ours, "empty window", empties, &Start::window,
           "<=");
    report("start to the whole picture", ours, "window with a word", words, &Start::picture, "<=");
    report("start to the whole picture", ours, "empty window", empties, &Start::picture);
    report("start, processor time", ours, "window with a word", words, &Start::processor);
    report("start, processor time", ours, "empty window", empties, &Start::processor);
    measureIdling(screen, argv[2], argv[3]);
    return 0;
}
