// The hot operation of every LED face and button, each beside the least the same work can cost:
// the very system calls the operation makes, written by hand (descriptors the face keeps open
// are used as they are). Runs on real files: scripts/bench.sh builds the boards' attribute files
// on tmpfs inside a private mount namespace and starts this program there.
#include <benchmark/benchmark.h>
#include <sys/ipc.h>
#include <sys/shm.h>
#include <sys/statfs.h>
#include <fcntl.h>
#include <linux/magic.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <functional>
#include <map>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "CountingCalls.h"
#include "orva/platform.h"
#include "orva_gpio_utils/CompoundLedFace.h"
#include "orva_gpio_utils/DCCableDetector.h"
#include "orva_gpio_utils/EnclosureDetButton.h"
#include "orva_gpio_utils/GreenLedFace.h"
#include "orva_gpio_utils/Ktd2061LedFace.h"
#include "orva_gpio_utils/LedFace.h"
#include "orva_gpio_utils/LedGlow.h"
#include "orva_gpio_utils/LedIr.h"
#include "orva_gpio_utils/LedPower.h"
#include "orva_gpio_utils/LedSysfs.h"
#include "orva_gpio_utils/McuLedFace.h"
#include "orva_gpio_utils/MulticolorLedFace.h"
#include "orva_gpio_utils/ResetButtonCase.h"
#include "orva_gpio_utils/ResetGPIOButtonCase.h"
#include "orva_gpio_utils/ResetShmemButtonCase.h"
#include "orva_gpio_utils/RgbLedFace.h"
#include "orva_gpio_utils/RingButton.h"

using orva::bench::counters;
using orva::bench::Recorded;

