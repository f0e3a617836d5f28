// Runs a test body in a forked child process, for state the library keeps per process: whatever
// the body changes stays in the child, so test order cannot change a result.
#pragma once

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <functional>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

namespace orva::test {

// The child's expectation failures are printed as usual and make it exit with 1, which fails the
// test here.
inline void inFreshProcess(const std::function<void()>& body) {
    fflush(stdout);
    fflush(stderr);
    const pid_t child = fork();
    ASSERT_NE(child, -1) << strerror(errno);
    if (child == 0) {
        body();
        fflush(stdout);
        _exit(testing::Test::HasFailure() ? 1 : 0);
    }
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << "the child process failed (see above), status " << status;
}

}  // namespace orva::test
