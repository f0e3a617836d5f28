// Text helpers and program execution of the host platform.
#include <cctype>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <spawn.h>
#include <sys/wait.h>

#include "orva/platform.h"

extern char** environ;

namespace orva::utils {

// One formatting pass into a stack buffer covers every value and path the library formats; only
// text that does not fit is formatted a second time, straight into the string.
std::string format(const char* fmt, ...) {
    char buffer[256];
    va_list args;
    va_start(args, fmt);
    va_list copy;
    va_copy(copy, args);
    const int length = vsnprintf(buffer, sizeof(buffer), fmt, copy);
    va_end(copy);
    std::string text;
    if (length > 0) {
        const size_t size = static_cast<size_t>(length);
        if (size < sizeof(buffer)) {
            text.assign(buffer, size);
        } else {
            text.resize(size);
            // C++17 strings keep room for the terminator vsnprintf writes after the last character.
            vsnprintf(&text[0], size + 1, fmt, args);
        }
    }
    va_end(args);
    return text;
}

// Blanks are removed where they are: the tail is cut off, then the head erased, with no copy.
void trim(std::string& text) {
    size_t end = text.size();
    while (end > 0 && isspace(static_cast<unsigned char>(text[end - 1]))) --end;
    size_t begin = 0;
    while (begin < end && isspace(static_cast<unsigned char>(text[begin]))) ++begin;
    text.resize(end);
    if (begin > 0) text.erase(0, begin);
}

std::string toString(int value) { return format("%d", value); }
std::string toString(unsigned int value) { return format("%u", value); }

int sysExecSimple(const std::string& program, const std::vector<std::string>& arguments) {
    std::vector<char*> argv;
    argv.reserve(arguments.size() + 2);
    argv.push_back(const_cast<char*>(program.c_str()));
    for (const std::string& argument : arguments) argv.push_back(const_cast<char*>(argument.c_str()));
    argv.push_back(nullptr);
    pid_t child = 0;
    const int spawned = posix_spawn(&child, program.c_str(), nullptr, nullptr, argv.data(), environ);
    if (spawned != 0) return -1;
    int status = 0;
    pid_t waited;
    do {
        waited = waitpid(child, &status, 0);
    } while (waited < 0 && errno == EINTR);
    if (waited < 0) return -1;
    if (!WIFEXITED(status)) return -1;
    // posix_spawn under user-mode emulation reports a missing program as a 127 exit.
    const int code = WEXITSTATUS(status);
    return code == 127 ? -1 : code;
}

}  // namespace orva::utils
