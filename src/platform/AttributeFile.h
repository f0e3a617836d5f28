// Kernel attribute files ("/proc/gpio/..." entries and sysfs files): opened once and kept open,
// read and written at offset 0, every call retried while it fails with EINTR.
#pragma once

#include <string>

#include "Log.h"

namespace orva::gpioutils::attribute {

// open64(path, O_RDWR | O_CREAT | O_TRUNC, 0666). Returns the raw result; a result of 0 or less
// is a failure and is logged as "Failed to open proc entry '%s'" at the caller's site.
int open(const LogSite& site, const char* path);

// As open(), with the open's errno in the record (0 for descriptor 0, which is no kernel error).
int openReportingErrno(const LogSite& site, const char* path);

// Whether a descriptor returned by open() is usable.
inline bool isOpen(int fd) { return fd > 0; }

// open() or openReportingErrno() for faces that keep only usable descriptors: a descriptor 0 (a
// failed open that still opened a file) is closed at once, so the result is either usable or -1.
int openUsable(const LogSite& site, const char* path, bool reportErrno);

// Up to 15 bytes at offset 0, trimmed, atoi. 0 bytes or an error is logged as
// "Failed to read from proc entry 0x%x, num bytes read %d" and gives false.
bool readNumber(const LogSite& site, int fd, int& value);

// text and its NUL at offset 0 in one positional write; anything short of every byte is logged as
// "Failed to write '%s' to proc entry 0x%x" and gives false.
bool writeText(const LogSite& site, int fd, const std::string& text);

// As writeText, for text already in a buffer: hot paths write without building a string.
bool writeText(const LogSite& site, int fd, const char* text);

// The decimal text of value, as writeText.
bool writeNumber(const LogSite& site, int fd, int value);

// Closes fd when it is not negative and marks it closed (-1).
void close(int& fd);

}  // namespace orva::gpioutils::attribute
