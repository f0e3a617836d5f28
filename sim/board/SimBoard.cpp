#include "orva/sim/SimBoard.h"

#include <algorithm>
#include <cstdlib>
#include <dirent.h>
#include <dlfcn.h>
#include <sys/stat.h>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <unistd.h>

#include "orva/platform.h"
#include "orva/sim/Mdio.h"
#include "orva/sim/SharedMemory.h"

#ifndef ORVA_BOARDS_DIR
#error "ORVA_BOARDS_DIR must name the boards/ folder"
#endif
#ifndef ORVA_BOARDS_RELATIVE
#error "ORVA_BOARDS_RELATIVE must name the installed profiles relative to the library's directory"
#endif

namespace orva::sim {

namespace {

std::string hexName(uint32_t sysid) {
    char name[16];
    snprintf(name, sizeof(name), "%04x", sysid);
    return name;
}

unsigned long long parseUnsigned(const std::string& text, const std::string& where) {
    char* end = nullptr;
    const unsigned long long value = strtoull(text.c_str(), &end, 0);
    if (text.empty() || *end != '\0') throw std::runtime_error(where + ": not a number: " + text);
    return value;
}

long long parseSigned(const std::string& text, const std::string& where) {
    char* end = nullptr;
    const long long value = strtoll(text.c_str(), &end, 0);
    if (text.empty() || *end != '\0') throw std::runtime_error(where + ": not a number: " + text);
    return value;
}

void assign(orva::variant::Variant& slot, const BoardProfile::InfoKey& key, const std::string& where) {
    if (key.type == "u64") {
        slot = static_cast<unsigned long long>(parseUnsigned(key.value, where));
    } else if (key.type == "u32") {
        slot = static_cast<unsigned int>(parseUnsigned(key.value, where));
    } else if (key.type == "i32") {
        slot = static_cast<int>(parseSigned(key.value, where));
    } else if (key.type == "i8") {
        slot = static_cast<signed char>(parseSigned(key.value, where));
    } else if (key.type == "bool") {
        if (key.value != "true" && key.value != "false") throw std::runtime_error(where + ": not a bool: " + key.value);
        slot = key.value == "true";
    } else if (key.type == "str") {
        slot = key.value;
    } else {
        throw std::runtime_error(where + ": unknown type " + key.type);
    }
}

// The profiles installed beside this library (<libdir>/../share/...), when it is an installed one.
std::string installedDirectory() {
    Dl_info self {};
    if (dladdr(reinterpret_cast<void*>(&installedDirectory), &self) == 0 || self.dli_fname == nullptr) return std::string();
    const std::string library = self.dli_fname;
    const size_t slash = library.rfind('/');
    if (slash == std::string::npos) return std::string();
    const std::string candidate = library.substr(0, slash) + "/" + ORVA_BOARDS_RELATIVE;
    struct stat info {};
    return stat(candidate.c_str(), &info) == 0 && S_ISDIR(info.st_mode) ? candidate : std::string();
}

}  // namespace

// ORVA_BOARDS_DIR in the environment, else the installed profiles, else the source tree's.
std::string BoardProfile::directory() {
    const char* overridden = getenv("ORVA_BOARDS_DIR");
    if (overridden && *overridden) return overridden;
    static const std::string installed = installedDirectory();
    return installed.empty() ? ORVA_BOARDS_DIR : installed;
}

std::string BoardProfile::fileFor(uint32_t sysid, const std::string& variant) {
    return directory() + "/" + hexName(sysid) + (variant.empty() ? "" : "-" + variant) + ".board";
}

std::vector<uint32_t> BoardProfile::available() {
    std::vector<uint32_t> boards;
    DIR* folder = opendir(directory().c_str());
    if (folder == nullptr) return boards;
    while (dirent* item = readdir(folder)) {
        const std::string name = item->d_name;
        const size_t dot = name.find(".board");
        if (dot != 4 || dot + 6 != name.size()) continue;  // variants are listed by variants()
        boards.push_back(static_cast<uint32_t>(strtoul(name.substr(0, dot).c_str(), nullptr, 16)));
    }
    closedir(folder);
    std::sort(boards.begin(), boards.end());
    return boards;
}

std::vector<std::string> BoardProfile::variants(uint32_t sysid) {
    std::vector<std::string> names;
    const std::string prefix = hexName(sysid) + "-";
    DIR* folder = opendir(directory().c_str());
    if (folder == nullptr) return names;
    while (dirent* item = readdir(folder)) {
        const std::string name = item->d_name;
        if (name.size() <= prefix.size() + 6 || name.compare(0, prefix.size(), prefix) != 0) continue;
        if (name.compare(name.size() - 6, 6, ".board") != 0) continue;
        names.push_back(name.substr(prefix.size(), name.size() - prefix.size() - 6));
    }
    closedir(folder);
    std::sort(names.begin(), names.end());
    return names;
}

namespace {

std::string readProfileFile(const std::string& file) {
    std::ifstream in(file);
    if (!in) throw std::runtime_error("no board profile " + file);
    std::stringstream text;
    text << in.rdbuf();
    return text.str();
}

// Profiles may include each other; a chain longer than this is a loop.
constexpr int kMaxIncludeDepth = 8;

BoardProfile parseProfile(const std::string& text, const std::string& origin, int depth);

}  // namespace

BoardProfile BoardProfile::parse(const std::string& text, const std::string& origin) {
    return parseProfile(text, origin, 0);
}

namespace {

BoardProfile parseProfile(const std::string& text, const std::string& origin, int depth) {
    using Attribute = BoardProfile::Attribute;
    using InfoKey = BoardProfile::InfoKey;
    using Segment = BoardProfile::Segment;
    BoardProfile profile;
    std::istringstream lines(text);
    std::string line;
    int number = 0;
    while (std::getline(lines, line)) {
        ++number;
        const std::string where = origin + ":" + std::to_string(number);
        const size_t start = line.find_first_not_of(" \t");
        if (start == std::string::npos || line[start] == '#') continue;
        std::istringstream words(line.substr(start));
        std::string verb;
        words >> verb;
        if (verb == "name") {
            std::getline(words >> std::ws, profile.name);
        } else if (verb == "include") {
            std::string file;
            if (!(words >> file) || file.find('/') != std::string::npos) throw std::runtime_error(where + ": include FILE");
            if (depth >= kMaxIncludeDepth) throw std::runtime_error(where + ": includes nest too deep");
            const std::string path = BoardProfile::directory() + "/" + file;
            BoardProfile base = parseProfile(readProfileFile(path), path, depth + 1);
            base.name = profile.name.empty() ? base.name : profile.name;
            base.variant = profile.variant;
            profile = std::move(base);
        } else if (verb == "noattr") {
            std::string path;
            if (!(words >> path)) throw std::runtime_error(where + ": noattr PATH");
            auto& attributes = profile.attributes;
            const auto kept = std::remove_if(attributes.begin(), attributes.end(),
                                             [&](const Attribute& attribute) { return attribute.path == path; });
            if (kept == attributes.end()) throw std::runtime_error(where + ": no attribute to drop: " + path);
            attributes.erase(kept, attributes.end());
        } else if (verb == "info") {
            InfoKey key;
            if (!(words >> key.key >> key.type >> key.value)) throw std::runtime_error(where + ": info KEY TYPE VALUE");
            orva::variant::Variant check;
            assign(check, key, where);
            if (key.key == "sysid") profile.sysid = static_cast<uint32_t>(parseUnsigned(key.value, where));
            auto& info = profile.info;
            info.erase(std::remove_if(info.begin(), info.end(), [&](const InfoKey& old) { return old.key == key.key; }),
                       info.end());
            info.push_back(key);
        } else if (verb == "attr") {
            Attribute attribute;
            std::string mode;
            if (!(words >> attribute.path >> mode)) throw std::runtime_error(where + ": attr PATH MODE VALUE");
            attribute.mode = static_cast<unsigned>(strtoul(mode.c_str(), nullptr, 8));
            std::getline(words >> std::ws, attribute.value);
            if (!isSimulatedPath(attribute.path.c_str())) throw std::runtime_error(where + ": not simulated: " + attribute.path);
            auto& attributes = profile.attributes;
            const auto same = std::find_if(attributes.begin(), attributes.end(),
                                           [&](const Attribute& old) { return old.path == attribute.path; });
            if (same != attributes.end()) {
                *same = attribute;  // a variant's own value for an included attribute
            } else {
                attributes.push_back(attribute);
            }
        } else if (verb == "dir") {
            std::string path;
            if (!(words >> path) || !isSimulatedPath(path.c_str())) throw std::runtime_error(where + ": dir PATH");
            profile.directories.push_back(path);
        } else if (verb == "shm") {
            Segment segment;
            std::string key, size, byte;
            if (!(words >> key >> size)) throw std::runtime_error(where + ": shm KEY SIZE [OFFSET=BYTE ...]");
            segment.key = static_cast<int>(parseUnsigned(key, where));
            segment.size = static_cast<size_t>(parseUnsigned(size, where));
            while (words >> byte) {
                const size_t equals = byte.find('=');
                if (equals == std::string::npos) throw std::runtime_error(where + ": not OFFSET=BYTE: " + byte);
                const unsigned long long offset = parseUnsigned(byte.substr(0, equals), where);
                const unsigned long long value = parseUnsigned(byte.substr(equals + 1), where);
                if (offset >= segment.size || value > 0xFF) throw std::runtime_error(where + ": byte out of range: " + byte);
                segment.bytes.emplace_back(static_cast<size_t>(offset), static_cast<uint8_t>(value));
            }
            profile.segments.push_back(segment);
        } else if (verb == "phy") {
            BoardProfile::PhyRegister phy;
            std::string reg, value;
            if (!(words >> phy.interface >> reg >> value)) throw std::runtime_error(where + ": phy INTERFACE REG VALUE");
            const unsigned long long regNumber = parseUnsigned(reg, where);
            const unsigned long long content = parseUnsigned(value, where);
            if (regNumber > 31 || content > 0xFFFF) throw std::runtime_error(where + ": PHY register out of range");
            phy.reg = static_cast<unsigned>(regNumber);
            phy.value = static_cast<uint16_t>(content);
            profile.phyRegisters.push_back(phy);
        } else {
            throw std::runtime_error(where + ": unknown line: " + verb);
        }
    }
    return profile;
}

// ROOT/board names the board a sandbox was built for, so that a later process (a viewer, a tool
// attaching with reuse) can find its profile: "sysid 0xA598\n" and "variant NAME\n" for a variant.
// Written to a temporary file and renamed, so a reader never sees half of it.
void writeBoardMarker(const std::string& root, const BoardProfile& profile) {
    char text[64];
    snprintf(text, sizeof(text), "sysid 0x%04X\n", profile.sysid);
    std::string content = text;
    if (!profile.variant.empty()) content += "variant " + profile.variant + "\n";
    const std::string file = root + "/board";
    const std::string temporary = root + "/.board-" + std::to_string(getpid());
    {
        std::ofstream out(temporary, std::ios::trunc);
        out << content;
        if (!out.flush()) throw std::runtime_error("cannot write " + temporary);
    }
    if (rename(temporary.c_str(), file.c_str()) != 0) {
        unlink(temporary.c_str());
        throw std::runtime_error("cannot write " + file);
    }
}

}  // namespace

BoardProfile BoardProfile::load(uint32_t sysid, const std::string& variant) {
    if (variant.find('/') != std::string::npos) throw std::runtime_error("not a variant name: " + variant);
    const std::string file = fileFor(sysid, variant);
    BoardProfile profile = parse(readProfileFile(file), file);
    if (profile.sysid != sysid) throw std::runtime_error(file + ": sysid does not match the file name");
    profile.variant = variant;
    return profile;
}

namespace {

bool isWholeNumber(const std::string& text, bool negative) {
    const size_t start = negative ? 1 : 0;
    if (negative && (text.empty() || text[0] != '-')) return false;
    if (text.size() > start + 2 && text.compare(start, 2, "0x") == 0) {
        return text.find_first_not_of("0123456789abcdefABCDEF", start + 2) == std::string::npos;
    }
    return text.size() > start && text.find_first_not_of("0123456789", start) == std::string::npos;
}

}  // namespace

std::string BoardProfile::inferredKeyType(const std::string& value) {
    if (value == "true" || value == "false") return "bool";
    if (isWholeNumber(value, false)) return "u64";
    if (isWholeNumber(value, true)) return "i32";
    return "str";
}

void BoardProfile::applyKeys(const std::vector<std::pair<std::string, std::string>>& keys) {
    for (const auto& keyValue : keys) {
        const std::string& keyName = keyValue.first;
        const std::string& value = keyValue.second;
        if (keyName.empty()) throw std::runtime_error("a key needs a name: '=" + value + "'");
        InfoKey key{keyName, inferredKeyType(value), value};
        for (const InfoKey& old : info) {
            if (old.key == keyName) key.type = old.type;
        }
        orva::variant::Variant check;
        assign(check, key, "key " + keyName);
        info.erase(std::remove_if(info.begin(), info.end(), [&](const InfoKey& old) { return old.key == keyName; }),
                   info.end());
        info.push_back(key);
    }
}

void SimBoard::fillCameraInfo(const BoardProfile& profile) {
    orva::variant::Variant& info = orva::variant::CameraInfo::instance();
    info.Free();
    info.IsArray(false);
    for (const BoardProfile::InfoKey& key : profile.info) assign(info[key.key], key, key.key);
}

SimBoard::SimBoard(uint32_t sysid, const std::string& sandboxDirectory, bool reuse)
    : SimBoard(BoardProfile::load(sysid), sandboxDirectory, reuse) {}

SimBoard::SimBoard(const BoardProfile& profile, const std::string& sandboxDirectory, bool reuse)
    : profile_(profile), sandbox_(new Sandbox(sandboxDirectory)) {
    fillCameraInfo(profile_);
    // PHY registers live in this process only: a reused sandbox starts from the profile's too.
    for (const BoardProfile::PhyRegister& phy : profile_.phyRegisters) Mdio::setRegister(phy.interface, phy.reg, phy.value);
    if (reuse) return;
    for (const std::string& directory : profile_.directories) sandbox_->addDirectory(directory);
    for (const BoardProfile::Attribute& attribute : profile_.attributes) {
        sandbox_->addAttribute(attribute.path, attribute.value, attribute.mode);
    }
    for (const BoardProfile::Segment& segment : profile_.segments) {
        SharedMemory::create(segment.key, segment.size);
        for (const auto& byte : segment.bytes) SharedMemory::setByte(segment.key, byte.first, byte.second);
    }
    writeBoardMarker(sandbox_->root(), profile_);
}

SimBoard::~SimBoard() = default;

void SimBoard::attribute(const std::string& path, const std::string& value, unsigned mode) {
    sandbox_->addAttribute(path, value, mode);
}

}  // namespace orva::sim