namespace {

std::string boardsDirectory = "boards";

// The device-information keys of a board profile ("info KEY TYPE VALUE" lines, includes followed).
void readInfo(const std::string& file, std::map<std::string, std::pair<std::string, std::string>>& keys) {
    std::ifstream in(boardsDirectory + "/" + file);
    if (!in) {
        fprintf(stderr, "no board profile %s/%s\n", boardsDirectory.c_str(), file.c_str());
        exit(2);
    }
    std::string line;
    while (std::getline(in, line)) {
        std::istringstream words(line);
        std::string kind, key, type, value;
        words >> kind;
        if (kind == "include") {
            words >> key;
            readInfo(key, keys);
        } else if (kind == "info") {
            words >> key >> type >> value;
            keys[key] = {type, value};
        }
    }
}

void loadBoard(const std::string& file) {
    std::map<std::string, std::pair<std::string, std::string>> keys;
    readInfo(file, keys);
    orva::variant::Variant& info = orva::variant::CameraInfo::instance();
    info.Free();
    info.IsArray(false);
    for (const auto& [key, typed] : keys) {
        const auto& [type, value] = typed;
        if (type == "u64") {
            info[key] = static_cast<unsigned long long>(strtoull(value.c_str(), nullptr, 0));
        } else if (type == "i8") {
            info[key] = static_cast<signed char>(strtol(value.c_str(), nullptr, 0));
        } else if (type == "bool") {
            info[key] = value == "true" || value == "1";
        } else {
            info[key] = value;
        }
    }
}

// One operation of a face or button, in two forms that differ (a change every call), and the
// least work for the same result.
struct Case {
    std::string name;
    std::string board;
    std::function<bool(bool)> operation;  // the form alternates with each call
    std::vector<Recorded> calls[2];       // what each form made, recorded once
    bool poll = false;                    // a button poll: reads the clock before its read
};

std::vector<std::unique_ptr<Case>> cases;
std::vector<std::shared_ptr<void>> keptAlive;

// The recorded calls made again by hand: a file the operation opens is opened here too.
void replay(const std::vector<Recorded>& calls) {
    char buffer[64];
    int opened = -1;
    for (const Recorded& call : calls) {
        const int fd = opened >= 0 ? opened : call.fd;
        switch (call.kind) {
        case Recorded::Open: opened = ::open64(call.path.c_str(), call.flags, call.mode); break;
        case Recorded::Read: benchmark::DoNotOptimize(::pread64(fd, buffer, call.count, call.offset)); break;
        case Recorded::Write: benchmark::DoNotOptimize(::pwrite64(fd, call.bytes.data(), call.bytes.size(), call.offset)); break;
        case Recorded::Close:
            ::close(fd);
            opened = -1;
            break;
        }
    }
}

// The same calls with the work every face must do around them, written by hand: a number is
// made into text with the platform's format before its write; a read's bytes become a string
// that the platform trims and atoi converts; a poll reads the platform clock first. The gap
// between this and the operation is the library's own cost; the gap between this and the bare
// calls is the cost of the work that comes with the hardware's file format.
void replayPrescribed(const std::vector<Recorded>& calls, bool poll) {
    if (poll) benchmark::DoNotOptimize(nowMs());
    char buffer[16];
    int opened = -1;
    for (const Recorded& call : calls) {
        const int fd = opened >= 0 ? opened : call.fd;
        switch (call.kind) {
        case Recorded::Open: opened = ::open64(call.path.c_str(), call.flags, call.mode); break;
        case Recorded::Read: {
            memset(buffer, 0, sizeof(buffer));
            const ssize_t count = ::pread64(fd, buffer, call.count, call.offset);
            if (count > 0) {
                std::string text(buffer, static_cast<size_t>(count));
                orva::utils::trim(text);
                benchmark::DoNotOptimize(atoi(text.c_str()));
            }
            break;
        }
        case Recorded::Write: {
            // Decimal text is made from its number; other text (a chip's pattern) as a string.
            const char* recorded = call.bytes.c_str();
            const bool decimal = recorded[0] != '\0' && strspn(recorded, "0123456789") == strlen(recorded);
            const std::string text = decimal ? orva::utils::format("%d", atoi(recorded)) : orva::utils::format("%s", recorded);
            benchmark::DoNotOptimize(::pwrite64(fd, text.c_str(), text.size() + 1, call.offset));
            break;
        }
        case Recorded::Close:
            ::close(fd);
            opened = -1;
            break;
        }
    }
}

void report(benchmark::State& state, const orva::bench::Counters& before) {
    const double calls = static_cast<double>(state.iterations());
    state.counters["syscalls"] = static_cast<double>(counters.systemCalls - before.systemCalls) / calls;
    state.counters["allocs"] = static_cast<double>(counters.allocations - before.allocations) / calls;
}

void runOperation(benchmark::State& state, Case* c) {
    loadBoard(c->board);
    bool form = false;
    const orva::bench::Counters before = counters;
    for (auto _ : state) {
        form = !form;
        if (!c->operation(form)) {
            state.SkipWithError("the operation failed");
            break;
        }
    }
    report(state, before);
}

void runMinimum(benchmark::State& state, Case* c) {
    bool form = false;
    const orva::bench::Counters before = counters;
    for (auto _ : state) {
        form = !form;
        replay(c->calls[form ? 1 : 0]);
    }
    report(state, before);
}

void runPrescribed(benchmark::State& state, Case* c) {
    bool form = false;
    const orva::bench::Counters before = counters;
    for (auto _ : state) {
        form = !form;
        replayPrescribed(c->calls[form ? 1 : 0], c->poll);
    }
    report(state, before);
}

// Makes the face on its board, warms both forms up, records what each makes and registers the
// pair of benchmarks.
template <typename Subject>
void add(const std::string& name, const std::string& board, std::function<bool(Subject&)> init,
         std::function<bool(Subject&, bool)> operation,
         std::function<std::shared_ptr<Subject>()> make = [] { return std::make_shared<Subject>(); },
         bool poll = false) {
    loadBoard(board);
    std::shared_ptr<Subject> subject = make();
    if (!init(*subject)) {
        fprintf(stderr, "%s: init failed on %s, left out\n", name.c_str(), board.c_str());
        return;
    }
    keptAlive.push_back(subject);
    auto c = std::make_unique<Case>();
    c->name = name;
    c->board = board;
    c->poll = poll;
    Subject* raw = subject.get();
    c->operation = [raw, operation](bool form) { return operation(*raw, form); };
    for (int i = 0; i < 8; ++i) {
        if (!c->operation(false) || !c->operation(true)) {
            fprintf(stderr, "%s: the operation fails on %s, left out\n", name.c_str(), board.c_str());
            return;
        }
    }
    // The warm-up ended on the second form: each form is now a change.
    for (const bool form : {false, true}) {
        orva::bench::recording = &c->calls[form ? 1 : 0];
        c->operation(form);
        orva::bench::recording = nullptr;
    }
    Case* registered = c.get();
    cases.push_back(std::move(c));
    benchmark::RegisterBenchmark(name.c_str(), runOperation, registered);
    if (!registered->calls[0].empty() || !registered->calls[1].empty()) {
        benchmark::RegisterBenchmark((name + "/minimum").c_str(), runMinimum, registered);
        benchmark::RegisterBenchmark((name + "/prescribed").c_str(), runPrescribed, registered);
    }
}

template <typename Led>
void addLed(const std::string& name, const std::string& board, const std::string& ledName,
            std::function<bool(Led&)> prepare, std::function<bool(Led&, bool)> operation) {
    add<Led>(
        name, board, [ledName, prepare](Led& led) { return led.init(ledName) && prepare(led); }, operation);
}

template <typename Led>
void addValue(const std::string& name, const std::string& board, const std::string& ledName,
              std::function<bool(Led&)> prepare = [](Led&) { return true; }, int first = 40, int second = 60) {
    addLed<Led>(name, board, ledName, prepare,
                [first, second](Led& led, bool form) { return led.setValue(form ? first : second, false); });
}

template <typename Led>
void addColour(const std::string& name, const std::string& board, const std::string& ledName) {
    addLed<Led>(
        name, board, ledName, [](Led& led) { return led.setValue(60, false); },
        [](Led& led, bool form) {
            return led.setColor(form ? BaseLed::COLOR_BLUE : BaseLed::COLOR_RED, BaseLed::COLOR_BLACK);
        });
}

template <typename Led>
void addStep(const std::string& name, const std::string& board, const std::string& ledName,
             std::function<bool(Led&)> prepare) {
    addLed<Led>(name, board, ledName, prepare, [](Led& led, bool form) { return led.setAnimStep(form ? 2 : 1); });
}

class Silent : public IButtonEventsObserver {
public:
    void onButtonPressed() override {}
    void onButtonReleased(unsigned) override {}
    void onButtonHeld(unsigned) override {}
};
Silent observer;

// The entry as its driver shows it, after the button opened it: the library opens its entry with
// O_TRUNC, which a tmpfs file obeys and a kernel entry ignores.
bool refill(const std::string& entry, const std::string& text) {
    const int fd = ::open64(entry.c_str(), O_WRONLY);
    if (fd < 0) return false;
    const bool written = ::pwrite64(fd, text.data(), text.size(), 0) == static_cast<ssize_t>(text.size());
    ::close(fd);
    return written;
}

template <typename Button>
void addPoll(const std::string& name, const std::string& board, const std::string& entry, int holdInterval = 100) {
    add<Button>(
        name, board,
        [holdInterval, entry](Button& button) { return button.init(&observer, holdInterval) && refill(entry, "1\n"); },
        [](Button& button, bool) { return button.service(); }, [] { return std::make_shared<Button>(); }, true);
}

bool onTmpfs(const char* path) {
    struct statfs fs;
    return statfs(path, &fs) == 0 && fs.f_type == TMPFS_MAGIC;
}

// The reset button segment of board 0xA564 as its producer keeps it: 512 bytes, filled in
// (byte 0), button released (byte 271).
bool makeResetSegment() {
    const int id = shmget(0x162F, 512, IPC_CREAT | 0600);
    if (id < 0) return false;
    auto* bytes = static_cast<unsigned char*>(shmat(id, nullptr, 0));
    if (bytes == reinterpret_cast<unsigned char*>(-1)) return false;
    bytes[0] = 1;
    bytes[271] = 1;
    return true;
}

}  // namespace

