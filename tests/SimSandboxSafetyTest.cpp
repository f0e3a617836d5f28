// The simulator never reaches outside its sandbox: links planted in it are refused, named sandbox
// directories are private to their user, removal follows no link, and values change atomically.
#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <stdexcept>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "orva/sim/Sandbox.h"
#include "orva/sim/SharedMemory.h"

using orva::sim::Sandbox;

namespace {

// A scratch folder outside any sandbox, with one file whose content and mode must stay as they are.
class Outside {
public:
    Outside() {
        char pattern[] = "/tmp/orva-outside-XXXXXX";
        folder_ = mkdtemp(pattern);
        file_ = folder_ + "/precious";
        FILE* out = fopen(file_.c_str(), "w");
        fputs("keep", out);
        fclose(out);
        chmod(file_.c_str(), 0600);
    }
    ~Outside() {
        std::remove(file_.c_str());
        rmdir(folder_.c_str());
    }
    const std::string& folder() const { return folder_; }
    const std::string& file() const { return file_; }
    std::string content() const {
        char buffer[64] = {};
        FILE* in = fopen(file_.c_str(), "r");
        if (in == nullptr) return "(gone)";
        const size_t got = fread(buffer, 1, sizeof(buffer) - 1, in);
        fclose(in);
        return std::string(buffer, got);
    }
    unsigned mode() const {
        struct stat info {};
        stat(file_.c_str(), &info);
        return info.st_mode & 07777;
    }

private:
    std::string folder_;
    std::string file_;
};

std::string freshName() {
    char pattern[] = "/tmp/orva-named-XXXXXX";
    const std::string name = mkdtemp(pattern);
    rmdir(name.c_str());
    return name;
}

void removeNamed(const std::string& directory) {
    // Leaves nothing behind: the named sandboxes of these tests hold only what the tests made.
    const std::string command = std::string("rm -rf -- ") + directory;  // test clean-up only
    if (system(command.c_str()) != 0) ADD_FAILURE() << "could not remove " << directory;
}

}  // namespace

TEST(SimSandboxSafety, ALinkedDirectoryInTheSandboxIsRefusedNotFollowed) {
    Outside outside;
    Sandbox sandbox;
    sandbox.addDirectory("/sys/class/leds");
    ASSERT_EQ(symlink(outside.folder().c_str(), (sandbox.root() + "/sys/class/leds/evil").c_str()), 0);

    errno = 0;
    EXPECT_EQ(open64("/sys/class/leds/evil/precious", O_RDWR | O_CREAT | O_TRUNC, 0666), -1);
    EXPECT_EQ(errno, ELOOP);
    EXPECT_THROW(sandbox.addAttribute("/sys/class/leds/evil/precious", "overwritten", 0666), std::runtime_error);
    EXPECT_THROW(sandbox.setValue("/sys/class/leds/evil/precious", "overwritten"), std::invalid_argument);
    EXPECT_EQ(sandbox.value("/sys/class/leds/evil/precious"), "");
    EXPECT_FALSE(sandbox.hasAttribute("/sys/class/leds/evil/precious"));
    // The platform's isFile asks through stat: it does not see through the link either.
    struct stat64 info {};
    errno = 0;
    EXPECT_EQ(stat64("/sys/class/leds/evil/precious", &info), -1);
    EXPECT_EQ(errno, ELOOP);
    EXPECT_EQ(outside.content(), "keep");
    EXPECT_EQ(outside.mode(), 0600u);
}

TEST(SimSandboxSafety, ALinkedAttributeIsRefusedNotFollowed) {
    Outside outside;
    Sandbox sandbox;
    sandbox.addDirectory("/sys/class/leds/x");
    ASSERT_EQ(symlink(outside.file().c_str(), (sandbox.root() + "/sys/class/leds/x/brightness").c_str()), 0);

    errno = 0;
    EXPECT_EQ(open64("/sys/class/leds/x/brightness", O_RDWR | O_CREAT | O_TRUNC, 0666), -1);
    EXPECT_EQ(errno, ELOOP);
    EXPECT_THROW(sandbox.addAttribute("/sys/class/leds/x/brightness", "1", 0666), std::runtime_error);
    EXPECT_EQ(outside.content(), "keep");
    EXPECT_EQ(outside.mode(), 0600u);
}

