#include "Session.h"

#include <cctype>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <sstream>
#include <unistd.h>

#include <nlohmann/json.hpp>

#include "Options.h"
#include "Report.h"
#include "orva/host_platform.h"
#include "orva/platform.h"
#if ORVA_TOOL_SIMULATOR
#include "orva/sim/SimBoard.h"
#endif

namespace orva::tool {

using Json = nlohmann::json;

namespace {

enum class KeyType { Unsigned, SmallSigned, Bool, Any };

KeyType keyType(const std::string& key) {
    if (key == "sysid" || key == "hwrev") return KeyType::Unsigned;
    if (key.compare(0, 8, "feature_") == 0) return KeyType::SmallSigned;
    if (key.size() > 2 && key.compare(0, 2, "is") == 0 && isupper(static_cast<unsigned char>(key[2]))) return KeyType::Bool;
    return KeyType::Any;
}

bool parseUnsigned(const std::string& text, unsigned long long& value) {
    if (text.empty() || !isdigit(static_cast<unsigned char>(text[0]))) return false;
    char* end = nullptr;
    errno = 0;
    value = strtoull(text.c_str(), &end, 0);
    return *end == '\0' && errno != ERANGE;
}

bool parseBool(const std::string& text, bool& value) {
    if (text == "true" || text == "1") {
        value = true;
        return true;
    }
    if (text == "false" || text == "0") {
        value = false;
        return true;
    }
    return false;
}

// Stores one --key value in the device-information map with the type the library reads it as.
void assignKey(orva::variant::Variant& info, const std::string& key, const std::string& value) {
    unsigned long long number = 0;
    bool flag = false;
    switch (keyType(key)) {
    case KeyType::Unsigned:
        parseUnsigned(value, number);
        info[key] = number;
        break;
    case KeyType::SmallSigned:
        info[key] = static_cast<signed char>(atoi(value.c_str()));
        break;
    case KeyType::Bool:
        parseBool(value, flag);
        info[key] = flag;
        break;
    case KeyType::Any:
        if (parseUnsigned(value, number)) {
            info[key] = number;
        } else if (value == "true" || value == "false") {
            info[key] = value == "true";
        } else {
            info[key] = value;
        }
        break;
    }
}

bool isMap(const orva::variant::Variant& info) {
    const orva::variant::VariantType type = static_cast<orva::variant::VariantType>(info);
    return type == orva::variant::VT_MAP || type == orva::variant::VT_MAP_ORDERED;
}

std::string hex(uint32_t sysid) {
    char text[16];
    snprintf(text, sizeof(text), "0x%04X", sysid);
    return text;
}

#if ORVA_TOOL_SIMULATOR
bool sameRead(const orva::sim::JournalEntry& a, const orva::sim::JournalEntry& b) {
    return a.call == orva::sim::Call::Read && b.call == orva::sim::Call::Read && a.path == b.path && a.fd == b.fd &&
           a.offset == b.offset && a.count == b.count && a.bytes == b.bytes && a.result == b.result &&
           a.error == b.error;
}

std::string timeText(uint64_t us) {
    char text[32];
    snprintf(text, sizeof(text), "[%5llu.%03llu ms]", static_cast<unsigned long long>(us / 1000),
             static_cast<unsigned long long>(us % 1000));
    return text;
}
#endif

}  // namespace

struct Session::Simulation {
#if ORVA_TOOL_SIMULATOR
    std::unique_ptr<orva::sim::SimBoard> board;
#endif
};

bool simulatorBuiltIn() { return ORVA_TOOL_SIMULATOR != 0; }

void checkKey(const std::string& key, const std::string& value) {
    if (key.empty() || key.find_first_not_of("abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_") != std::string::npos) {
        throw UsageError{"not a device-information key: '" + key + "' (--key KEY=VALUE)"};
    }
    unsigned long long number = 0;
    bool flag = false;
    switch (keyType(key)) {
    case KeyType::Unsigned:
        if (!parseUnsigned(value, number)) {
            throw UsageError{"--key " + key + " takes an unsigned number (e.g. 0xA533 or 3): '" + value + "'"};
        }
        if (key == "sysid" && number > UINT32_MAX) throw UsageError{"--key sysid takes 32 bits: '" + value + "'"};
        break;
    case KeyType::SmallSigned: {
        char* end = nullptr;
        errno = 0;
        const long small = strtol(value.c_str(), &end, 10);
        if (value.empty() || *end != '\0' || small < -128 || small > 127) {
            throw UsageError{"--key " + key + " takes a number -128..127: '" + value + "'"};
        }
        break;
    }
    case KeyType::Bool:
        if (!parseBool(value, flag)) throw UsageError{"--key " + key + " takes true or false (or 1 or 0): '" + value + "'"};
        break;
    case KeyType::Any: break;
    }
}

Session::Session(const GlobalOptions& global) : global_(global), simulation_(new Simulation) {
    context_.session = this;
    context_.terminal = !global_.json && isatty(fileno(stdout)) == 1;
    orva::host::setLogEcho(false);
    orva::host::setLogSink([this](const orva::host::LogRecord& record) { onRecord(&record); });
    try {
        attach();
    } catch (...) {
        orva::host::setLogSink(nullptr);
        orva::host::setLogEcho(true);
        throw;
    }
}

void Session::attach() {
    orva::variant::Variant& info = orva::variant::CameraInfo::instance();
    if (global_.board != 0) {
#if ORVA_TOOL_SIMULATOR
        const std::string sysid = hex(global_.board);
        bool known = false;
        for (const uint32_t board : orva::sim::BoardProfile::available()) known = known || board == global_.board;
        if (!known) throw UsageError{"unknown board " + sysid + " (see --list-boards)"};
        if (!global_.variant.empty()) {
            bool knownVariant = false;
            for (const std::string& variant : orva::sim::BoardProfile::variants(global_.board)) {
                knownVariant = knownVariant || variant == global_.variant;
            }
            if (!knownVariant) throw UsageError{"board " + sysid + " has no variant '" + global_.variant + "' (see --list-boards)"};
        }
        simulation_->board = std::make_unique<orva::sim::SimBoard>(
            orva::sim::BoardProfile::load(global_.board, global_.variant), global_.sandbox, global_.reuseSandbox);
        context_.board = simulation_->board.get();
        for (const auto& [key, value] : global_.keys) assignKey(info, key, value);
        header_ = "board " + sysid + (global_.variant.empty() ? "" : " variant " + global_.variant) + ": " +
                  simulation_->board->profile().name + "\nsandbox " + simulation_->board->sandbox().root();
        headerJson_ = Json{{"type", "board"},
                           {"sysid", sysid},
                           {"variant", global_.variant},
                           {"name", simulation_->board->profile().name},
                           {"sandbox", simulation_->board->sandbox().root()}}
                          .dump();
        return;
#else
        throw UsageError{"this orva-gpio drives the board it runs on and has no simulator: leave out --board"};
#endif
    }
    if (!global_.variant.empty() || !global_.sandbox.empty() || global_.reuseSandbox) {
        throw UsageError{"--variant, --sandbox and --reuse go with --board SYSID"};
    }
#if ORVA_TOOL_SIMULATOR
    // The simulator keeps a process that carries it off the machine's own files.
    throw UsageError{"this orva-gpio carries the simulator and drives simulated boards only: give --board SYSID "
                     "(the build without it, as for the camera, drives the files of the machine)"};
#endif
    if (!isMap(info)) info.IsArray(false);
    for (const auto& [key, value] : global_.keys) assignKey(info, key, value);
    if (!info.HasKey("sysid")) {
        throw UsageError{"the device information has no 'sysid': give --key sysid=VALUE (e.g. --key sysid=0xA533)"};
    }
    header_ = "board " + hex(sysid()) + ": the files of this machine";
    headerJson_ = Json{{"type", "board"}, {"sysid", hex(sysid())}, {"real", true}}.dump();
}

void Session::begin() {
    if (begun_) return;
    begun_ = true;
    if (global_.json) {
        Json object = Json::parse(headerJson_);
        object["text"] = header_;
        printf("%s\n", object.dump(-1, ' ', true, Json::error_handler_t::replace).c_str());
    } else if (!global_.quiet) {
        printf("%s\n", header_.c_str());
    }
}

Session::~Session() {
    orva::host::setLogSink(nullptr);
    orva::host::setLogEcho(true);
}

uint32_t Session::sysid() const {
#if ORVA_TOOL_SIMULATOR
    if (simulation_->board) return simulation_->board->profile().sysid;
#endif
    orva::variant::Variant& info = orva::variant::CameraInfo::instance();
    if (!isMap(info) || !info.HasKey("sysid")) return 0;
    return static_cast<uint32_t>(static_cast<unsigned long long>(info["sysid"]));
}

void Session::requireKeys(const char* keys, const std::string& what) const {
    if (keys == nullptr) return;
    orva::variant::Variant& info = orva::variant::CameraInfo::instance();
    std::istringstream words(keys);
    for (std::string word; words >> word;) {
        const size_t at = word.find('@');
        const std::string key = word.substr(0, at);
        if (at != std::string::npos && strtoul(word.c_str() + at + 1, nullptr, 16) != sysid()) continue;
        if (!info.HasKey(key)) {
            throw UsageError{what + " reads the device-information key '" + key + "', which this board lacks: give --key " +
                             key + "=VALUE"};
        }
    }
}

void Session::emit(const std::string& text, Json& object, bool always) {
    begin();
    flush();
    if (!global_.json && !global_.quiet) endRun();
    if (global_.json) {
        printf("%s\n", object.dump(-1, ' ', true, Json::error_handler_t::replace).c_str());
    } else if (always || !global_.quiet) {
        printf("%s\n", text.c_str());
    }
    fflush(stdout);
}

void Session::result(const std::string& text, Json object) {
    if (object.find("type") == object.end()) object["type"] = "result";
    emit(text, object, true);
}

void Session::note(const std::string& text, Json object) {
    if (global_.quiet && !global_.json) return;
    if (object.find("type") == object.end()) object["type"] = "note";
    if (object.find("text") == object.end()) object["text"] = text;
    emit(text, object, false);
}

void Session::state(const std::string& target, const std::function<void()>& print) {
    char* buffer = nullptr;
    size_t size = 0;
    FILE* memory = open_memstream(&buffer, &size);
    if (memory == nullptr) return;
    FILE* out = context_.out;
    context_.out = memory;
    print();
    context_.out = out;
    fclose(memory);
    const std::string text(buffer, size);
    free(buffer);
    flush();
    if (global_.quiet && !global_.json) return;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        Json object{{"type", "state"}, {"target", target}, {"text", line}};
        emit(line, object, false);
    }
}

