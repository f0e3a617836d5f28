// Controls of the development-host platform library that a camera's platform does not have:
// where log records go, and the console-mode switch.
#pragma once

#include <functional>
#include <string>

#include "orva/platform.h"

namespace orva::host {

struct LogRecord {
    std::string tag;
    std::string file;
    std::string function;
    int line = 0;
    int level = 0;
    int errorNumber = 0;
    int reserved = 0;
    std::string text;
};

using LogSink = std::function<void(const LogRecord&)>;

// Every record is handed to the sink (when set) before it is printed; an empty sink removes it.
ORVA_PLATFORM_API void setLogSink(LogSink sink);
// Whether records are printed on stderr (default true).
ORVA_PLATFORM_API void setLogEcho(bool echo);
// One readable line for a record: "ERROR orva_gpio_utils src/LedFace:initGPIO:42: text (errno text)".
ORVA_PLATFORM_API std::string formatRecord(const LogRecord& record);
// The value ConsoleEnabled() answers (default false).
ORVA_PLATFORM_API void setConsoleEnabled(bool enabled);

}  // namespace orva::host
