// Program stand-ins of the simulator, reached the way the library reaches programs: through the
// platform's sysExecSimple (posix_spawn and waitpid).
#include <cerrno>
#include <csignal>
#include <spawn.h>
#include <stdexcept>
#include <sys/wait.h>
#include <unistd.h>

#include <gmock/gmock.h>

#include "BoardFixture.h"
#include "orva/platform.h"
#include "orva/sim/Programs.h"

using namespace orva::test;
using orva::sim::ProgramOutcome;
using orva::sim::Sandbox;
using testing::ElementsAre;

extern char** environ;

namespace {

const std::string kTool = "/bin/orva_isp_fac_cmd";
const std::string kUartcli = "/usr/bin/uartcli";

}  // namespace

TEST(SimPrograms, StandInSeesTheArgumentsAndChoosesTheExitStatus) {
    Sandbox sandbox;
    std::vector<std::vector<std::string>> seen;
    orva::sim::registerProgram(kTool, [&](const std::vector<std::string>& arguments) {
        seen.push_back(arguments);
        return ProgramOutcome::exited(seen.size() == 1 ? 0 : 4);
    });
    sandbox.advanceMs(7);
    EXPECT_EQ(orva::utils::sysExecSimple(kTool, {"06", "81", "ff"}), 0);
    EXPECT_EQ(orva::utils::sysExecSimple(kTool, {}), 4);
    EXPECT_THAT(seen, ElementsAre(std::vector<std::string>{"06", "81", "ff"}, std::vector<std::string>{}));

    const auto execs = calls(sandbox.journal(), Call::Exec);
    ASSERT_EQ(execs.size(), 2u);
    EXPECT_EQ(execs[0].path, kTool);
    EXPECT_THAT(execs[0].arguments, ElementsAre("06", "81", "ff"));
    EXPECT_EQ(execs[0].result, 0);
    EXPECT_EQ(execs[0].timeUs, 7000u);
    EXPECT_EQ(execs[1].result, 4);
    EXPECT_EQ(orva::sim::programRuns(kTool),
              (std::vector<std::vector<std::string>>{{"06", "81", "ff"}, {}}));
    EXPECT_TRUE(orva::sim::programRuns(kUartcli).empty());
}

TEST(SimPrograms, FixedExitCodeShorthand) {
    Sandbox sandbox;
    orva::sim::registerProgram(kUartcli, 0);
    orva::sim::registerProgram(kTool, 2);
    EXPECT_EQ(orva::utils::sysExecSimple(kUartcli, {"a"}), 0);
    EXPECT_EQ(orva::utils::sysExecSimple(kTool, {"b"}), 2);
    orva::sim::registerProgram(kTool, 0);  // replaces the first registration
    EXPECT_EQ(orva::utils::sysExecSimple(kTool, {"c"}), 0);
    EXPECT_TRUE(orva::sim::isProgramRegistered(kTool));
    orva::sim::unregisterProgram(kTool);
    EXPECT_FALSE(orva::sim::isProgramRegistered(kTool));
    EXPECT_TRUE(orva::sim::isProgramRegistered(kUartcli));
}

TEST(SimPrograms, SpawnFailureAndSignalAreFailuresOfTheRun) {
    Sandbox sandbox;
    orva::sim::registerProgram(kTool, [](const std::vector<std::string>&) { return ProgramOutcome::notStarted(EACCES); });
    EXPECT_EQ(orva::utils::sysExecSimple(kTool, {"x"}), -1);
    orva::sim::registerProgram(kTool, [](const std::vector<std::string>&) { return ProgramOutcome::killed(SIGKILL); });
    EXPECT_EQ(orva::utils::sysExecSimple(kTool, {"y"}), -1);
    orva::sim::registerProgram(kTool, 127);  // how a missing program looks under user-mode emulation
    EXPECT_EQ(orva::utils::sysExecSimple(kTool, {"z"}), -1);

    const auto execs = calls(sandbox.journal(), Call::Exec);
    ASSERT_EQ(execs.size(), 3u);
    EXPECT_EQ(execs[0].result, -1);
    EXPECT_EQ(execs[0].error, EACCES);
    EXPECT_EQ(execs[1].result, 128 + SIGKILL);
    EXPECT_EQ(execs[2].result, 127);
}

TEST(SimPrograms, WaitStatusLooksLikeARealChild) {
    Sandbox sandbox;
    orva::sim::registerProgram(kTool, 9);
    char program[] = "orva_isp_fac_cmd";
    char argument[] = "-v";
    char* argv[] = {program, argument, nullptr};
    pid_t child = 0;
    // posix_spawnp finds a registered program by its name alone.
    ASSERT_EQ(posix_spawnp(&child, "orva_isp_fac_cmd", nullptr, nullptr, argv, environ), 0);
    EXPECT_GT(child, 0);
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), 9);
    // Reaped once, like a real child.
    errno = 0;
    EXPECT_EQ(waitpid(child, &status, 0), -1);
    EXPECT_EQ(errno, ECHILD);
    EXPECT_THAT(orva::sim::programRuns("orva_isp_fac_cmd"), ElementsAre(std::vector<std::string>{"-v"}));
}

TEST(SimPrograms, RegistrationsEndWithTheSandbox) {
    {
        Sandbox sandbox;
        orva::sim::registerProgram(kTool, 0);
        EXPECT_TRUE(orva::sim::isProgramRegistered(kTool));
    }
    Sandbox sandbox;
    EXPECT_FALSE(orva::sim::isProgramRegistered(kTool));
}

TEST(SimPrograms, RegistrationNeedsASandbox) {
    EXPECT_THROW(orva::sim::registerProgram(kTool, 0), std::logic_error);
    EXPECT_THROW(orva::sim::programRuns(kTool), std::logic_error);
}

TEST(SimProgramsDeathTest, UnregisteredProgramInASandboxFailsLoudly) {
    Sandbox sandbox;
    orva::sim::registerProgram(kUartcli, 0);
    EXPECT_DEATH(orva::utils::sysExecSimple(kTool, {"06"}),
                 "orva-sim: /bin/orva_isp_fac_cmd was started while a sandbox is active, but no stand-in is "
                 "registered for it");
}

TEST(SimPrograms, RealProgramsRunOutsideASandbox) {
    EXPECT_EQ(orva::utils::sysExecSimple("/bin/true", {}), 0);
    EXPECT_EQ(orva::utils::sysExecSimple("/bin/sh", {"-c", "exit 3"}), 3);
    // A real child is still reaped through waitpid while a sandbox is active.
    Sandbox sandbox;
    const pid_t child = fork();
    ASSERT_NE(child, -1);
    if (child == 0) _exit(6);
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(WEXITSTATUS(status), 6);
}
