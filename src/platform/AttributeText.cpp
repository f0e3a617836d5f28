#include "AttributeText.h"

#include <cerrno>
#include <cstring>
#include <unistd.h>

namespace orva::gpioutils::attribute {

ssize_t readText(int fd, char (&buffer)[16]) {
    memset(buffer, 0, sizeof(buffer));
    ssize_t count;
    do {
        count = ::pread64(fd, buffer, sizeof(buffer) - 1, 0);
    } while (count < 0 && errno == EINTR);
    return count;
}

}  // namespace orva::gpioutils::attribute