TEST(SimSandboxSafety, ALinkedSharedMemoryFolderIsNotWrittenThrough) {
    Outside outside;
    const std::string directory = freshName();
    {
        Sandbox sandbox(directory);
        ASSERT_EQ(symlink(outside.folder().c_str(), (sandbox.root() + "/sysv-shm").c_str()), 0);
        orva::sim::SharedMemory::create(0x162F, 512);
    }
    struct stat info {};
    EXPECT_NE(stat((outside.folder() + "/0x162f").c_str(), &info), 0) << "a record was written through the link";
    EXPECT_EQ(outside.content(), "keep");
    removeNamed(directory);
}

TEST(SimSandboxSafety, RemovingASandboxRemovesLinksButNotWhatTheyPointTo) {
    Outside outside;
    std::string root;
    {
        Sandbox sandbox;
        root = sandbox.root();
        sandbox.addDirectory("/sys/class");
        ASSERT_EQ(symlink(outside.folder().c_str(), (root + "/sys/class/away").c_str()), 0);
    }
    struct stat info {};
    EXPECT_NE(lstat(root.c_str(), &info), 0) << root << " is still there";
    EXPECT_EQ(outside.content(), "keep");
}

TEST(SimSandboxSafety, SandboxDirectoriesArePrivateToTheirUser) {
    {
        Sandbox sandbox;
        struct stat info {};
        ASSERT_EQ(stat(sandbox.root().c_str(), &info), 0);
        EXPECT_EQ(info.st_mode & 07777, 0700u);
    }
    const std::string directory = freshName();
    ASSERT_EQ(mkdir(directory.c_str(), 0777), 0);
    chmod(directory.c_str(), 0777);
    {
        Sandbox sandbox(directory);
        struct stat info {};
        ASSERT_EQ(stat(directory.c_str(), &info), 0);
        EXPECT_EQ(info.st_mode & 07777, 0700u);
    }
    removeNamed(directory);
}

TEST(SimSandboxSafety, NamedSandboxesThatAreNotPlainOwnDirectoriesAreRefused) {
    Outside outside;
    // A file, a link, and (where the test may change owners) another user's directory.
    EXPECT_THROW(Sandbox{outside.file()}, std::runtime_error);
    const std::string link = freshName();
    ASSERT_EQ(symlink(outside.folder().c_str(), link.c_str()), 0);
    EXPECT_THROW(Sandbox{link}, std::runtime_error);
    unlink(link.c_str());
    if (geteuid() == 0) {
        const std::string foreign = freshName();
        ASSERT_EQ(mkdir(foreign.c_str(), 0700), 0);
        ASSERT_EQ(chown(foreign.c_str(), 65534, 65534), 0);
        try {
            Sandbox sandbox(foreign);
            ADD_FAILURE() << "a directory of another user was taken";
        } catch (const std::runtime_error& error) {
            EXPECT_NE(std::string(error.what()).find("belongs to another user"), std::string::npos) << error.what();
        }
        rmdir(foreign.c_str());
    }
    // Nothing of the refused sandboxes stays active.
    Sandbox usable;
    EXPECT_EQ(Sandbox::active(), &usable);
    EXPECT_EQ(outside.content(), "keep");
}

TEST(SimSandboxSafety, AValueChangesAtomically) {
    Sandbox sandbox;
    sandbox.addAttribute("/proc/gpio/ring_btn", "1");
    // A reader that opened the file before the change keeps reading the whole old value: the new
    // value arrives as a new file, never as an emptied one.
    const std::string file = sandbox.root() + "/proc/gpio/ring_btn";
    FILE* before = fopen(file.c_str(), "r");
    ASSERT_NE(before, nullptr);
    sandbox.setValue("/proc/gpio/ring_btn", "0");
    char old[8] = {};
    EXPECT_EQ(fread(old, 1, sizeof(old) - 1, before), 1u);
    EXPECT_STREQ(old, "1");
    fclose(before);
    EXPECT_EQ(sandbox.value("/proc/gpio/ring_btn"), "0");

    // The same holds for writes through the hooks.
    FILE* second = fopen(file.c_str(), "r");
    const int fd = open64("/proc/gpio/ring_btn", O_RDWR | O_CREAT | O_TRUNC, 0666);
    ASSERT_GT(fd, 0);
    EXPECT_EQ(pwrite64(fd, "1", 2, 0), 2);
    char seen[8] = {};
    EXPECT_EQ(fread(seen, 1, sizeof(seen) - 1, second), 1u);
    EXPECT_STREQ(seen, "0");
    fclose(second);
    EXPECT_EQ(sandbox.value("/proc/gpio/ring_btn"), "1");
    char shown[8] = {};
    EXPECT_EQ(pread64(fd, shown, 7, 0), 2);
    EXPECT_STREQ(shown, "1\n");
    close(fd);
}
