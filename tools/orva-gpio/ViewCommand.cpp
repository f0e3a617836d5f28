// "view": the LEDs, light levels, buttons and detectors of a simulated board that another process
// drives in a sandbox directory (orva-gpio run, or the tool's own commands with --sandbox DIR
// --reuse), redrawn as its files change. On a terminal it is a full screen where keys press and
// release the buttons and toggle the detectors; otherwise it prints one line per change.
#include <CLI/CLI.hpp>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <map>
#include <memory>
#include <poll.h>
#include <set>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <unistd.h>

#include "BoardView.h"
#include "CommandRegistry.h"
#include "Options.h"
#include "orva/platform.h"
#include "orva/sim/SimBoard.h"

// Last: its colour macros would rename the library's colour enumerators.
#include <curses.h>

namespace orva::tool {

namespace {

using view::Item;
using view::ItemKind;
using view::Reading;

struct ViewOptions {
    int forMs = -1;      // stop after this long (-1: until q, Ctrl-C or SIGTERM)
    bool plain = false;  // plain text lines even on a terminal
};

volatile sig_atomic_t gStop = 0;
void requestStop(int) { gStop = 1; }

// Milliseconds of wall-clock time. The monotonic clocks of this process follow the sandbox's
// virtual clock, which stands still while the view waits.
long long realNowMs() {
    timespec now {};
    clock_gettime(CLOCK_REALTIME, &now);
    return static_cast<long long>(now.tv_sec) * 1000 + now.tv_nsec / 1000000;
}

// The board, its items and their last readings, and the inotify watches on their directories.
class LiveBoard {
public:
    LiveBoard(const orva::sim::BoardProfile& profile, std::vector<Item> items, const std::string& sandbox)
        : board_(profile, sandbox, true), items_(std::move(items)) {
        readings_.resize(items_.size());
        for (size_t index = 0; index < items_.size(); ++index) {
            for (const std::string& file : items_[index].files) users_[file].insert(index);
            if (items_[index].sharedMemory) sharedMemory_ = true;
        }
    }
    ~LiveBoard() {
        if (inotify_ >= 0) close(inotify_);
    }

    orva::sim::SimBoard& board() { return board_; }
    const std::vector<Item>& items() const { return items_; }
    const std::vector<Reading>& readings() const { return readings_; }
    bool hasSharedMemory() const { return sharedMemory_; }
    int fd() const { return inotify_; }

    // Watches every directory that holds a file of an item. Throws std::runtime_error.
    void watch() {
        inotify_ = inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
        if (inotify_ < 0) throw std::runtime_error(std::string("inotify_init1: ") + strerror(errno));
        std::set<std::string> directories;
        for (const auto& user : users_) directories.insert(user.first.substr(0, user.first.rfind('/')));
        for (const std::string& directory : directories) {
            const std::string real = board_.sandbox().root() + directory;
            // Files are replaced by rename (IN_MOVED_TO); a process may also remove or add one.
            const int wd = inotify_add_watch(inotify_, real.c_str(),
                                             IN_MOVED_TO | IN_CLOSE_WRITE | IN_CREATE | IN_DELETE | IN_MOVED_FROM);
            if (wd < 0) continue;  // the directory is missing: its items read as missing
            watched_[wd] = directory;
        }
    }

    // Reads every item again; the indices of those whose reading changed.
    std::vector<size_t> refreshAll() {
        std::vector<size_t> changed;
        for (size_t index = 0; index < items_.size(); ++index) {
            if (reread(index)) changed.push_back(index);
        }
        return changed;
    }

    // Drains the inotify queue and reads the items whose files changed; the changed indices, in
    // item order.
    std::vector<size_t> drainEvents() {
        std::set<size_t> touched;
        alignas(inotify_event) char buffer[8192];
        for (;;) {
            const ssize_t count = read(inotify_, buffer, sizeof(buffer));
            if (count <= 0) break;
            for (ssize_t at = 0; at < count;) {
                const auto* event = reinterpret_cast<const inotify_event*>(buffer + at);
                at += static_cast<ssize_t>(sizeof(inotify_event) + event->len);
                if (event->mask & IN_Q_OVERFLOW) {
                    for (size_t index = 0; index < items_.size(); ++index) touched.insert(index);
                    continue;
                }
                const auto directory = watched_.find(event->wd);
                if (directory == watched_.end() || event->len == 0) continue;
                const auto user = users_.find(directory->second + "/" + event->name);
                if (user != users_.end()) touched.insert(user->second.begin(), user->second.end());
            }
        }
        if (sharedMemory_) {
            for (size_t index = 0; index < items_.size(); ++index) {
                if (items_[index].sharedMemory) touched.insert(index);
            }
        }
        std::vector<size_t> changed;
        for (const size_t index : touched) {
            if (reread(index)) changed.push_back(index);
        }
        return changed;
    }

