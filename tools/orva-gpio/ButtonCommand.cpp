// "button NAME watch|press|release|state": polls one button or detector and reports its events as
// they come, reads its state once, or changes the simulated input the way the hardware would.
#include <cerrno>
#include <csignal>
#include <functional>
#include <memory>
#include <poll.h>

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include "CommandRegistry.h"
#include "Commands.h"
#include "LedCommand.h"
#include "Session.h"
#include "orva/platform.h"
#if ORVA_TOOL_SIMULATOR
#include "orva/sim/SharedMemory.h"
#include "orva/sim/SimBoard.h"
#endif
#include "orva_gpio_utils/DCCableDetector.h"
#include "orva_gpio_utils/EnclosureDetButton.h"
#include "orva_gpio_utils/ResetButtonCase.h"
#include "orva_gpio_utils/ResetGPIOButtonCase.h"
#include "orva_gpio_utils/ResetShmemButtonCase.h"
#include "orva_gpio_utils/RingButton.h"

namespace orva::tool {

namespace {

// The shared-memory reset button: byte 271 of segment 0x162F, 0 while pressed.
constexpr uint32_t kShmemResetBoard = 0xA564;
constexpr size_t kButtonByte = 271;
constexpr int kResetHoldIntervalMs = 100;

// Longest time a watch takes, in ms: one day, so that a script's sums stay far inside int.
constexpr int kMaxWatchMs = 24 * 60 * 60 * 1000;

// One input as the tool drives it: the library object behind it and where the simulated level lives.
class Input {
public:
    virtual ~Input() = default;
    virtual bool init(IButtonEventsObserver* observer, int holdInterval) = 0;
    virtual bool service() = 0;
    virtual bool exists() const = 0;
    // Initialises a button of the same kind and reads its level once.
    virtual bool readState(bool& pressed) = 0;
    // "RingButton on /proc/gpio/ring_btn"
    virtual std::string describe() const = 0;
    // Sets the simulated level; false (with a reason) when the board has no such input.
    virtual bool setSimulated(Context& context, bool pressed, std::string& what) const = 0;
};

// Buttons and detectors on a "/proc/gpio/" entry; low-active, as the library reads them by default.
class ProcInput : public Input {
public:
    ProcInput(std::function<std::unique_ptr<BaseGPIOResetButton>()> make, const char* className)
        : make_(std::move(make)), button_(make_()), className_(className) {}
    bool init(IButtonEventsObserver* observer, int holdInterval) override {
        return button_->init(observer, holdInterval);
    }
    bool service() override { return button_->service(); }
    bool exists() const override { return button_->exists(); }
    bool readState(bool& pressed) override {
        std::unique_ptr<BaseGPIOResetButton> button = make_();
        return button->init(nullptr, -1) && button->readValue(pressed);
    }
    std::string describe() const override { return className_ + " on " + button_->getProcEntry(); }
    bool setSimulated(Context& context, bool pressed, std::string& what) const override {
#if ORVA_TOOL_SIMULATOR
        const std::string path = button_->getProcEntry();
        if (!context.board->sandbox().hasAttribute(path)) {
            what = "the board has no " + path;
            return false;
        }
        context.board->sandbox().setValue(path, pressed ? "0" : "1");
        what = path + " = " + (pressed ? "0" : "1");
        return true;
#else
        (void)context;
        (void)pressed;
        what = "no simulator";
        return false;
#endif
    }

private:
    std::function<std::unique_ptr<BaseGPIOResetButton>()> make_;
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
    bool readState(bool& pressed) override {
        if (shmem_) {
            ResetShmemButtonCase button(false);
            return button.init(nullptr, -1) && button.readValue(pressed);
        }
        ResetGPIOButtonCase button;
        return button.init(nullptr, -1) && button.readValue(pressed);
    }
    std::string describe() const override {
        return shmem_ ? "ResetButtonCase with ResetShmemButtonCase on byte 271 of shared-memory segment 0x162F"
                      : "ResetButtonCase with ResetGPIOButtonCase on /proc/gpio/reset_btn";
    }
    bool setSimulated(Context& context, bool pressed, std::string& what) const override {
        if (!shmem_) {
            return ProcInput([] { return std::make_unique<ResetGPIOButtonCase>(); }, "").setSimulated(context, pressed, what);
        }
#if ORVA_TOOL_SIMULATOR
        using orva::sim::SharedMemory;
        constexpr int kSegmentKey = orva::sim::kResetButtonSegmentKey;
        if (!SharedMemory::exists(kSegmentKey)) {
            what = "no shared-memory segment 0x162F in this sandbox (start a watch on it first)";
            return false;
        }
        SharedMemory::setByte(kSegmentKey, kButtonByte, pressed ? 0 : 1);
        what = std::string("byte 271 of segment 0x162F = ") + (pressed ? "0" : "1");
        return true;
#else
        what = "no simulator";
        return false;
#endif
    }

private:
    bool shmem_;
    ResetButtonCase reset_;
};

struct ButtonEntry {
    const char* name;
    const char* description;
    std::function<std::unique_ptr<Input>(uint32_t sysid)> make;
    const char* keys;  // device-information keys read besides sysid (see Session::requireKeys)
};

const std::vector<ButtonEntry>& buttons() {
    static const std::vector<ButtonEntry> table = {
        {"dc", "DC-cable detector",
         [](uint32_t) {
             return std::unique_ptr<Input>(
                 new ProcInput([] { return std::make_unique<DCCableDetector>(); }, "DCCableDetector"));
         },
         "feature_battery"},
        {"enclosure", "enclosure detector",
         [](uint32_t) {
             return std::unique_ptr<Input>(
                 new ProcInput([] { return std::make_unique<EnclosureDetButton>(); }, "EnclosureDetButton"));
         },
         nullptr},
        {"reset", "reset button", [](uint32_t sysid) { return std::unique_ptr<Input>(new ResetInput(sysid)); },
         "hwrev@0xA551 hwrev@0xA554"},
        {"ring", "ring button",
         [](uint32_t) {
             return std::unique_ptr<Input>(new ProcInput([] { return std::make_unique<RingButton>(); }, "RingButton"));
         },
         nullptr},
    };
    return table;
}

const ButtonEntry& findButton(const std::string& name) {
    for (const ButtonEntry& entry : buttons()) {
        if (name == entry.name) return entry;
    }
    throw UsageError{"unknown button '" + name + "' (see 'orva-gpio button --help')"};
}

// The words of the command as CLI11 read them; checked and turned into numbers by parseWatch.
struct ButtonWords {
    std::string name;
    std::string verb;
    std::string forMs, pollMs, holdMs, pressAtMs, releaseAtMs;
    bool untilReleased = false;
};

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

int parseMs(const std::string& text, const char* what) {
    const int value = parseInt(text, what);
    if (value < 0) throw UsageError{std::string("negative ") + what + ": " + text};
    if (value > kMaxWatchMs) {
        throw UsageError{std::string(what) + " takes at most " + std::to_string(kMaxWatchMs) + " ms (one day): " + text};
    }
    return value;
}

WatchOptions parseWatch(const ButtonWords& words) {
    WatchOptions options;
    if (!words.forMs.empty()) options.forMs = parseMs(words.forMs, "--for");
    if (!words.pollMs.empty()) {
        options.pollMs = parseMs(words.pollMs, "--poll");
        if (options.pollMs == 0) throw UsageError{"--poll needs at least 1 ms"};
    }
    if (!words.holdMs.empty()) {
        options.holdMs = parseInt(words.holdMs, "--hold");  // negative: no held events
        options.holdGiven = true;
    }
    if (!words.pressAtMs.empty()) options.pressAtMs = parseMs(words.pressAtMs, "--press-at");
    if (!words.releaseAtMs.empty()) options.releaseAtMs = parseMs(words.releaseAtMs, "--release-at");
    options.untilReleased = words.untilReleased;
    if (options.pressAtMs >= 0 && options.releaseAtMs >= 0 && options.releaseAtMs <= options.pressAtMs) {
        throw UsageError{"--release-at must come after --press-at"};
    }
    if (options.scripted() && options.forMs < 0) {
        options.forMs = (options.releaseAtMs >= 0 ? options.releaseAtMs : options.pressAtMs + 500) + 100;
    }
    return options;
}

std::string timeText(uint64_t ms) {
    char text[32];
    snprintf(text, sizeof(text), "[%6llu ms]", static_cast<unsigned long long>(ms));
    return text;
}

// Reports each event with the time since the watch started.
class ReportingObserver : public IButtonEventsObserver {
public:
    ReportingObserver(Session& session, const char* name, uint64_t startMs)
        : session_(session), name_(name), startMs_(startMs) {}
    void onButtonPressed() override {
        ++presses;
        event("pressed", "pressed", -1);
    }
    void onButtonHeld(unsigned durationMs) override {
        ++holds;
        event("held", "held " + std::to_string(durationMs) + " ms", durationMs);
    }
    void onButtonReleased(unsigned durationMs) override {
        ++releases;
        event("released", "released after " + std::to_string(durationMs) + " ms", durationMs);
    }
    uint64_t elapsed() const { return nowMs() - startMs_; }
    void event(const char* kind, const std::string& text, long long durationMs) {
        nlohmann::json object{{"type", "event"}, {"command", "button"}, {"target", name_}, {"time_ms", elapsed()}, {"event", kind}};
        if (durationMs >= 0) object["duration_ms"] = durationMs;
        session_.result(timeText(elapsed()) + " " + text, object);
    }
    void note(const std::string& text) {
        session_.note(timeText(elapsed()) + " " + text, nlohmann::json{{"target", name_}, {"time_ms", elapsed()}});
    }

