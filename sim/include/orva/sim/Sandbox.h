// Kernel-attribute simulator. While a Sandbox is alive, every path under "/sys/" and "/proc/gpio/"
// that the process opens is served from the sandbox directory with sysfs semantics, every call on
// those files is journaled with its exact bytes, faults can be injected per path and call, and
// usleep/nanosleep/clock_gettime(CLOCK_MONOTONIC) run on a virtual clock.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace orva::sim {

enum class Call { Open, Read, Write, Close, Sleep, Exec, Shm, Mdio };

const char* callName(Call call);

struct JournalEntry {
    Call call = Call::Open;
    std::string path;      // attribute path as the process named it, or the program for Exec
    int fd = -1;
    int flags = 0;         // Open: the flags; Shm: the shm flags
    unsigned mode = 0;     // Open: the mode argument
    long long offset = 0;  // Read/Write: the file offset
    size_t count = 0;      // Read/Write: bytes requested; Sleep: microseconds
    std::string bytes;     // Write: bytes handed in; Read: bytes returned
    long long result = 0;  // the call's return value
    int error = 0;         // errno when the call failed
    uint64_t timeUs = 0;   // virtual time since the sandbox started
    std::vector<std::string> arguments;  // Exec: the argument vector after the program
};

// How an injected fault changes a call.
struct Fault {
    enum class Kind { Errno, ShortWrite, EmptyRead, ZeroDescriptor };
    Kind kind = Kind::Errno;
    Call call = Call::Open;
    int error = 0;     // Errno: the errno reported (EINTR, EIO, ...)
    size_t bytes = 0;  // ShortWrite: how many bytes the write takes
    int times = 1;     // how many matching calls it affects
};

class Sandbox {
public:
    // An empty directory makes a fresh temporary one, removed with the sandbox. A named directory
    // is kept, so that a second process can attach to the same board (see attach()).
    explicit Sandbox(const std::string& directory = std::string());
    ~Sandbox();
    Sandbox(const Sandbox&) = delete;
    Sandbox& operator=(const Sandbox&) = delete;

    // The sandbox of this process, or null.
    static Sandbox* active();
    const std::string& root() const;

    // Attribute files, named by their kernel path ("/sys/class/leds/x/brightness").
    void addDirectory(const std::string& path);
    void addAttribute(const std::string& path, const std::string& value, unsigned mode = 0644);
    void setValue(const std::string& path, const std::string& value);
    std::string value(const std::string& path) const;
    bool hasAttribute(const std::string& path) const;
    void removeAttribute(const std::string& path);

    // Journal of every simulated call, oldest first.
    const std::vector<JournalEntry>& journal() const;
    std::vector<JournalEntry> journal(const std::string& path) const;
    void clearJournal();
    // Opens whose descriptor is still open.
    int openDescriptors() const;

    // Faults apply to the next matching calls on path, in the order they were injected.
    void inject(const std::string& path, const Fault& fault);
    void failCalls(const std::string& path, Call call, int error, int times = 1);
    void shortWrite(const std::string& path, size_t bytes, int times = 1);
    void emptyRead(const std::string& path, int times = 1);
    void zeroDescriptor(const std::string& path, int times = 1);
    void clearFaults();

    // Virtual clock: starts at 1000 ms of CLOCK_MONOTONIC; sleeps advance it and return at once.
    uint64_t nowUs() const;
    void advanceUs(uint64_t us);
    void advanceMs(uint64_t ms) { advanceUs(ms * 1000u); }
    // Every sleep the process requested, in microseconds.
    const std::vector<uint64_t>& sleeps() const;

    // Runs when the sandbox ends, newest first (simulated segments, program stand-ins, ...).
    void addCleanup(std::function<void()> cleanup);

    // Serving a program that runs on its own (orva-gpio run, liborva_sim_preload.so). Each switch
    // is off in a new sandbox and stays on once set.
    //
    // Real time: sleeps sleep and CLOCK_MONOTONIC is the kernel's; nothing is added to sleeps().
    void useRealTime();
    bool realTime() const;
    // Appends one line per journaled call to file (created 0644 when absent) as the call is made,
    // with one write per line, so that other processes can follow it while this one runs; several
    // processes may append to the same file. keepInMemory=false stops journal() from growing.
    // Each line is a JSON object (bytes as \u00XX escapes, so any byte value is kept exactly):
    //   {"us":<virtual microseconds since the sandbox started; with real time, CLOCK_MONOTONIC microseconds>,"pid":<process>,"call":"open|read|write|close|sleep|exec|shm|mdio",
    //    "path":"<attribute path, program or function>","fd":<descriptor>,"flags":<open flags>,
    //    "mode":<open mode>,"offset":<offset>,"count":<count>,"bytes":"<bytes read or written>",
    //    "result":<return value>,"errno":<errno or 0>,"args":["<argument>",...]}
    // Throws std::runtime_error when the file cannot be opened.
    void journalToFile(const std::string& file, bool keepInMemory = true);
    // Programs started without a stand-in run for real instead of aborting the process.
    void runProgramsWithoutStandIn();
    bool runsProgramsWithoutStandIn() const;

    // Internal: journals a call made through one of the hooks.
    void record(JournalEntry entry);
    // Internal: what the hooks share with the sandbox.
    struct State;

private:
    State* state_;
    friend struct Hooks;
};

// Sandbox path of a kernel path ("" when the path is not simulated).
std::string sandboxPath(const Sandbox& sandbox, const std::string& kernelPath);
// Whether the simulator serves this path.
bool isSimulatedPath(const char* path);

}  // namespace orva::sim
