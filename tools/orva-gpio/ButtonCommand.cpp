// "button NAME watch|press|release": polls one button or detector and prints its events as they
// come, or changes the simulated input the way the hardware would.
#include <cerrno>
#include <csignal>
#include <functional>
#include <memory>
#include <poll.h>

#include "Commands.h"
#include "orva/platform.h"
#include "orva/sim/SharedMemory.h"
#include "orva/sim/SimBoard.h"
#include "orva_gpio_utils/DCCableDetector.h"
#include "orva_gpio_utils/EnclosureDetButton.h"
#include "orva_gpio_utils/ResetButtonCase.h"
#include "orva_gpio_utils/ResetGPIOButtonCase.h"
#include "orva_gpio_utils/ResetShmemButtonCase.h"
#include "orva_gpio_utils/RingButton.h"

namespace orva::tool {

namespace {

using orva::sim::SharedMemory;

// The shared-memory reset button: byte 271 of segment 0x162F, 0 while pressed.
constexpr uint32_t kShmemResetBoard = 0xA564;
constexpr int kSegmentKey = orva::sim::kResetButtonSegmentKey;
constexpr size_t kButtonByte = 271;
constexpr int kResetHoldIntervalMs = 100;

// One input as the tool drives it: the library object behind it and where the simulated level lives.
class Input {
public:
    virtual ~Input() = default;
    virtual bool init(IButtonEventsObserver* observer, int holdInterval) = 0;
    virtual bool service() = 0;
    virtual bool exists() const = 0;
    // "RingButton on /proc/gpio/ring_btn"
    virtual std::string describe() const = 0;
    // Sets the simulated level; false (with a reason) when the board has no such input.
    virtual bool setSimulated(orva::sim::SimBoard& board, bool pressed, std::string& what) const = 0;
};

// Buttons and detectors on a "/proc/gpio/" entry; low-active, as the library reads them by default.
class ProcInput : public Input {
public:
    ProcInput(std::unique_ptr<BaseGPIOResetButton> button, const char* className)
        : button_(std::move(button)), className_(className) {}
    bool init(IButtonEventsObserver* observer, int holdInterval) override {
        return button_->init(observer, holdInterval);
    }
    bool service() override { return button_->service(); }
    bool exists() const override { return button_->exists(); }
    std::string describe() const override { return className_ + " on " + button_->getProcEntry(); }
    bool setSimulated(orva::sim::SimBoard& board, bool pressed, std::string& what) const override {
        const std::string path = button_->getProcEntry();
        if (!board.sandbox().hasAttribute(path)) {
            what = "the board has no " + path;
            return false;
        }
        board.sandbox().setValue(path, pressed ? "0" : "1");
        what = path + " = " + (pressed ? "0" : "1");
        return true;
    }

private:
    std::unique_ptr<BaseGPIOResetButton> button_;
    std::string className_;
};

// The reset button through ResetButtonCase, which picks the GPIO or the shared-memory button.
class ResetInput : public Input {
public:
    explicit ResetInput(uint32_t sysid) : shmem_(sysid == kShmemResetBoard) {}
    bool init(IButtonEventsObserver* observer, int holdInterval) override { return reset_.init(observer, holdInterval); }
    bool service() override { return reset_.service(); }
    bool exists() const override {
        // ResetButtonCase does not say; ask a button of the kind it picks (console mode: no segment).
        if (shmem_) return ResetShmemButtonCase(true).exists();
        return ResetGPIOButtonCase().exists();
    }
    std::string describe() const override {
        return shmem_ ? "ResetButtonCase with ResetShmemButtonCase on byte 271 of shared-memory segment 0x162F"
                      : "ResetButtonCase with ResetGPIOButtonCase on /proc/gpio/reset_btn";
    }
    bool setSimulated(orva::sim::SimBoard& board, bool pressed, std::string& what) const override {
        if (!shmem_) return ProcInput(std::make_unique<ResetGPIOButtonCase>(), "").setSimulated(board, pressed, what);
        if (!SharedMemory::exists(kSegmentKey)) {
            what = "no shared-memory segment 0x162F in this sandbox (start a watch on it first)";
            return false;
        }
        SharedMemory::setByte(kSegmentKey, kButtonByte, pressed ? 0 : 1);
        what = std::string("byte 271 of segment 0x162F = ") + (pressed ? "0" : "1");
        return true;
    }

private:
    bool shmem_;
    ResetButtonCase reset_;
};

struct ButtonEntry {
    const char* name;
    const char* description;
    std::function<std::unique_ptr<Input>(uint32_t sysid)> make;
};

const std::vector<ButtonEntry>& buttons() {
    static const std::vector<ButtonEntry> table = {
        {"reset", "reset button",
         [](uint32_t sysid) { return std::unique_ptr<Input>(new ResetInput(sysid)); }},
        {"ring", "ring button",
         [](uint32_t) { return std::unique_ptr<Input>(new ProcInput(std::make_unique<RingButton>(), "RingButton")); }},
        {"enclosure", "enclosure detector",
         [](uint32_t) {
             return std::unique_ptr<Input>(new ProcInput(std::make_unique<EnclosureDetButton>(), "EnclosureDetButton"));
         }},
        {"dc", "DC-cable detector",
         [](uint32_t) {
             return std::unique_ptr<Input>(new ProcInput(std::make_unique<DCCableDetector>(), "DCCableDetector"));
         }},
    };
    return table;
}

const ButtonEntry& findButton(const std::string& name) {
    for (const ButtonEntry& entry : buttons()) {
        if (name == entry.name) return entry;
    }
    throw UsageError{"unknown button '" + name + "'"};
}

struct WatchOptions {
    int forMs = -1;  // -1: until interrupted (live) or until the script is done
    int pollMs = 10;
    int holdMs = 100;
    bool holdGiven = false;
    int pressAtMs = -1;
    int releaseAtMs = -1;
    bool untilReleased = false;
    bool scripted() const { return pressAtMs >= 0 || releaseAtMs >= 0; }
};

// Longest time a watch takes, in ms: one day, so that a script's sums stay far inside int.
constexpr int kMaxWatchMs = 24 * 60 * 60 * 1000;

int parseMs(const std::vector<std::string>& words, size_t& index, const char* what) {
    if (index + 1 >= words.size()) throw UsageError{words[index] + " needs a value in milliseconds"};
    const int value = parseInt(words[++index], what);
    if (value < 0) throw UsageError{std::string("negative ") + what + ": " + words[index]};
    if (value > kMaxWatchMs) {
        throw UsageError{std::string(what) + " takes at most " + std::to_string(kMaxWatchMs) + " ms (one day): " + words[index]};
    }
    return value;
}

WatchOptions parseWatch(const std::vector<std::string>& words) {
    WatchOptions options;
    for (size_t i = 2; i < words.size(); ++i) {
        const std::string& word = words[i];
        if (word == "--for") {
            options.forMs = parseMs(words, i, "--for");
        } else if (word == "--poll") {
            options.pollMs = parseMs(words, i, "--poll");
            if (options.pollMs == 0) throw UsageError{"--poll needs at least 1 ms"};
        } else if (word == "--hold") {
            if (i + 1 >= words.size()) throw UsageError{"--hold needs a value in milliseconds"};
            options.holdMs = parseInt(words[++i], "--hold");  // negative: no held events
            options.holdGiven = true;
        } else if (word == "--press-at") {
            options.pressAtMs = parseMs(words, i, "--press-at");
        } else if (word == "--release-at") {
            options.releaseAtMs = parseMs(words, i, "--release-at");
        } else if (word == "--until-released") {
            options.untilReleased = true;
        } else {
            throw UsageError{"unknown watch option '" + word + "'"};
        }
    }
    if (options.pressAtMs >= 0 && options.releaseAtMs >= 0 && options.releaseAtMs <= options.pressAtMs) {
        throw UsageError{"--release-at must come after --press-at"};
    }
    if (options.scripted() && options.forMs < 0) {
        options.forMs = (options.releaseAtMs >= 0 ? options.releaseAtMs : options.pressAtMs + 500) + 100;
    }
    return options;
}

// Prints each event with the time since the watch started.
class PrintingObserver : public IButtonEventsObserver {
public:
    PrintingObserver(FILE* out, uint64_t startMs) : out_(out), startMs_(startMs) {}
    void onButtonPressed() override {
        ++presses;
        line("pressed");
    }
    void onButtonHeld(unsigned durationMs) override {
        ++holds;
        line("held " + std::to_string(durationMs) + " ms");
    }
    void onButtonReleased(unsigned durationMs) override {
        ++releases;
        line("released after " + std::to_string(durationMs) + " ms");
    }
    void line(const std::string& text) const {
        fprintf(out_, "[%6llu ms] %s\n", static_cast<unsigned long long>(nowMs() - startMs_), text.c_str());
        fflush(out_);
    }