    int presses = 0;
    int holds = 0;
    int releases = 0;

private:
    Session& session_;
    const char* name_;
    uint64_t startMs_;
};

volatile sig_atomic_t gStop = 0;
void requestStop(int) { gStop = 1; }

// Real time passes (while the virtual clock follows), so that another process can press the button.
void sleepRealMs(int ms) { poll(nullptr, 0, ms); }

int watch(const ButtonEntry& entry, Input& input, const WatchOptions& options, Session& session) {
    Context& context = session.context();
    const bool isReset = std::string(entry.name) == "reset";
    const int holdInterval = isReset ? kResetHoldIntervalMs : options.holdMs;
    ReportingObserver observer(session, entry.name, nowMs());
    const bool initialised = input.init(&observer, options.holdMs);
    const std::string prefix = std::string("button ") + entry.name + ": ";
    session.note(prefix + input.describe(), nlohmann::json{{"target", entry.name}});
    if (!initialised) {
        session.result(prefix + "init -> FAILED",
                       nlohmann::json{{"command", "button"}, {"target", entry.name}, {"step", "init"}, {"ok", false}});
        return 1;
    }
    char sysid[16];
    snprintf(sysid, sizeof(sysid), "0x%04X", session.sysid());
    if (!input.exists()) {
        session.result(prefix + "board " + sysid + " has no " + entry.description + "; nothing to watch",
                       nlohmann::json{{"command", "button"}, {"target", entry.name}, {"step", "init"}, {"ok", true}, {"present", false}});
        return 0;
    }
    std::string held = holdInterval < 0 ? "no held events" : "held events every " + std::to_string(holdInterval) + " ms";
    if (isReset && options.holdGiven) held += " (the reset button ignores --hold)";
    const std::string span = options.forMs < 0 ? "until interrupted" : "for " + std::to_string(options.forMs) + " ms";
    session.result(prefix + "init -> ok, " + held + "; watching " + span + ", polling every " +
                       std::to_string(options.pollMs) + " ms" +
                       (options.scripted() ? " (virtual time, scripted input)" : " (real time)"),
                   nlohmann::json{{"command", "button"}, {"target", entry.name}, {"step", "init"}, {"ok", true}, {"present", true}});

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
            if (!input.setSimulated(context, true, what)) {
                observer.event("failed", "cannot press: " + what, -1);
                return 1;
            }
            observer.note("input pressed (" + what + ")");
        }
        if (!releaseDone && elapsed >= static_cast<uint64_t>(options.releaseAtMs)) {
            releaseDone = true;
            if (!input.setSimulated(context, false, what)) {
                observer.event("failed", "cannot release: " + what, -1);
                return 1;
            }
            observer.note("input released (" + what + ")");
        }
        if (!input.service()) {
            ++failures;
            observer.event("failed", "read failed", -1);
        }
        session.flush();
        if (options.untilReleased && observer.releases > 0) break;
        if (options.forMs >= 0 && elapsed + options.pollMs > static_cast<uint64_t>(options.forMs)) break;
        if (!options.scripted()) sleepRealMs(options.pollMs);
        if (gStop) break;
#if ORVA_TOOL_SIMULATOR
        if (context.board != nullptr) context.board->advanceMs(static_cast<uint64_t>(options.pollMs));
#endif
        elapsed += static_cast<uint64_t>(options.pollMs);
    }
    signal(SIGINT, SIG_DFL);
    signal(SIGTERM, SIG_DFL);
    session.result(prefix + std::to_string(observer.presses) + " press" + (observer.presses == 1 ? "" : "es") + ", " +
                       std::to_string(observer.holds) + " held event" + (observer.holds == 1 ? "" : "s") + ", " +
                       std::to_string(observer.releases) + " release" + (observer.releases == 1 ? "" : "s"),
                   nlohmann::json{{"type", "summary"}, {"command", "button"}, {"target", entry.name},
                                  {"presses", observer.presses}, {"held_events", observer.holds},
                                  {"releases", observer.releases}, {"ok", failures == 0}});
    return failures == 0 ? 0 : 1;
}