    bool reread(size_t index) {
        orva::sim::Sandbox& sandbox = board_.sandbox();
        const view::FileReader reader = [&sandbox](const std::string& path, bool& exists) {
            exists = sandbox.hasAttribute(path);
            return exists ? sandbox.value(path) : std::string();
        };
        Reading reading = view::readItem(items_[index], reader);
        const bool changed = !read_.count(index) || reading != readings_[index];
        readings_[index] = std::move(reading);
        read_.insert(index);
        return changed;
    }

private:
    orva::sim::SimBoard board_;
    std::vector<Item> items_;
    std::vector<Reading> readings_;
    std::set<size_t> read_;
    std::map<std::string, std::set<size_t>> users_;  // kernel path -> items that read it
    std::map<int, std::string> watched_;             // watch -> kernel directory
    int inotify_ = -1;
    bool sharedMemory_ = false;
};

// Waits for file changes, a key on stdin (watchKeys) or the end of --for; false when it is time to
// stop.
bool waitForChange(LiveBoard& live, bool watchKeys, long long deadlineMs, bool& keyReady) {
    pollfd fds[2] = {{live.fd(), POLLIN, 0}, {STDIN_FILENO, POLLIN, 0}};
    int waitMs = -1;
    if (live.hasSharedMemory()) waitMs = 200;  // the segment's bytes give no file event
    if (deadlineMs >= 0) {
        const long long left = deadlineMs - realNowMs();
        if (left <= 0) return false;
        waitMs = waitMs < 0 ? static_cast<int>(std::min<long long>(left, INT_MAX)) : std::min<int>(waitMs, static_cast<int>(left));
    }
    keyReady = false;
    const int ready = poll(fds, watchKeys ? 2 : 1, waitMs);
    if (gStop) return false;
    if (ready > 0 && watchKeys && (fds[1].revents & (POLLIN | POLLHUP))) keyReady = true;
    return true;
}

std::string header(const orva::sim::BoardProfile& profile, const std::string& root) {
    char sysid[16];
    snprintf(sysid, sizeof(sysid), "0x%04X", profile.sysid);
    return std::string("board ") + sysid + (profile.variant.empty() ? "" : " variant " + profile.variant) + ": " +
           profile.name + "\nsandbox " + root + "\n";
}

std::string plainLine(const Item& item, const Reading& reading) {
    std::string label = item.name;
    if (item.key != 0) label += " [" + std::string(1, item.key) + "]";
    return label + ": " + reading.text + "\n";
}

int runPlain(LiveBoard& live, const ViewOptions& options) {
    fputs(header(live.board().profile(), live.board().sandbox().root()).c_str(), stdout);
    live.refreshAll();
    for (size_t index = 0; index < live.items().size(); ++index) {
        fputs(plainLine(live.items()[index], live.readings()[index]).c_str(), stdout);
    }
    fputs("watching\n", stdout);
    fflush(stdout);
    const long long deadline = options.forMs < 0 ? -1 : realNowMs() + options.forMs;
    bool key = false;
    while (waitForChange(live, false, deadline, key)) {
        for (const size_t index : live.drainEvents()) {
            fputs(plainLine(live.items()[index], live.readings()[index]).c_str(), stdout);
        }
        fflush(stdout);
    }
    return 0;
}

// The full-screen view.
class Screen {
public:
    explicit Screen(LiveBoard& live) : live_(live) {
        initscr();
        cbreak();
        noecho();
        keypad(stdscr, TRUE);
        nodelay(stdscr, TRUE);
        curs_set(0);
        if (has_colors()) {
            start_color();
            use_default_colors();
            const short colours[] = {COLOR_BLACK, COLOR_RED, COLOR_GREEN, COLOR_YELLOW,
                                     COLOR_BLUE,  COLOR_MAGENTA, COLOR_CYAN, COLOR_WHITE};
            for (short k = 0; k < 8; ++k) init_pair(static_cast<short>(k + 1), COLOR_BLACK, colours[k]);
            colours_ = true;
        }
    }
    ~Screen() { endwin(); }

