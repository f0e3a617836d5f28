// Raw text of a kernel attribute file, for faces that parse it themselves instead of as a decimal
// number: up to 15 bytes at offset 0, retried while the read fails with EINTR.
#pragma once

#include <sys/types.h>

namespace orva::gpioutils::attribute {

// pread64(fd, buffer, 15, 0) into buffer, zeroed first, so the text is always NUL-terminated.
// Returns the read's result: the byte count, or -1 with errno set.
ssize_t readText(int fd, char (&buffer)[16]);

}  // namespace orva::gpioutils::attribute