int state(const ButtonEntry& entry, Input& input, Session& session) {
    const std::string prefix = std::string("button ") + entry.name + ": ";
    nlohmann::json object{{"command", "button"}, {"target", entry.name}, {"step", "state"}};
    if (!input.exists()) {
        char sysid[16];
        snprintf(sysid, sizeof(sysid), "0x%04X", session.sysid());
        object["ok"] = true;
        object["present"] = false;
        session.result(prefix + "state -> board " + sysid + " has no " + entry.description, object);
        return 0;
    }
    bool pressed = false;
    const bool ok = input.readState(pressed);
    object["ok"] = ok;
    object["present"] = true;
    if (ok) object["pressed"] = pressed;
    session.result(prefix + "state -> " + (ok ? (pressed ? "pressed" : "released") : "FAILED"), object);
    return ok ? 0 : 1;
}

int setInput(const ButtonEntry& entry, Input& input, bool press, Session& session);

int runButton(const ButtonWords& words, GlobalOptions& global) {
    const ButtonEntry& entry = findButton(words.name);
    const std::string& verb = words.verb;
    if (verb != "watch" && verb != "press" && verb != "release" && verb != "state") {
        throw UsageError{"unknown verb '" + verb + "' for button " + entry.name + " (watch, press, release or state)"};
    }
    const bool watchOptions = !words.forMs.empty() || !words.pollMs.empty() || !words.holdMs.empty() ||
                              !words.pressAtMs.empty() || !words.releaseAtMs.empty() || words.untilReleased;
    if (verb != "watch" && watchOptions) throw UsageError{"button " + words.name + " " + verb + " takes no options"};
    const WatchOptions options = parseWatch(words);
    if ((verb == "press" || verb == "release" || options.scripted()) && global.board == 0) {
        throw UsageError{"button " + words.name + " " + verb +
                         (verb == "watch" ? " --press-at/--release-at" : "") +
                         " changes a simulated input: give --board SYSID"};
    }
    if (global.checkOnly) return 0;

    Session session(global);
    session.requireKeys(entry.keys, std::string("button ") + entry.name);
    std::unique_ptr<Input> input = entry.make(session.sysid());
    int status = 0;
    if (verb == "watch") {
        status = watch(entry, *input, options, session);
    } else if (verb == "state") {
        status = state(entry, *input, session);
    } else {
        status = setInput(entry, *input, verb == "press", session);
    }
    input.reset();  // its descriptors close: those calls are shown too
    return session.finish(status);
}

