#include "CameraInfoLookup.h"

#include "Log.h"

namespace orva::gpioutils {

namespace {

using orva::variant::Variant;
using orva::variant::VariantType;

// Lookup faults are reported from the device-information header, with the key as function name.
constexpr const char* kInfoSource = "include/orva_variant_utils/camerainfo";
constexpr unsigned kIntegerBit = 0x4000u;
constexpr unsigned kBoolBits = 0x8003u;

bool isMap(const Variant& value) {
    const unsigned type = static_cast<VariantType>(value);
    return type == 0x1010u || type == 0x1011u;
}

[[noreturn]] void fatal(const std::string& key, int line, const char* format) {
    forceCrash(::logInternal(kLogTag, kInfoSource, key.c_str(), line, kLogError, 0, 0, format, key.c_str()));
}

// Finds key in the map, fatal when the root is not a map or the key is absent.
const Variant& find(const std::string& key) {
    Variant& info = orva::variant::CameraInfo::instance();
    if (!isMap(info)) {
        forceCrash(::logInternal(kLogTag, kInfoSource, key.c_str(), __LINE__, kLogError, 0, 0,
                                 "Invalid variant type detected"));
    }
    if (!info.HasKey(key)) fatal(key, __LINE__, "Key \"%s\" not available");
    return info[key];
}

void requireType(const std::string& key, const Variant& value, unsigned bits) {
    if ((static_cast<VariantType>(value) & bits) != bits) {
        fatal(key, __LINE__, "Key \"%s\" has a different type than expected");
    }
}

}  // namespace

template <>
unsigned long long getCameraInfoValue<unsigned long long>(const std::string& key) {
    const Variant& value = find(key);
    requireType(key, value, kIntegerBit);
    return static_cast<unsigned long long>(value);
}

template <>
signed char getCameraInfoValue<signed char>(const std::string& key) {
    const Variant& value = find(key);
    requireType(key, value, kIntegerBit);
    return static_cast<signed char>(value);
}

template <>
bool getCameraInfoValue<bool>(const std::string& key) {
    const Variant& value = find(key);
    requireType(key, value, kBoolBits);
    return static_cast<bool>(value);
}

bool getCameraInfoValue(const std::string& key, bool fallback) {
    Variant& info = orva::variant::CameraInfo::instance();
    if (!isMap(info)) {
        info.Free();
        info.IsArray(false);
    }
    if (!info.HasKey(key)) info[key] = fallback;
    const Variant& value = info[key];
    requireType(key, value, kBoolBits);
    return static_cast<bool>(value);
}

uint32_t boardId() { return static_cast<uint32_t>(getCameraInfoValue<unsigned long long>("sysid")); }

}  // namespace orva::gpioutils
