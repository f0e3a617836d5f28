#include "orva/sim/SimBoard.h"

#include <algorithm>
#include <cstdlib>
#include <dirent.h>
#include <fstream>
#include <sstream>
#include <stdexcept>

#include "orva/platform.h"
#include "orva/sim/SharedMemory.h"

#ifndef ORVA_BOARDS_DIR
#error "ORVA_BOARDS_DIR must name the boards/ folder"
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

}  // namespace

std::string BoardProfile::directory() {
    const char* overridden = getenv("ORVA_BOARDS_DIR");
    return overridden && *overridden ? overridden : ORVA_BOARDS_DIR;
}

std::string BoardProfile::fileFor(uint32_t sysid) { return directory() + "/" + hexName(sysid) + ".board"; }

std::vector<uint32_t> BoardProfile::available() {
    std::vector<uint32_t> boards;
    DIR* folder = opendir(directory().c_str());
    if (folder == nullptr) return boards;
    while (dirent* item = readdir(folder)) {
        const std::string name = item->d_name;
        const size_t dot = name.find(".board");
        if (dot == std::string::npos || dot + 6 != name.size()) continue;
        boards.push_back(static_cast<uint32_t>(strtoul(name.substr(0, dot).c_str(), nullptr, 16)));
    }
    closedir(folder);
    std::sort(boards.begin(), boards.end());
    return boards;
}

BoardProfile BoardProfile::parse(const std::string& text, const std::string& origin) {
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
        } else if (verb == "info") {
            InfoKey key;
            if (!(words >> key.key >> key.type >> key.value)) throw std::runtime_error(where + ": info KEY TYPE VALUE");
            orva::variant::Variant check;
            assign(check, key, where);
            if (key.key == "sysid") profile.sysid = static_cast<uint32_t>(parseUnsigned(key.value, where));
            profile.info.push_back(key);
        } else if (verb == "attr") {
            Attribute attribute;
            std::string mode;
            if (!(words >> attribute.path >> mode)) throw std::runtime_error(where + ": attr PATH MODE VALUE");
            attribute.mode = static_cast<unsigned>(strtoul(mode.c_str(), nullptr, 8));
            std::getline(words >> std::ws, attribute.value);
            if (!isSimulatedPath(attribute.path.c_str())) throw std::runtime_error(where + ": not simulated: " + attribute.path);
            profile.attributes.push_back(attribute);
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
        } else {
            throw std::runtime_error(where + ": unknown line: " + verb);
        }
    }
    return profile;
}

BoardProfile BoardProfile::load(uint32_t sysid) {
    const std::string file = fileFor(sysid);
    std::ifstream in(file);
    if (!in) throw std::runtime_error("no board profile " + file);
    std::stringstream text;
    text << in.rdbuf();
    BoardProfile profile = parse(text.str(), file);
    if (profile.sysid != sysid) throw std::runtime_error(file + ": sysid does not match the file name");
    return profile;
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
    if (reuse) return;
    for (const std::string& directory : profile_.directories) sandbox_->addDirectory(directory);
    for (const BoardProfile::Attribute& attribute : profile_.attributes) {
        sandbox_->addAttribute(attribute.path, attribute.value, attribute.mode);
    }
    for (const BoardProfile::Segment& segment : profile_.segments) {
        SharedMemory::create(segment.key, segment.size);
        for (const auto& byte : segment.bytes) SharedMemory::setByte(segment.key, byte.first, byte.second);
    }
}

SimBoard::~SimBoard() = default;

void SimBoard::attribute(const std::string& path, const std::string& value, unsigned mode) {
    sandbox_->addAttribute(path, value, mode);
}

}  // namespace orva::sim