int setInput(const ButtonEntry& entry, Input& input, bool press, Session& session) {
    const std::string verb = press ? "press" : "release";
    const std::string prefix = std::string("button ") + entry.name + ": ";
    nlohmann::json object{{"command", "button"}, {"target", entry.name}, {"step", verb}};
    if (!input.exists()) {
        char sysid[16];
        snprintf(sysid, sizeof(sysid), "0x%04X", session.sysid());
        object["ok"] = false;
        object["present"] = false;
        session.result(prefix + "board " + sysid + " has no " + entry.description + " to " + verb, object);
        return 1;
    }
    std::string what;
    const bool ok = input.setSimulated(session.context(), press, what);
    object["ok"] = ok;
    object["detail"] = what;
    session.result(prefix + (ok ? std::string("input ") + (press ? "pressed" : "released") + " (" + what + ")"
                                : "cannot " + verb + ": " + what),
                   object);
    return ok ? 0 : 1;
}

void setupButton(CLI::App& command, GlobalOptions& global, std::function<int()>& action) {
    auto words = std::make_shared<ButtonWords>();
    command.add_option("NAME", words->name, "the button or detector (see below)")->required();
    command.add_option("VERB", words->verb, "watch, press, release or state")->required();
    command.add_option("--for", words->forMs, "watch: stop after MS (default: until Ctrl-C, or the script's end)")
        ->type_name("MS");
    command.add_option("--poll", words->pollMs, "watch: poll every MS (default 10)")->type_name("MS");
    command.add_option("--hold", words->holdMs, "watch: held events every MS (default 100; negative: none)")
        ->type_name("MS");
    command.add_option("--press-at", words->pressAtMs, "watch on virtual time: press the simulated input at MS")
        ->type_name("MS");
    command.add_option("--release-at", words->releaseAtMs, "watch on virtual time: release it at MS")->type_name("MS");
    command.add_flag("--until-released", words->untilReleased, "watch: stop after the first release");
    command.footer("NAME is one of:\n" + buttonList() +
                   "\nwatch    report pressed, held and released events as they come (real time; stop it with\n"
                   "         Ctrl-C or --for MS), or on virtual time with --press-at/--release-at\n"
                   "press    set the simulated input pressed (--board); with --sandbox DIR --reuse it reaches a\n"
                   "         watch running on DIR in another terminal\n"
                   "release  set the simulated input released\n"
                   "state    read the input once: pressed or released\n");
    action = [words, &global] { return runButton(*words, global); };
}

const CommandRegistration kButton{{"button", "a button or detector: button NAME watch|press|release|state", setupButton}};

}  // namespace

std::string buttonList() {
    std::string text;
    for (const ButtonEntry& entry : buttons()) {
        char line[120];
        snprintf(line, sizeof(line), "  %-12s %s\n", entry.name, entry.description);
        text += line;
    }
    return text;
}

std::vector<std::string> completeButton(const std::vector<std::string>& words) {
    if (words.size() <= 1) return buttonNames();
    if (words.size() == 2) return {"watch", "press", "release", "state"};
    if (words[1] != "watch") return {};
    const std::string& previous = words[words.size() - 2];
    if (previous == "--for" || previous == "--poll" || previous == "--hold" || previous == "--press-at" ||
        previous == "--release-at") {
        return {};
    }
    return {"--for", "--poll", "--hold", "--press-at", "--release-at", "--until-released"};
}

std::vector<std::string> buttonNames() {
    std::vector<std::string> names;
    for (const ButtonEntry& entry : buttons()) names.push_back(entry.name);
    return names;
}

}  // namespace orva::tool
