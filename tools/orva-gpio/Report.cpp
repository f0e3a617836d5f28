#include "Report.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>

#if ORVA_TOOL_SIMULATOR
#include "orva/sim/Mdio.h"
#endif

namespace orva::tool {

std::string escapeBytes(const std::string& bytes) {
    std::string text;
    for (const char c : bytes) {
        const unsigned char byte = static_cast<unsigned char>(c);
        if (byte == 0) {
            text += "\\0";
        } else if (byte == '\n') {
            text += "\\n";
        } else if (byte == '\\' || byte == '"') {
            text += '\\';
            text += c;
        } else if (byte < 0x20 || byte >= 0x7f) {
            char escaped[8];
            snprintf(escaped, sizeof(escaped), "\\x%02x", byte);
            text += escaped;
        } else {
            text += c;
        }
    }
    return text;
}

#if ORVA_TOOL_SIMULATOR
namespace {

std::string openFlags(int flags) {
    std::string text;
    switch (flags & O_ACCMODE) {
    case O_RDONLY: text = "O_RDONLY"; break;
    case O_WRONLY: text = "O_WRONLY"; break;
    default: text = "O_RDWR"; break;
    }
    if (flags & O_CREAT) text += "|O_CREAT";
    if (flags & O_TRUNC) text += "|O_TRUNC";
    return text;
}

std::string outcome(const orva::sim::JournalEntry& entry) {
    if (entry.result < 0) return "-1 (" + std::string(strerror(entry.error)) + ")";
    return std::to_string(entry.result);
}

}  // namespace

std::string describe(const orva::sim::JournalEntry& entry) {
    using orva::sim::Call;
    char line[512];
    switch (entry.call) {
    case Call::Open:
        snprintf(line, sizeof(line), "open  %s %s 0%o -> %s", entry.path.c_str(), openFlags(entry.flags).c_str(),
                 entry.mode, outcome(entry).c_str());
        break;
    case Call::Read:
        snprintf(line, sizeof(line), "read  %s fd %d @%lld up to %zu -> %s \"%s\"", entry.path.c_str(), entry.fd,
                 entry.offset, entry.count, outcome(entry).c_str(), escapeBytes(entry.bytes).c_str());
        break;
    case Call::Write:
        snprintf(line, sizeof(line), "write %s fd %d @%lld \"%s\" (%zu bytes) -> %s", entry.path.c_str(), entry.fd,
                 entry.offset, escapeBytes(entry.bytes).c_str(), entry.bytes.size(), outcome(entry).c_str());
        break;
    case Call::Close:
        snprintf(line, sizeof(line), "close %s fd %d -> %s", entry.path.empty() ? "(not simulated)" : entry.path.c_str(),
                 entry.fd, outcome(entry).c_str());
        break;
    case Call::Sleep:
        snprintf(line, sizeof(line), "sleep %zu us", entry.count);
        break;
    case Call::Exec: {
        std::string arguments;
        for (const std::string& argument : entry.arguments) arguments += " " + argument;
        snprintf(line, sizeof(line), "exec  %s%s -> %s", entry.path.c_str(), arguments.c_str(), outcome(entry).c_str());
        break;
    }
    case Call::Shm: {
        // The simulator journals System V calls with their arguments as text; shmat returns an address.
        std::string arguments;
        for (const std::string& argument : entry.arguments) arguments += (arguments.empty() ? "" : ", ") + argument;
        std::string result = outcome(entry);
        if (entry.path == "shmat" && entry.result != -1) {
            char address[32];
            snprintf(address, sizeof(address), "%#llx", static_cast<unsigned long long>(entry.result));
            result = address;
        }
        if (entry.path == "shmctl" && entry.result == 0 && entry.count != 0) {
            result += " (size " + std::to_string(entry.count) + ")";
        }
        snprintf(line, sizeof(line), "shm   %s(%s) -> %s", entry.path.c_str(), arguments.c_str(), result.c_str());
        break;
    }
    case Call::Mdio:
        snprintf(line, sizeof(line), "mdio  %s", orva::sim::Mdio::describe(entry).c_str());
        break;
    }
    return line;
}

#endif

}  // namespace orva::tool
