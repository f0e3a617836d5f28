// What one invocation of a led or button command drives and how it reports: the simulated board of
// --board (the simulator journals every kernel call) or the real files of the board the tool runs
// on, and the output mode (one line per kernel call, log record and result; --quiet: results only;
// --json: one JSON object per line for each of them).
#pragma once

#include <cstdint>
#include <cstdio>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <nlohmann/json_fwd.hpp>

#include "CommandRegistry.h"
#include "Commands.h"

namespace orva::tool {

// Whether this build of the tool has the simulator (and so --board).
bool simulatorBuiltIn();

// Checks one --key KEY=VALUE before anything else happens; throws UsageError naming the key.
// Known types: sysid and hwrev unsigned, feature_* a small signed number, is* true/false (or 1/0);
// any other key: a number, true/false, or text.
void checkKey(const std::string& key, const std::string& value);

class Session {
public:
    // Builds the simulated board of --board (its device information overridden by --key) or, without
    // --board, takes the device information of the platform with the --key values added. Throws
    // UsageError for what cannot work (unknown board, no sysid on real hardware, ...).
    explicit Session(const GlobalOptions& global);
    ~Session();
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    Context& context() { return context_; }
    bool simulated() const { return context_.board != nullptr; }
    uint32_t sysid() const;
    bool jsonOutput() const { return global_.json; }
    bool quiet() const { return global_.quiet; }

    // Refuses (UsageError) when a device-information key that `what` reads is missing. `keys` is a
    // space-separated list; "KEY@0xSYSID" is needed on that board only.
    void requireKeys(const char* keys, const std::string& what) const;

    // A result: shown in every mode. `object` gets "type":"result" in --json.
    void result(const std::string& text, nlohmann::json object);
    // A line about what is being driven (the board, an init): not shown with --quiet.
    void note(const std::string& text, nlohmann::json object);
    // Runs `print`, which writes state lines to context().out, and shows them as "state" lines.
    void state(const std::string& target, const std::function<void()>& print);
    // Shows which board is driven (once; the first output does it too). Call requireKeys first: a
    // refusal must come before any output.
    void begin();
    // Shows the kernel calls and log records not shown yet.
    void flush();
    // Flushes and gives the exit status: `status`, or 1 when an error record was logged.
    int finish(int status);

private:
    void attach();
    void emit(const std::string& text, nlohmann::json& object, bool always);
    void flushCalls();
    void endRun();
    void onRecord(const void* record);

    GlobalOptions global_;
    Context context_;
    struct Simulation;
    std::unique_ptr<Simulation> simulation_;
    size_t shown_ = 0;             // journal entries shown
    size_t runFirst_ = SIZE_MAX;   // the read that starts a run of identical reads
    size_t runRepeats_ = 0;        // reads in that run not shown
    bool errorLogged_ = false;
    bool begun_ = false;
    std::string header_;      // the board line (text)
    std::string headerJson_;  // the board line (JSON)
};

}  // namespace orva::tool
