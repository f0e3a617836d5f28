// Services the firmware platform library provides to liborva_gpio_utils.
// The gpio library leaves every symbol below undefined; the process that loads it
// supplies them (on the camera the firmware platform library, on a development host
// liborva_host_platform).
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#if defined(__GNUC__)
#define ORVA_PLATFORM_API __attribute__((visibility("default")))
#else
#define ORVA_PLATFORM_API
#endif

// Emits one log record. level is a syslog severity (3 error, 4 warning, 6 info, 7 debug);
// errorNumber is the errno to report with the text, or 0; reserved is always 0.
extern "C" ORVA_PLATFORM_API int logInternal(const char* tag, const char* file, const char* function,
                                             int line, int level, int errorNumber, int reserved,
                                             const char* format, ...)
    __attribute__((format(printf, 8, 9)));
// Ends the process after a fatal inconsistency; logResult is what the describing logInternal returned.
extern "C" ORVA_PLATFORM_API __attribute__((noreturn)) void forceCrash(int logResult);
// True when the device runs in console mode.
extern "C" ORVA_PLATFORM_API bool ConsoleEnabled(void);
// Monotonic milliseconds; never 0.
extern "C" ORVA_PLATFORM_API uint64_t nowMs(void);
// Whether a file exists at path.
extern "C" ORVA_PLATFORM_API bool isFile(const char* path);

namespace orva::utils {

ORVA_PLATFORM_API std::string format(const char* fmt, ...) __attribute__((format(printf, 1, 2)));
// Strips leading and trailing white space in place.
ORVA_PLATFORM_API void trim(std::string& text);
ORVA_PLATFORM_API std::string toString(int value);
ORVA_PLATFORM_API std::string toString(unsigned int value);
// Runs program with the argument vector (no shell), waits for it; 0 = success.
ORVA_PLATFORM_API int sysExecSimple(const std::string& program, const std::vector<std::string>& arguments);

// MDIO access to the PHY behind a network interface.
class ORVA_PLATFORM_API mdio {
public:
    mdio();
    ~mdio();
    mdio(const mdio&) = delete;
    mdio& operator=(const mdio&) = delete;
    bool init(const std::string& interface);
    bool read(unsigned short reg, unsigned short& value) const;
    bool write(unsigned short reg, unsigned short value);

private:
    int socketFd;
    std::string interfaceName;
    unsigned short phyId;
};

}  // namespace orva::utils

namespace orva::variant {

enum VariantType : unsigned int {
    VT_NULL = 0x0000,
    VT_BOOL = 0x8003,
    VT_INT8 = 0x4101,
    VT_INT32 = 0x4102,
    VT_UINT32 = 0x4202,
    VT_INT64 = 0x4104,
    VT_UINT64 = 0x4204,
    VT_STRING = 0x2000,
    VT_MAP = 0x1010,
    VT_MAP_ORDERED = 0x1011,
    VT_ARRAY = 0x1020,
};

// A dynamically typed value: null, bool, integer, string, map or array.
class ORVA_PLATFORM_API Variant {
public:
    using Map = std::map<std::string, Variant>;
    using Array = std::vector<Variant>;

    Variant();
    Variant(const Variant& other);
    Variant& operator=(const Variant& other);
    ~Variant();

    Variant& operator=(bool value);
    Variant& operator=(signed char value);
    Variant& operator=(int value);
    Variant& operator=(unsigned int value);
    Variant& operator=(long value);
    Variant& operator=(unsigned long value);
    Variant& operator=(long long value);
    Variant& operator=(unsigned long long value);
    Variant& operator=(const std::string& value);
    Variant& operator=(const char* value);

    // A null Variant becomes a map; absent keys are inserted null.
    Variant& operator[](const std::string& key);
    Variant& operator[](const char* key);
    bool HasKey(const std::string& key) const;
    void Free();
    void IsArray(bool array);

    // For the host implementation and tools.
    VariantType type() const { return type_; }
    const std::string& stringValue() const { return text_; }
    const Map& mapValue() const;

    operator VariantType() const;
    operator bool() const;
    operator signed char() const;
    operator unsigned long long() const;

private:
    VariantType type_;
    unsigned long long bits_;
    std::string text_;
    Map* map_;
    Array* array_;
};

class ORVA_PLATFORM_API CameraInfo {
public:
    static Variant& instance();
};

}  // namespace orva::variant