int main(int argc, char** argv) {
    for (int i = 1; i + 1 < argc; ++i) {
        if (strcmp(argv[i], "--boards") == 0) boardsDirectory = argv[i + 1];
    }
    // Only ever on the scratch files of a private namespace: never on a machine's own attributes.
    if (!onTmpfs("/sys/class") || !onTmpfs("/sys/bus") || !onTmpfs("/proc/gpio") || getenv("ORVA_BENCH_NAMESPACE") == nullptr) {
        printf("skipped: run through scripts/bench.sh (as root), which gives this program tmpfs over /sys/class, "
               "/sys/bus and /proc in a private mount namespace\n");
        return 0;
    }
    std::vector<char*> arguments;
    for (int i = 0; i < argc; ++i) {
        if (strcmp(argv[i], "--boards") == 0) {
            ++i;
            continue;
        }
        arguments.push_back(argv[i]);
    }
    int count = static_cast<int>(arguments.size());
    benchmark::Initialize(&count, arguments.data());

    addValue<LedFace>("LedFace setValue", "a533.board", "front");
    addValue<LedPower>("LedPower setValue", "a533.board", "power");
    addValue<LedSysfs>("LedSysfs setValue", "a5a0.board", "status",
                       [](LedSysfs& led) { return led.setColor(BaseLed::COLOR_GREEN, BaseLed::COLOR_BLACK); });
    addColour<LedSysfs>("LedSysfs setColor", "a5a0.board", "status");
    addValue<McuLedFace>("McuLedFace setValue", "a574.board", "status");
    addValue<GreenLedFace>("GreenLedFace setValue", "a571.board", "green");
    addValue<LedIr>("LedIr setValue", "a533.board", "ir", [](LedIr&) { return true; }, 40, 41);
    addValue<LedGlow>("LedGlow setValue", "a598.board", "glow");
    addValue<CompoundLedFace>("CompoundLedFace setValue", "a573.board", "av", [](CompoundLedFace& led) {
        return led.setColor(BaseLed::COLOR_BLUE, BaseLed::COLOR_BLACK);
    });
    addColour<CompoundLedFace>("CompoundLedFace setColor", "a573.board", "av");
    addValue<RgbLedFace>("RgbLedFace setValue", "a563.board", "rgb", [](RgbLedFace& led) {
        return led.setColor(BaseLed::COLOR_BLUE, BaseLed::COLOR_BLACK);
    });
    addColour<RgbLedFace>("RgbLedFace setColor", "a563.board", "rgb");
    addStep<RgbLedFace>("RgbLedFace setAnimStep", "a563.board", "rgb", [](RgbLedFace& led) {
        return led.setAnimColor(BaseLed::COLOR_RED, BaseLed::COLOR_BLUE);
    });
    addColour<MulticolorLedFace>("MulticolorLedFace setColor", "a5b0.board", "ring");
    addStep<MulticolorLedFace>("MulticolorLedFace setAnimStep", "a5b0.board", "ring", [](MulticolorLedFace& led) {
        return led.setAnimColor(BaseLed::COLOR_GREEN, BaseLed::COLOR_WHITE) && led.setAnimDensity(30) &&
               led.setAnimEnable(true);
    });
    addColour<Ktd2061LedFace>("Ktd2061LedFace setColor", "a598.board", "ring");
    addStep<Ktd2061LedFace>("Ktd2061LedFace setAnimStep", "a598.board", "ring", [](Ktd2061LedFace& led) {
        return led.setAnimColor(BaseLed::COLOR_BLUE, BaseLed::COLOR_WHITE) && led.setAnimDensity(20) &&
               led.setAnimEnable(true);
    });
    addPoll<RingButton>("RingButton service", "a575.board", "/proc/gpio/ring_btn");
    addPoll<EnclosureDetButton>("EnclosureDetButton service", "a5b0.board", "/proc/gpio/enclosure_det");
    addPoll<DCCableDetector>("DCCableDetector service", "a5c0.board", "/proc/gpio/dcpowered", -1);
    addPoll<ResetGPIOButtonCase>("ResetGPIOButtonCase service", "a533.board", "/proc/gpio/reset_btn");
    addPoll<ResetButtonCase>("ResetButtonCase service", "a533.board", "/proc/gpio/reset_btn");
    if (makeResetSegment()) {
        add<ResetShmemButtonCase>(
            "ResetShmemButtonCase service", "a564.board",
            [](ResetShmemButtonCase& button) { return button.init(&observer, 100); },
            [](ResetShmemButtonCase& button, bool) { return button.service(); },
            [] { return std::make_shared<ResetShmemButtonCase>(false); }, true);
    } else {
        fprintf(stderr, "ResetShmemButtonCase service: no shared-memory segment, left out\n");
    }

    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    keptAlive.clear();
    return 0;
}
