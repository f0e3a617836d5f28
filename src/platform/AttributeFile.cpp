#include "AttributeFile.h"

#include "Arithmetic32.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

namespace orva::gpioutils::attribute {

namespace arith = orva::gpioutils::arith;

namespace {
int openRetrying(const char* path) {
    int fd;
    do {
        fd = ::open64(path, O_RDWR | O_CREAT | O_TRUNC, 0666);
    } while (fd < 0 && errno == EINTR);
    return fd;
}
}  // namespace

int open(const LogSite& site, const char* path) {
    const int fd = openRetrying(path);
    if (fd <= 0) {
        ORVA_LOG_AT(site, kLogError, 0, "Failed to open proc entry '%s'", path);
    }
    return fd;
}

int openReportingErrno(const LogSite& site, const char* path) {
    const int fd = openRetrying(path);
    if (fd <= 0) {
        // Descriptor 0 is no kernel error: there is no errno to report with it.
        ORVA_LOG_AT(site, kLogError, fd < 0 ? errno : 0, "Failed to open proc entry '%s'", path);
    }
    return fd;
}

int openUsable(const LogSite& site, const char* path, bool reportErrno) {
    int fd = reportErrno ? openReportingErrno(site, path) : open(site, path);
    if (!isOpen(fd)) close(fd);
    return fd;
}

bool readNumber(const LogSite& site, int fd, int& value) {
    char buffer[16] = {};
    ssize_t count;
    do {
        count = ::pread64(fd, buffer, sizeof(buffer) - 1, 0);
    } while (count < 0 && errno == EINTR);
    if (count < 1 || count > 15) {
        ORVA_LOG_AT(site, kLogError, errno, "Failed to read from proc entry 0x%x, num bytes read %d", fd,
                    static_cast<int>(count));
        return false;
    }
    std::string text(buffer, static_cast<size_t>(count));
    orva::utils::trim(text);
    // atoi as the camera computes it: out-of-range text saturates instead of being undefined.
    value = arith::parseLong32(text.c_str(), 10);
    return true;
}

bool writeText(const LogSite& site, int fd, const std::string& text) { return writeText(site, fd, text.c_str()); }

bool writeText(const LogSite& site, int fd, const char* text) {
    const size_t length = strlen(text) + 1;
    ssize_t written;
    do {
        written = ::pwrite64(fd, text, length, 0);
    } while (written < 0 && errno == EINTR);
    if (written < 0 || static_cast<size_t>(written) != length) {
        ORVA_LOG_AT(site, kLogError, errno, "Failed to write '%s' to proc entry 0x%x", text, fd);
        return false;
    }
    return true;
}

bool writeNumber(const LogSite& site, int fd, int value) {
    return writeText(site, fd, orva::utils::format("%d", value));
}

void close(int& fd) {
    if (fd >= 0) {
        ::close(fd);
        fd = -1;
    }
}

}  // namespace orva::gpioutils::attribute
