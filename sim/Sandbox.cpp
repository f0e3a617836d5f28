// The sandbox: a directory tree standing in for "/sys" and "/proc/gpio", a journal, faults and a clock.
#include "orva/sim/Sandbox.h"

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <sys/stat.h>
#include <unistd.h>

#include "SafePath.h"
#include "SimState.h"

namespace orva::sim {

Sandbox* gActiveSandbox = nullptr;

namespace {

void makeDirectories(const std::string& path) {
    std::string partial;
    std::stringstream parts(path);
    std::string part;
    while (std::getline(parts, part, '/')) {
        if (part.empty()) {
            if (partial.empty()) partial = "/";
            continue;
        }
        if (!partial.empty() && partial.back() != '/') partial += '/';
        partial += part;
        if (mkdir(partial.c_str(), 0755) != 0 && errno != EEXIST) {
            throw std::runtime_error("orva-sim: cannot create " + partial + ": " + strerror(errno));
        }
    }
}

// The kernel path itself, checked: files of the sandbox are reached below its root only.
const std::string& requireSimulated(const std::string& kernelPath) {
    if (!isSimulatedPath(kernelPath.c_str()) || kernelPath.find("/../") != std::string::npos) {
        throw std::invalid_argument("orva-sim: not a simulated path: " + kernelPath);
    }
    return kernelPath;
}

}  // namespace

const char* callName(Call call) {
    switch (call) {
    case Call::Open: return "open";
    case Call::Read: return "read";
    case Call::Write: return "write";
    case Call::Close: return "close";
    case Call::Sleep: return "sleep";
    case Call::Exec: return "exec";
    case Call::Shm: return "shm";
    case Call::Mdio: return "mdio";
    }
    return "?";
}

bool isSimulatedPath(const char* path) {
    return path != nullptr && (strncmp(path, "/sys/", 5) == 0 || strncmp(path, "/proc/gpio/", 11) == 0 ||
                               strcmp(path, "/proc/gpio") == 0);
}

std::string sandboxPath(const Sandbox& sandbox, const std::string& kernelPath) {
    if (!isSimulatedPath(kernelPath.c_str())) return std::string();
    return sandbox.root() + kernelPath;
}

Sandbox::Sandbox(const std::string& directory) : state_(new State) {
    if (gActiveSandbox != nullptr) {
        delete state_;
        throw std::logic_error("orva-sim: only one sandbox can be active in a process");
    }
    if (directory.empty()) {
        const char* tmp = getenv("TMPDIR");
        std::string pattern = std::string(tmp && *tmp ? tmp : "/tmp") + "/orva-sim-XXXXXX";
        std::vector<char> buffer(pattern.begin(), pattern.end());
        buffer.push_back('\0');
        if (mkdtemp(buffer.data()) == nullptr) {
            delete state_;
            throw std::runtime_error(std::string("orva-sim: mkdtemp failed: ") + strerror(errno));
        }
        state_->root = buffer.data();
        state_->ownsRoot = true;
    } else {
        const size_t slash = directory.find_last_not_of('/');
        const std::string trimmed = slash == std::string::npos ? directory : directory.substr(0, slash + 1);
        const size_t parent = trimmed.rfind('/');
        if (parent != std::string::npos && parent > 0) makeDirectories(trimmed.substr(0, parent));
        try {
            safe::claimDirectory(trimmed);
        } catch (...) {
            delete state_;
            throw;
        }
        char resolved[PATH_MAX];
        state_->root = realpath(trimmed.c_str(), resolved) ? resolved : trimmed;
    }
    safe::makeDirectoriesBeneath(state_->root, "/sys");
    gActiveSandbox = this;
}

Sandbox::~Sandbox() {
    for (auto it = state_->cleanups.rbegin(); it != state_->cleanups.rend(); ++it) (*it)();
    gActiveSandbox = nullptr;
    if (state_->journalFd >= 0) close(state_->journalFd);
    if (state_->ownsRoot) safe::removeTree(state_->root);
    delete state_;
}

Sandbox* Sandbox::active() { return gActiveSandbox; }

const std::string& Sandbox::root() const { return state_->root; }

void Sandbox::addDirectory(const std::string& path) { safe::makeDirectoriesBeneath(root(), requireSimulated(path)); }

void Sandbox::addAttribute(const std::string& path, const std::string& value, unsigned mode) {
    if (!safe::replaceBeneath(root(), requireSimulated(path), value, static_cast<mode_t>(mode & 07777), true)) {
        throw std::runtime_error("orva-sim: cannot write " + path + ": " + strerror(errno));
    }
}

void Sandbox::setValue(const std::string& path, const std::string& value) {
    struct stat64 info {};
    if (safe::statBeneath(root(), requireSimulated(path), info) != 0 || !S_ISREG(info.st_mode)) {
        throw std::invalid_argument("orva-sim: no attribute " + path);
    }
    if (!safe::replaceBeneath(root(), path, value)) {
        throw std::runtime_error("orva-sim: cannot write " + path + ": " + strerror(errno));
    }
}

std::string Sandbox::value(const std::string& path) const {
    std::string text = safe::readBeneath(root(), requireSimulated(path));
    const size_t end = text.find_first_of(std::string("\n\0", 2));
    return end == std::string::npos ? text : text.substr(0, end);
}

bool Sandbox::hasAttribute(const std::string& path) const {
    struct stat64 info {};
    return safe::statBeneath(root(), requireSimulated(path), info) == 0 && S_ISREG(info.st_mode);
}

void Sandbox::removeAttribute(const std::string& path) { safe::unlinkBeneath(root(), requireSimulated(path)); }

const std::vector<JournalEntry>& Sandbox::journal() const { return state_->journal; }

std::vector<JournalEntry> Sandbox::journal(const std::string& path) const {
    std::vector<JournalEntry> entries;
    for (const JournalEntry& entry : state_->journal) {
        if (entry.path == path) entries.push_back(entry);
    }
    return entries;
}

void Sandbox::clearJournal() { state_->journal.clear(); }

int Sandbox::openDescriptors() const { return static_cast<int>(state_->descriptors.size()); }

void Sandbox::inject(const std::string& path, const Fault& fault) { state_->faults.emplace_back(path, fault); }

void Sandbox::failCalls(const std::string& path, Call call, int error, int times) {
    Fault fault;
    fault.kind = Fault::Kind::Errno;
    fault.call = call;
    fault.error = error;
    fault.times = times;
    inject(path, fault);
}

void Sandbox::shortWrite(const std::string& path, size_t bytes, int times) {
    Fault fault;
    fault.kind = Fault::Kind::ShortWrite;
    fault.call = Call::Write;
    fault.bytes = bytes;
    fault.times = times;
    inject(path, fault);
}

void Sandbox::emptyRead(const std::string& path, int times) {
    Fault fault;
    fault.kind = Fault::Kind::EmptyRead;
    fault.call = Call::Read;
    fault.times = times;
    inject(path, fault);
}

void Sandbox::zeroDescriptor(const std::string& path, int times) {
    Fault fault;
    fault.kind = Fault::Kind::ZeroDescriptor;
    fault.call = Call::Open;
    fault.times = times;
    inject(path, fault);
}

void Sandbox::addCleanup(std::function<void()> cleanup) { state_->cleanups.push_back(std::move(cleanup)); }

void Sandbox::clearFaults() { state_->faults.clear(); }

uint64_t Sandbox::nowUs() const { return state_->virtualUs; }

void Sandbox::advanceUs(uint64_t us) { state_->virtualUs += us; }

const std::vector<uint64_t>& Sandbox::sleeps() const { return state_->sleeps; }

void Sandbox::useRealTime() { state_->realTime = true; }

bool Sandbox::realTime() const { return state_->realTime; }

void Sandbox::journalToFile(const std::string& file, bool keepInMemory) {
    const int fd = open(file.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC | O_NOFOLLOW, 0644);
    if (fd < 0) throw std::runtime_error("orva-sim: cannot open journal " + file + ": " + strerror(errno));
    if (state_->journalFd >= 0) close(state_->journalFd);
    state_->journalFd = fd;
    state_->keepJournal = keepInMemory;
}

void Sandbox::runProgramsWithoutStandIn() { state_->runUnknownPrograms = true; }

bool Sandbox::runsProgramsWithoutStandIn() const { return state_->runUnknownPrograms; }

namespace {

void appendJsonText(std::string& line, const std::string& text) {
    line += '"';
    for (const char c : text) {
        const unsigned char byte = static_cast<unsigned char>(c);
        if (byte == '"' || byte == '\\') {
            line += '\\';
            line += c;
        } else if (byte < 0x20 || byte >= 0x7f) {
            char escaped[8];
            snprintf(escaped, sizeof(escaped), "\\u%04x", byte);
            line += escaped;
        } else {
            line += c;
        }
    }
    line += '"';
}

std::string journalLine(const JournalEntry& entry) {
    std::string line = "{\"us\":" + std::to_string(entry.timeUs) + ",\"pid\":" + std::to_string(getpid()) +
                       ",\"call\":\"" + callName(entry.call) + "\",\"path\":";
    appendJsonText(line, entry.path);
    line += ",\"fd\":" + std::to_string(entry.fd) + ",\"flags\":" + std::to_string(entry.flags) +
            ",\"mode\":" + std::to_string(entry.mode) + ",\"offset\":" + std::to_string(entry.offset) +
            ",\"count\":" + std::to_string(entry.count) + ",\"bytes\":";
    appendJsonText(line, entry.bytes);
    line += ",\"result\":" + std::to_string(entry.result) + ",\"errno\":" + std::to_string(entry.error) +
            ",\"args\":[";
    for (size_t i = 0; i < entry.arguments.size(); ++i) {
        if (i > 0) line += ',';
        appendJsonText(line, entry.arguments[i]);
    }
    line += "]}\n";
    return line;
}

}  // namespace

void Sandbox::record(JournalEntry entry) {
    if (state_->realTime) {
        timespec now {};
        clock_gettime(CLOCK_MONOTONIC, &now);
        entry.timeUs = static_cast<uint64_t>(now.tv_sec) * 1000000u + static_cast<uint64_t>(now.tv_nsec) / 1000u;
    } else {
        entry.timeUs = state_->virtualUs;
    }
    if (state_->journalFd >= 0) {
        // One write per line: appends of several processes do not interleave within a line.
        const std::string line = journalLine(entry);
        const int error = errno;
        if (::write(state_->journalFd, line.data(), line.size()) < 0) {
            fprintf(stderr, "orva-sim: journal write failed: %s\n", strerror(errno));
        }
        errno = error;
    }
    if (state_->keepJournal) state_->journal.push_back(std::move(entry));
}

}  // namespace orva::sim