    int presses = 0;
    int holds = 0;
    int releases = 0;

private:
    FILE* out_;
    uint64_t startMs_;
};

volatile sig_atomic_t gStop = 0;
void requestStop(int) { gStop = 1; }

// Real time passes while the virtual clock follows, so that another process can press the button.
void sleepRealMs(int ms) { poll(nullptr, 0, ms); }

int watch(const ButtonEntry& entry, Input& input, const WatchOptions& options, Context& context) {
    const uint32_t sysid = context.board->profile().sysid;
    const bool isReset = std::string(entry.name) == "reset";
    const int holdInterval = isReset ? kResetHoldIntervalMs : options.holdMs;
    PrintingObserver observer(context.out, nowMs());
    const bool initialised = input.init(&observer, options.holdMs);
    fprintf(context.out, "button %s: %s\n", entry.name, input.describe().c_str());
    if (!initialised) {
        fprintf(context.out, "button %s: init -> FAILED\n", entry.name);
        return 1;
    }
    if (!input.exists()) {
        fprintf(context.out, "button %s: board 0x%04X has no %s; nothing to watch\n", entry.name, sysid,
                entry.description);
        return 0;
    }
    std::string held = holdInterval < 0 ? "no held events" : "held events every " + std::to_string(holdInterval) + " ms";
    if (isReset && options.holdGiven) held += " (the reset button ignores --hold)";
    std::string span = options.forMs < 0 ? "until interrupted" : "for " + std::to_string(options.forMs) + " ms";
    fprintf(context.out, "button %s: init -> ok, %s; watching %s, polling every %d ms%s\n", entry.name, held.c_str(),
            span.c_str(), options.pollMs,
            options.scripted() ? " (virtual time, scripted input)" : " (real time)");
    fflush(context.out);

    struct sigaction stop {};
    stop.sa_handler = requestStop;
    sigaction(SIGINT, &stop, nullptr);
    sigaction(SIGTERM, &stop, nullptr);
    gStop = 0;

    bool pressDone = options.pressAtMs < 0;
    bool releaseDone = options.releaseAtMs < 0;
    int failures = 0;
    for (uint64_t elapsed = 0;;) {
        std::string what;
        if (!pressDone && elapsed >= static_cast<uint64_t>(options.pressAtMs)) {
            pressDone = true;
            if (!input.setSimulated(*context.board, true, what)) {
                observer.line("cannot press: " + what);
                return 1;
            }
            observer.line("input pressed (" + what + ")");
        }
        if (!releaseDone && elapsed >= static_cast<uint64_t>(options.releaseAtMs)) {
            releaseDone = true;
            if (!input.setSimulated(*context.board, false, what)) {
                observer.line("cannot release: " + what);
                return 1;
            }
            observer.line("input released (" + what + ")");
        }
        if (!input.service()) {
            ++failures;
            observer.line("read failed (see the log below)");
        }
        if (options.untilReleased && observer.releases > 0) break;
        if (options.forMs >= 0 && elapsed + options.pollMs > static_cast<uint64_t>(options.forMs)) break;
        if (!options.scripted()) sleepRealMs(options.pollMs);
        if (gStop) break;
        context.board->advanceMs(static_cast<uint64_t>(options.pollMs));
        elapsed += static_cast<uint64_t>(options.pollMs);
    }
    signal(SIGINT, SIG_DFL);
    signal(SIGTERM, SIG_DFL);
    fprintf(context.out, "button %s: %d press%s, %d held event%s, %d release%s\n", entry.name, observer.presses,
            observer.presses == 1 ? "" : "es", observer.holds, observer.holds == 1 ? "" : "s", observer.releases,
            observer.releases == 1 ? "" : "s");
    return failures == 0 ? 0 : 1;
}

}  // namespace

std::string buttonList() {
    std::string text;
    for (const ButtonEntry& entry : buttons()) text += std::string("  ") + entry.name + "\t" + entry.description + "\n";
    return text;
}

int runButtonCommand(const std::vector<std::string>& words, Context& context) {
    if (words.size() < 2) throw UsageError{"button needs a name and a verb"};
    const ButtonEntry& entry = findButton(words[0]);
    const std::string& verb = words[1];
    if (verb != "watch" && verb != "press" && verb != "release") {
        throw UsageError{"unknown verb '" + verb + "' for button " + entry.name};
    }
    if (context.board == nullptr) throw UsageError{"button needs a simulated board (--board SYSID)"};
    const uint32_t sysid = context.board->profile().sysid;
    std::unique_ptr<Input> input = entry.make(sysid);
    if (verb == "watch") return watch(entry, *input, parseWatch(words), context);

    if (words.size() > 2) throw UsageError{"button " + words[0] + " " + verb + " takes no options"};
    const bool press = verb == "press";
    if (!input->exists()) {
        fprintf(context.out, "button %s: board 0x%04X has no %s to %s\n", entry.name, sysid, entry.description,
                verb.c_str());
        return 1;
    }
    std::string what;
    if (!input->setSimulated(*context.board, press, what)) {
        fprintf(context.out, "button %s: cannot %s: %s\n", entry.name, verb.c_str(), what.c_str());
        return 1;
    }
    fprintf(context.out, "button %s: input %s (%s)\n", entry.name, press ? "pressed" : "released", what.c_str());
    return 0;
}

}  // namespace orva::tool