void Session::flush() {
    begin();
    flushCalls();
    fflush(stdout);
}

void Session::endRun() {
#if ORVA_TOOL_SIMULATOR
    if (runRepeats_ > 0 && context_.board != nullptr) {
        const orva::sim::JournalEntry& last = context_.board->journal()[runFirst_ + runRepeats_];
        printf("  ... %zu more identical read%s, the last at %s\n", runRepeats_, runRepeats_ == 1 ? "" : "s",
               timeText(last.timeUs).c_str());
    }
#endif
    runFirst_ = SIZE_MAX;
    runRepeats_ = 0;
}

void Session::flushCalls() {
#if ORVA_TOOL_SIMULATOR
    if (context_.board == nullptr) return;
    const std::vector<orva::sim::JournalEntry>& journal = context_.board->journal();
    if (shown_ > journal.size()) shown_ = journal.size();
    for (; shown_ < journal.size(); ++shown_) {
        const orva::sim::JournalEntry& entry = journal[shown_];
        if (global_.json) {
            Json object{{"type", "call"},   {"time_us", entry.timeUs}, {"call", orva::sim::callName(entry.call)},
                        {"path", entry.path}, {"result", entry.result}, {"text", describe(entry)}};
            if (entry.error != 0) object["errno"] = strerror(entry.error);
            if (entry.call == orva::sim::Call::Read || entry.call == orva::sim::Call::Write ||
                entry.call == orva::sim::Call::Close) {
                object["fd"] = entry.fd;
            }
            if (entry.call == orva::sim::Call::Read || entry.call == orva::sim::Call::Write) {
                object["offset"] = entry.offset;
                object["bytes"] = escapeBytes(entry.bytes);
            }
            if (entry.call == orva::sim::Call::Exec) object["arguments"] = entry.arguments;
            printf("%s\n", object.dump(-1, ' ', true, Json::error_handler_t::replace).c_str());
            continue;
        }
        if (global_.quiet) continue;
        // A polled input repeats the same read many times: one line for the run of them.
        if (runFirst_ != SIZE_MAX && sameRead(journal[runFirst_], entry)) {
            ++runRepeats_;
            continue;
        }
        endRun();
        printf("  %s %s\n", timeText(entry.timeUs).c_str(), describe(entry).c_str());
        if (entry.call == orva::sim::Call::Read) runFirst_ = shown_;
    }
#endif
}

void Session::onRecord(const void* data) {
    const orva::host::LogRecord& record = *static_cast<const orva::host::LogRecord*>(data);
    if (record.level <= 3) errorLogged_ = true;
    begin();
    flushCalls();
    if (global_.json) {
        Json object{{"type", "log"},        {"tag", record.tag},     {"file", record.file},
                    {"function", record.function}, {"line", record.line}, {"level", record.level},
                    {"errno", record.errorNumber}, {"text", record.text}};
        printf("%s\n", object.dump(-1, ' ', true, Json::error_handler_t::replace).c_str());
    } else if (!global_.quiet) {
        endRun();
        printf("  log %s\n", orva::host::formatRecord(record).c_str());
    }
}

int Session::finish(int status) {
    flush();
    if (!global_.json && !global_.quiet) endRun();
    fflush(stdout);
    if (status == 0 && errorLogged_) return 1;
    return status;
}

}  // namespace orva::tool