    void setStatus(const std::string& text) { status_ = text; }

    void draw() {
        erase();
        const orva::sim::BoardProfile& profile = live_.board().profile();
        char sysid[16];
        snprintf(sysid, sizeof(sysid), "0x%04X", profile.sysid);
        int row = 0;
        attron(A_BOLD);
        line(row++, std::string("orva-gpio view  board ") + sysid +
                        (profile.variant.empty() ? "" : " variant " + profile.variant) + "  " + profile.name);
        attroff(A_BOLD);
        line(row++, "sandbox " + live_.board().sandbox().root());
        const std::vector<Item>& items = live_.items();
        const std::vector<Reading>& readings = live_.readings();
        const struct {
            const char* title;
            std::vector<ItemKind> kinds;
        } sections[] = {{"LEDs", {ItemKind::Led, ItemKind::Ring}},
                        {"Levels", {ItemKind::Level}},
                        {"Buttons and detectors (key toggles)", {ItemKind::Button, ItemKind::Detector}},
                        {"Other files", {ItemKind::File}}};
        for (const auto& section : sections) {
            bool any = false;
            for (size_t index = 0; index < items.size(); ++index) {
                bool wanted = false;
                for (const ItemKind kind : section.kinds) wanted = wanted || items[index].kind == kind;
                if (!wanted) continue;
                if (!any) {
                    ++row;
                    attron(A_UNDERLINE);
                    line(row++, section.title);
                    attroff(A_UNDERLINE);
                    any = true;
                }
                drawItem(row++, items[index], readings[index]);
            }
        }
        ++row;
        line(row++, "q quits" + keysText());
        if (!status_.empty()) line(row++, status_);
        refresh();
    }

private:
    // Text at the cursor, cut at the right edge instead of wrapping onto the next row.
    static void text(const std::string& words) {
        int y = 0, x = 0;
        getyx(stdscr, y, x);
        (void)y;
        if (x < COLS) addnstr(words.c_str(), COLS - x);
    }
    static void line(int row, const std::string& words) {
        if (row >= LINES) return;
        move(row, 0);
        text(words);
    }

    std::string keysText() const {
        std::string text;
        for (const Item& item : live_.items()) {
            if (item.key != 0) text += std::string("  ") + item.key + " " + item.name;
        }
        return text;
    }

    // One LED as two character cells: its letter on its colour, bold at full level.
    void drawCell(const Cell& cell) {
        const char letter = view::cellLetters({cell})[0];
        int colour = 0;  // black
        switch (toupper(static_cast<unsigned char>(letter))) {
            case 'R': colour = 1; break;
            case 'G': colour = 2; break;
            case 'Y': colour = 3; break;
            case 'B': colour = 4; break;
            case 'M': colour = 5; break;
            case 'C': colour = 6; break;
            case 'W': colour = 7; break;
            default: break;
        }
        int y = 0, x = 0;
        getyx(stdscr, y, x);
        (void)y;
        if (x + 2 > COLS) return;
        const chtype look = (colours_ && letter != '.' ? COLOR_PAIR(colour + 1) : 0) |
                            (isupper(static_cast<unsigned char>(letter)) ? A_BOLD : 0);
        attron(look);
        addch(static_cast<chtype>(static_cast<unsigned char>(letter)));
        addch(' ');
        attroff(look);
    }

    void drawItem(int row, const Item& item, const Reading& reading) {
        std::string label = item.name;
        if (item.key != 0) label = std::string("[") + item.key + "] " + label;
        char column[32];
        snprintf(column, sizeof(column), "  %-18.18s ", label.c_str());
        line(row, column);
        switch (item.kind) {
            case ItemKind::Led:
                for (const Cell& cell : reading.cells) drawCell(cell);
                text(" " + reading.detail);
                break;
            case ItemKind::Ring:
                for (const Cell& cell : reading.cells) drawCell(cell);
                break;
            case ItemKind::Level: {
                constexpr int kWidth = 20;
                const int filled = reading.percent < 0 ? 0 : (reading.percent * kWidth + 50) / 100;
                addch('[');
                for (int k = 0; k < kWidth; ++k) addch(k < filled ? '#' : '.');
                text("] " + reading.text);
                break;
            }
            case ItemKind::Button:
            case ItemKind::Detector:
                if (reading.active) attron(A_REVERSE);
                text(reading.text);
                if (reading.active) attroff(A_REVERSE);
                break;
            case ItemKind::File:
                text(reading.text);
                break;
        }
    }

