// Host logger: one readable line per record on stderr, and a sink for tests and tools.
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <sys/stat.h>

#include "orva/host_platform.h"

namespace {

orva::host::LogSink& sink() {
    static orva::host::LogSink instance;
    return instance;
}
bool gEcho = true;
bool gConsole = false;

const char* levelName(int level) {
    switch (level) {
    case 0: return "EMERG";
    case 1: return "ALERT";
    case 2: return "CRIT";
    case 3: return "ERROR";
    case 4: return "WARN";
    case 5: return "NOTICE";
    case 6: return "INFO";
    case 7: return "DEBUG";
    default: return "LEVEL?";
    }
}

}  // namespace

namespace orva::host {

void setLogSink(LogSink newSink) { sink() = std::move(newSink); }
void setLogEcho(bool echo) { gEcho = echo; }
void setConsoleEnabled(bool enabled) { gConsole = enabled; }

std::string formatRecord(const LogRecord& r) {
    std::string line = orva::utils::format("%-5s %s %s:%s:%d: %s", levelName(r.level), r.tag.c_str(),
                                           r.file.c_str(), r.function.c_str(), r.line, r.text.c_str());
    if (r.errorNumber != 0) {
        line += orva::utils::format(" (errno %d: %s)", r.errorNumber, strerror(r.errorNumber));
    }
    return line;
}

}  // namespace orva::host

extern "C" int logInternal(const char* tag, const char* file, const char* function, int line, int level,
                           int errorNumber, int reserved, const char* format, ...) {
    const int savedErrno = errno;
    orva::host::LogRecord record;
    record.tag = tag ? tag : "";
    record.file = file ? file : "";
    record.function = function ? function : "";
    record.line = line;
    record.level = level;
    record.errorNumber = errorNumber;
    record.reserved = reserved;
    va_list args;
    va_start(args, format);
    va_list copy;
    va_copy(copy, args);
    const int length = vsnprintf(nullptr, 0, format, copy);
    va_end(copy);
    if (length > 0) {
        record.text.resize(static_cast<size_t>(length) + 1);
        vsnprintf(&record.text[0], record.text.size(), format, args);
        record.text.resize(static_cast<size_t>(length));
    }
    va_end(args);
    if (sink()) sink()(record);
    if (gEcho) {
        const std::string text = orva::host::formatRecord(record);
        fprintf(stderr, "%s\n", text.c_str());
    }
    errno = savedErrno;
    return length;
}

extern "C" void forceCrash(int logResult) {
    logInternal("orva_platform", "host/Logging", "forceCrash", __LINE__, 2, 0, 0,
                "forceCrash called (log result %d)", logResult);
    fflush(stderr);
    abort();
}

extern "C" bool ConsoleEnabled(void) { return gConsole; }

extern "C" uint64_t nowMs(void) {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    const uint64_t ms = static_cast<uint64_t>(now.tv_sec) * 1000u + static_cast<uint64_t>(now.tv_nsec) / 1000000u;
    return ms == 0 ? 1 : ms;
}

extern "C" bool isFile(const char* path) {
    struct stat info{};
    return path != nullptr && stat(path, &info) == 0 && S_ISREG(info.st_mode);
}
