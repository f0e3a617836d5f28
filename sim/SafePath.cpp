#include "SafePath.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <ftw.h>
#include <linux/openat2.h>
#include <stdexcept>
#include <sys/syscall.h>
#include <unistd.h>
#include <vector>

#include "RealFunctions.h"

namespace orva::sim::safe {

namespace {

std::vector<std::string> components(const std::string& relative) {
    std::vector<std::string> parts;
    size_t start = 0;
    while (start <= relative.size()) {
        size_t end = relative.find('/', start);
        if (end == std::string::npos) end = relative.size();
        const std::string part = relative.substr(start, end - start);
        if (!part.empty() && part != ".") parts.push_back(part);
        start = end + 1;
    }
    return parts;
}

// The real open, whatever hooks this process carries: the sandbox's own files are not simulated.
int realOpenAt(int directory, const char* path, int flags, mode_t mode) {
    ORVA_REAL(openat64);
    return real(directory, path, flags, mode);
}

int closeKeepingErrno(int fd) {
    const int error = errno;
    ORVA_REAL(close);
    const int result = real(fd);
    errno = error;
    return result;
}

// The components of relative, or false with errno when there are none or one of them is "..".
bool checkedComponents(const std::string& relative, std::vector<std::string>& parts) {
    parts = components(relative);
    if (parts.empty()) {
        errno = EINVAL;
        return false;
    }
    for (const std::string& part : parts) {
        if (part == "..") {
            errno = EACCES;
            return false;
        }
    }
    return true;
}

std::string joined(const std::vector<std::string>& parts, size_t count) {
    std::string path;
    for (size_t i = 0; i < count; ++i) {
        if (i > 0) path += '/';
        path += parts[i];
    }
    return path;
}

// One kernel call resolving the whole path below root, where the kernel has it: openat2 refuses a
// symbolic link anywhere on the way and any step above root, as the component walk below does.
// Only its successes are used: on any failure the caller walks the components, which gives the
// errno the walk has always given. -1 when it failed or is not available.
int openResolved(const std::string& root, const std::string& path, int flags, mode_t mode) {
#ifdef SYS_openat2
    static bool unavailable = false;
    if (unavailable) return -1;
    const int directory = realOpenAt(AT_FDCWD, root.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC, 0);
    if (directory < 0) return -1;
    open_how how{};
    how.flags = static_cast<uint64_t>(flags | O_NOFOLLOW | O_CLOEXEC);
    how.mode = (flags & (O_CREAT | O_TMPFILE)) ? mode : 0;
    how.resolve = RESOLVE_BENEATH | RESOLVE_NO_SYMLINKS | RESOLVE_NO_MAGICLINKS;
    const int error = errno;
    const long fd = syscall(SYS_openat2, directory, path.c_str(), &how, sizeof(how));
    if (fd < 0 && errno == ENOSYS) unavailable = true;
    closeKeepingErrno(directory);
    errno = error;
    return fd < 0 ? -1 : static_cast<int>(fd);
#else
    (void)root;
    (void)path;
    (void)flags;
    (void)mode;
    return -1;
#endif
}

// Opens the directory holding the last component; leaf receives that component. -1 with errno.
int openParent(const std::string& root, const std::string& relative, std::string& leaf, bool makeParents) {
    std::vector<std::string> parts;
    if (!checkedComponents(relative, parts)) return -1;
    if (parts.size() > 1) {
        const int resolved = openResolved(root, joined(parts, parts.size() - 1), O_RDONLY | O_DIRECTORY, 0);
        if (resolved >= 0) {
            leaf = parts.back();
            return resolved;
        }
    }
    int directory = realOpenAt(AT_FDCWD, root.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC, 0);
    if (directory < 0) return -1;
    for (size_t i = 0; i + 1 < parts.size(); ++i) {
        int next = realOpenAt(directory, parts[i].c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC, 0);
        if (next < 0 && errno == ENOENT && makeParents) {
            if (mkdirat(directory, parts[i].c_str(), 0755) != 0 && errno != EEXIST) {
                closeKeepingErrno(directory);
                return -1;
            }
            next = realOpenAt(directory, parts[i].c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC, 0);
        }
        closeKeepingErrno(directory);
        if (next < 0) {
            // A link where a directory should be reads as ENOTDIR with O_NOFOLLOW | O_DIRECTORY.
            if (errno == ENOTDIR) errno = ELOOP;
            return -1;
        }
        directory = next;
    }
    leaf = parts.back();
    return directory;
}

int removeEntry(const char* path, const struct stat64*, int, struct FTW*) {
    if (remove(path) != 0) fprintf(stderr, "orva-sim: could not remove %s: %s\n", path, strerror(errno));
    return 0;
}

}  // namespace

int openBeneath(const std::string& root, const std::string& relative, int flags, mode_t mode, bool makeParents) {
    std::vector<std::string> parts;
    if (!checkedComponents(relative, parts)) return -1;
    const int resolved = openResolved(root, joined(parts, parts.size()), flags, mode);
    if (resolved >= 0) return resolved;
    std::string leaf;
    const int directory = openParent(root, relative, leaf, makeParents);
    if (directory < 0) return -1;
    const int fd = realOpenAt(directory, leaf.c_str(), flags | O_NOFOLLOW | O_CLOEXEC, mode);
    closeKeepingErrno(directory);
    return fd;
}

int statBeneath(const std::string& root, const std::string& relative, struct stat64& info) {
    std::string leaf;
    const int directory = openParent(root, relative, leaf, false);
    if (directory < 0) return -1;
    const int result = fstatat64(directory, leaf.c_str(), &info, AT_SYMLINK_NOFOLLOW);
    closeKeepingErrno(directory);
    return result;
}

void makeDirectoriesBeneath(const std::string& root, const std::string& relative) {
    // Every component of relative is a parent of a name below it.
    std::string leaf;
    const int directory = openParent(root, relative + "/.orva-directory", leaf, true);
    if (directory < 0) {
        throw std::runtime_error("orva-sim: cannot create " + root + relative + ": " + strerror(errno));
    }
    closeKeepingErrno(directory);
}

std::string readBeneath(const std::string& root, const std::string& relative) {
    const int fd = openBeneath(root, relative, O_RDONLY);
    if (fd < 0) return std::string();
    std::string text;
    char chunk[512];
    ORVA_REAL(read);
    for (;;) {
        const ssize_t count = real(fd, chunk, sizeof(chunk));
        if (count <= 0) break;
        text.append(chunk, static_cast<size_t>(count));
    }
    closeKeepingErrno(fd);
    return text;
}

bool replaceBeneath(const std::string& root, const std::string& relative, const std::string& text, mode_t mode,
                    bool makeParents) {
    std::string leaf;
    const int directory = openParent(root, relative, leaf, makeParents);
    if (directory < 0) return false;
    struct stat64 old {};
    if (fstatat64(directory, leaf.c_str(), &old, AT_SYMLINK_NOFOLLOW) == 0) {
        if (S_ISLNK(old.st_mode) || !S_ISREG(old.st_mode)) {
            closeKeepingErrno(directory);
            errno = S_ISLNK(old.st_mode) ? ELOOP : EISDIR;
            return false;
        }
        if (mode == 0) mode = old.st_mode & 07777;
    }
    if (mode == 0) mode = 0644;
    char temporary[64];
    static unsigned counter = 0;
    snprintf(temporary, sizeof(temporary), ".orva-new-%d-%u", static_cast<int>(getpid()), ++counter);
    const int fd = realOpenAt(directory, temporary, O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600);
    bool ok = fd >= 0;
    if (ok) {
        ORVA_REAL(write);
        size_t done = 0;
        while (ok && done < text.size()) {
            const ssize_t count = real(fd, text.data() + done, text.size() - done);
            ok = count > 0;
            if (ok) done += static_cast<size_t>(count);
        }
        ok = ok && fchmod(fd, mode) == 0;
        closeKeepingErrno(fd);
        ok = ok && renameat(directory, temporary, directory, leaf.c_str()) == 0;
        if (!ok) {
            const int error = errno;
            unlinkat(directory, temporary, 0);
            errno = error;
        }
    }
    closeKeepingErrno(directory);
    return ok;
}

int unlinkBeneath(const std::string& root, const std::string& relative) {
    std::string leaf;
    const int directory = openParent(root, relative, leaf, false);
    if (directory < 0) return -1;
    const int result = unlinkat(directory, leaf.c_str(), 0);
    closeKeepingErrno(directory);
    return result;
}

void removeTree(const std::string& path) {
    struct stat64 info {};
    if (path.size() <= 1 || lstat64(path.c_str(), &info) != 0) return;
    if (!S_ISDIR(info.st_mode)) {
        unlink(path.c_str());
        return;
    }
    // FTW_PHYS: links are reported as links and removed, never followed; FTW_DEPTH: contents first.
    nftw64(path.c_str(), removeEntry, 16, FTW_PHYS | FTW_DEPTH | FTW_MOUNT);
}

void claimDirectory(const std::string& path) {
    if (mkdir(path.c_str(), 0700) == 0) return;
    if (errno != EEXIST) throw std::runtime_error("orva-sim: cannot create " + path + ": " + strerror(errno));
    struct stat64 info {};
    if (lstat64(path.c_str(), &info) != 0) {
        throw std::runtime_error("orva-sim: cannot use " + path + ": " + strerror(errno));
    }
    if (S_ISLNK(info.st_mode)) throw std::runtime_error("orva-sim: sandbox " + path + " is a symbolic link");
    if (!S_ISDIR(info.st_mode)) throw std::runtime_error("orva-sim: sandbox " + path + " is not a directory");
    if (info.st_uid != geteuid()) throw std::runtime_error("orva-sim: sandbox " + path + " belongs to another user");
    if ((info.st_mode & 07777) != 0700 && chmod(path.c_str(), 0700) != 0) {
        throw std::runtime_error("orva-sim: cannot make " + path + " private: " + strerror(errno));
    }
}

}  // namespace orva::sim::safe
