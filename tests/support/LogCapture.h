// Collects the log records the library emits while alive (and keeps them off stderr).
#pragma once

#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "orva/host_platform.h"

namespace orva::test {

class LogCapture {
public:
    LogCapture() {
        orva::host::setLogEcho(false);
        orva::host::setLogSink([this](const orva::host::LogRecord& record) { records_.push_back(record); });
    }
    ~LogCapture() {
        orva::host::setLogSink(nullptr);
        orva::host::setLogEcho(true);
    }
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    const std::vector<orva::host::LogRecord>& records() const { return records_; }
    void clear() { records_.clear(); }

private:
    std::vector<orva::host::LogRecord> records_;
};

// The parts of a record a test states: file, function, level, errno and text (tag and reserved
// are always checked to be the library's).
struct Expected {
    std::string file;
    std::string function;
    int level;
    int errorNumber;
    std::string text;
};

inline bool operator==(const orva::host::LogRecord& record, const Expected& expected) {
    return record.tag == "orva_gpio_utils" && record.reserved == 0 && record.file == expected.file &&
           record.function == expected.function && record.level == expected.level &&
           record.errorNumber == expected.errorNumber && record.text == expected.text && record.line > 0;
}

inline void PrintTo(const Expected& e, std::ostream* os) {
    *os << "{orva_gpio_utils " << e.file << ":" << e.function << " level " << e.level << " errno " << e.errorNumber
        << " \"" << e.text << "\"}";
}

}  // namespace orva::test

namespace orva::host {
inline void PrintTo(const LogRecord& r, std::ostream* os) {
    *os << "{" << r.tag << " " << r.file << ":" << r.function << ":" << r.line << " level " << r.level << " errno "
        << r.errorNumber << " reserved " << r.reserved << " \"" << r.text << "\"}";
}
}  // namespace orva::host
