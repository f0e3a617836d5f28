// Logging convention of the library: every record carries the library tag, the class's
// source file (each .cpp defines kLogSource), the calling function and its line.
#pragma once

#include "orva/platform.h"

namespace orva::gpioutils {

constexpr const char* kLogTag = "orva_gpio_utils";
constexpr int kLogError = 3;
constexpr int kLogWarning = 4;
constexpr int kLogInfo = 6;
constexpr int kLogDebug = 7;

// Where a record comes from; lets shared helpers log on behalf of their caller.
struct LogSite {
    const char* file;
    const char* function;
    int line;
};

}  // namespace orva::gpioutils

#define ORVA_LOG(level, errorNumber, ...) \
    ::logInternal(::orva::gpioutils::kLogTag, kLogSource, __func__, __LINE__, (level), (errorNumber), 0, __VA_ARGS__)

#define ORVA_LOG_AT(site, level, errorNumber, ...)                                                       \
    ::logInternal(::orva::gpioutils::kLogTag, (site).file, (site).function, (site).line, (level), (errorNumber), \
                  0, __VA_ARGS__)

#define ORVA_HERE (::orva::gpioutils::LogSite{kLogSource, __func__, __LINE__})