    LiveBoard& live_;
    std::string status_;
    bool colours_ = false;
};

int runScreen(LiveBoard& live, const ViewOptions& options) {
    live.refreshAll();
    Screen screen(live);
    screen.draw();
    const long long deadline = options.forMs < 0 ? -1 : realNowMs() + options.forMs;
    bool keyReady = false;
    while (waitForChange(live, true, deadline, keyReady)) {
        bool redraw = !live.drainEvents().empty();
        for (int key = getch(); key != ERR; key = getch()) {
            if (key == 'q' || key == 'Q') return 0;
            if (key == KEY_RESIZE) redraw = true;
            for (size_t index = 0; index < live.items().size(); ++index) {
                const Item& item = live.items()[index];
                if (item.key == 0 || key != item.key) continue;
                const bool active = !live.readings()[index].active;
                std::string what;
                const bool done = view::setInput(live.board(), item, active, what);
                const char* verb = item.kind == ItemKind::Button ? (active ? "pressed" : "released")
                                                                  : (active ? "activated" : "cleared");
                screen.setStatus(item.name + ": " + (done ? std::string(verb) + " (" + what + ")" : "cannot: " + what));
                live.reread(index);
                redraw = true;
            }
        }
        if (redraw) screen.draw();
    }
    return 0;
}

int runView(const GlobalOptions& global, const ViewOptions& options) {
    if (global.sandbox.empty()) throw UsageError{"view needs --sandbox DIR (the sandbox a process drives)"};
    struct stat info {};
    if (stat(global.sandbox.c_str(), &info) != 0 || !S_ISDIR(info.st_mode)) {
        throw UsageError{"no sandbox directory " + global.sandbox};
    }
    uint32_t sysid = global.board;
    std::string variant = global.variant;
    if (sysid == 0 && !view::readBoardMarker(global.sandbox, sysid, variant)) {
        throw UsageError{"sandbox " + global.sandbox + " does not say which board it serves (no board file): give --board SYSID"};
    }
    const orva::sim::BoardProfile profile = orva::sim::BoardProfile::load(sysid, variant);
    // The survey runs the library's faces on boards of its own, before this process attaches to
    // the sandbox (one sandbox per process).
    std::vector<Item> items = view::itemsFor(profile);
    try {
        view::applySurvey(items, surveySimulatedBoard(profile));
    } catch (const std::exception&) {
        // Without the survey the items keep the names of their files.
    }
    LiveBoard live(profile, std::move(items), global.sandbox);
    live.watch();

    struct sigaction stop {};
    stop.sa_handler = requestStop;
    sigaction(SIGINT, &stop, nullptr);
    sigaction(SIGTERM, &stop, nullptr);
    gStop = 0;
    const bool terminal = !options.plain && isatty(STDOUT_FILENO) == 1 && isatty(STDIN_FILENO) == 1;
    const int status = terminal ? runScreen(live, options) : runPlain(live, options);
    signal(SIGINT, SIG_DFL);
    signal(SIGTERM, SIG_DFL);
    return status;
}

void setupView(CLI::App& command, GlobalOptions& global, std::function<int()>& action) {
    auto options = std::make_shared<ViewOptions>();
    command.add_option("--for", options->forMs, "stop after MS milliseconds (default: until q or Ctrl-C)")
        ->check(CLI::Range(0, 24 * 60 * 60 * 1000));
    command.add_flag("--plain", options->plain, "print one line per change even on a terminal");
    action = [&global, options]() { return runView(global, *options); };
}

const CommandRegistration kView{
    {"view", "watch the LEDs and buttons of a simulated board in --sandbox DIR; keys press buttons", setupView}};

}  // namespace

}  // namespace orva::tool
