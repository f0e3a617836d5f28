// File access inside a sandbox directory that never leaves it: every component of a path below the
// sandbox root is opened with O_NOFOLLOW, so a symbolic link planted in the sandbox (by mistake or
// on purpose) is refused instead of followed. Attribute values are replaced atomically, so that a
// second process reading the board at the same time sees the old or the new value, never an empty
// one.
#pragma once

#include <string>
#include <sys/stat.h>
#include <sys/types.h>

namespace orva::sim::safe {

// Opens root/relative (relative may start with '/'). flags gain O_NOFOLLOW | O_CLOEXEC. With
// makeParents, missing directories on the way are created (0755). -1 with errno (ELOOP for a
// symbolic link anywhere below root, ENOENT for a missing component).
int openBeneath(const std::string& root, const std::string& relative, int flags, mode_t mode = 0,
                bool makeParents = false);

// lstat of root/relative without following a link on the way; -1 with errno otherwise.
int statBeneath(const std::string& root, const std::string& relative, struct stat64& info);

// Creates root/relative and its parents as directories (0755).
void makeDirectoriesBeneath(const std::string& root, const std::string& relative);

// The whole content of root/relative ("" when it cannot be read).
std::string readBeneath(const std::string& root, const std::string& relative);

// Replaces the content of root/relative atomically (a new file renamed over the old one), with
// the given mode, or the old file's mode when mode is 0. Creates the parents with makeParents.
// Returns false with errno set when the file cannot be written.
bool replaceBeneath(const std::string& root, const std::string& relative, const std::string& text, mode_t mode = 0,
                    bool makeParents = false);

// Removes root/relative (a file), without following links.
int unlinkBeneath(const std::string& root, const std::string& relative);

// Removes a directory tree without following symbolic links (links are removed, never entered).
void removeTree(const std::string& path);

// Makes a named sandbox directory usable: created 0700 when absent; refused (std::runtime_error)
// when it is a symbolic link, not a directory, or owned by another user; otherwise made 0700.
void claimDirectory(const std::string& path);

}  // namespace orva::sim::safe
