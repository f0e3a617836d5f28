#include "orva_gpio_utils/LedSysfs.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

#include "platform/Arithmetic32.h"
#include "platform/AttributeFile.h"
#include "platform/AttributeText.h"
#include "platform/CameraInfoLookup.h"
#include "platform/ScopeGuard.h"

namespace {
constexpr char kLogSource[] = "src/LedSysfs";
using orva::gpioutils::kLogError;
using orva::gpioutils::kLogWarning;
using orva::gpioutils::LogSite;
namespace attribute = orva::gpioutils::attribute;

// One slot per Color value and one more, always empty.
constexpr uint32_t kColorSlots = 17;
// Files per colour: one, or two (alternative controllers, or the two units of a driver).
constexpr size_t kFilesPerColor = 2;

// Each colour has either an I2C LED driver or a USB-attached LED controller behind it, depending
// on the hardware variant: only the files present are written.
constexpr uint32_t kAlternativeControllersBoard = 0xA5A3;
// Two LP5012 units per colour; their "color" attribute packs three 8-bit fields in one number.
constexpr uint32_t kLp5012Board = 0xA597;
// The second unit's file: its lowest field is kept as it reads back.
constexpr char kSecondUnitMark[] = "2/color";

}  // namespace

struct LedSysfs::SysfsConfig {
    uint32_t sysid;
    const char* paths[kColorSlots][kFilesPerColor];  // files of each colour; null: none
    int32_t currentColor;                            // colour that takes the value
    int32_t value;                                   // last value written with success; -1: none yet
    uint32_t colorCount;                             // colours writeValue walks
    int32_t rangeMin;
    int32_t rangeMax;
    bool binary;
    bool autoMode;
};

namespace {

using SysfsConfig = LedSysfs::SysfsConfig;

struct ColorFiles {
    const char* first;
    const char* second;
};

constexpr SysfsConfig makeRow(uint32_t sysid, ColorFiles red, ColorFiles green, ColorFiles blue, ColorFiles white) {
    SysfsConfig row{};
    row.sysid = sysid;
    const ColorFiles colors[] = {red, green, blue, white};
    const BaseLed::Color slots[] = {BaseLed::COLOR_RED, BaseLed::COLOR_GREEN, BaseLed::COLOR_BLUE, BaseLed::COLOR_WHITE};
    for (size_t i = 0; i < 4; ++i) {
        row.paths[slots[i]][0] = colors[i].first;
        row.paths[slots[i]][1] = colors[i].second;
    }
    row.currentColor = BaseLed::COLOR_RED;
    row.value = -1;
    row.colorCount = kColorSlots;
    row.rangeMin = 0;
    row.rangeMax = 99;
    row.binary = false;
    row.autoMode = false;
    return row;
}

#define ORVA_A5A3_USB "/sys/devices/platform/e0000000.n_ahb/e001f000.ehci/usb1/1-1/1-1.1/usbcm65xx/"

// The boards' colour files. Mutable: the current colour and the last value live in the row, shared
// by every face on the board for the life of the process.
SysfsConfig gSysfsConfigs[] = {
    makeRow(0xA5A0, {"/sys/bus/i2c/devices/3-0030/leds/R/brightness", nullptr},
            {"/sys/bus/i2c/devices/3-0030/leds/G/brightness", nullptr},
            {"/sys/bus/i2c/devices/3-0030/leds/B/brightness", nullptr},
            {"/sys/bus/i2c/devices/3-0030/leds/W/brightness", nullptr}),
    makeRow(kAlternativeControllersBoard,
            {"/sys/bus/i2c/devices/0-0030/leds/R/brightness", ORVA_A5A3_USB "usbcm65xx_ledr"},
            {"/sys/bus/i2c/devices/0-0030/leds/G/brightness", ORVA_A5A3_USB "usbcm65xx_ledg"},
            {"/sys/bus/i2c/devices/0-0030/leds/B/brightness", ORVA_A5A3_USB "usbcm65xx_ledb"},
            {"/sys/bus/i2c/devices/0-0030/leds/W/brightness", ORVA_A5A3_USB "usbcm65xx_ledw"}),
    makeRow(kLp5012Board, {"/sys/class/leds/lp5012:R1/color", "/sys/class/leds/lp5012:R2/color"},
            {"/sys/class/leds/lp5012:G1/color", "/sys/class/leds/lp5012:G2/color"},
            {"/sys/class/leds/lp5012:B1/color", "/sys/class/leds/lp5012:B2/color"},
            {"/sys/class/leds/lp5012:W1/color", "/sys/class/leds/lp5012:W2/color"}),
};

#undef ORVA_A5A3_USB

SysfsConfig* findRow(uint32_t sysid) {
    for (SysfsConfig& row : gSysfsConfigs) {
        if (row.sysid == sysid) return &row;
    }
    return nullptr;
}

bool hasFiles(const SysfsConfig& row, BaseLed::Color color) {
    const uint32_t slot = static_cast<uint32_t>(color);
    if (slot >= kColorSlots) return false;
    for (const char* path : row.paths[slot]) {
        if (path != nullptr && path[0] != '\0') return true;
    }
    return false;
}

// Writes number as unsigned decimal text with its NUL, opening and closing the file around it.
bool writeFile(const LogSite& site, const char* path, uint32_t number) {
    int fd = attribute::open(site, path);
    const orva::gpioutils::ScopeGuard closeOnExit([&fd] { attribute::close(fd); });
    if (!attribute::isOpen(fd)) return false;
    return attribute::writeText(site, fd, orva::utils::format("%u", number));
}

// The first unit takes the value in all three fields.
bool writeFirstUnit(const LogSite& site, const char* path, uint32_t value) {
    return writeFile(site, path, value * 0x010101u);
}

// The second unit takes the value in its two upper fields; its lowest field, read back as
// hexadecimal text, is written back unchanged (in decimal, as every write).
bool writeSecondUnit(const LogSite& site, const char* path, uint32_t value) {
    int fd = attribute::open(site, path);
    const orva::gpioutils::ScopeGuard closeOnExit([&fd] { attribute::close(fd); });
    if (!attribute::isOpen(fd)) return false;
    char buffer[16];
    const ssize_t count = attribute::readText(fd, buffer);
    uint32_t kept = 0;
    if (count >= 1 && count <= 15) {
        std::string text(buffer, static_cast<size_t>(count));
        orva::utils::trim(text);
        // Parsed as on the camera, whose long has 32 bits: beyond that range the number saturates.
        kept = static_cast<uint32_t>(orva::gpioutils::arith::parseLong32(text.c_str(), 16)) & 0xFFu;
    } else {
        ORVA_LOG_AT(site, kLogWarning, 0, "Failed to read from proc entry 0x%x, num bytes read %d", fd,
                    static_cast<int>(count));
    }
    return attribute::writeText(site, fd, orva::utils::format("%u", value * 0x010100u + kept));
}

}  // namespace

LedSysfs::LedSysfs() : _sysfsConfig(nullptr) {}

LedSysfs::~LedSysfs() = default;

bool LedSysfs::setColor(Color fg, Color bg) {
    if (_sysfsConfig == nullptr) {
        ORVA_LOG(kLogError, 0, "_sysfsConfig is NULL");
        return false;
    }
    if (bg == readBgColor() && fg == readFgColor()) return true;
    if (!BaseLed::setColor(fg, bg)) return false;
    if (!hasFiles(*_sysfsConfig, fg)) return true;
    _sysfsConfig->currentColor = fg;
    // The colour is recorded even when the files cannot be written.
    writeValue(_sysfsConfig->value);
    return true;
}

bool LedSysfs::exists() const { return _sysfsConfig != nullptr || findRow(orva::gpioutils::boardId()) != nullptr; }

bool LedSysfs::isBinary() const { return _sysfsConfig != nullptr && _sysfsConfig->binary; }

bool LedSysfs::hasAutoMode() const { return _sysfsConfig != nullptr && _sysfsConfig->autoMode; }

bool LedSysfs::isManagedByMcu() const { return false; }

bool LedSysfs::initGPIO() {
    _sysfsConfig = findRow(orva::gpioutils::boardId());
    return true;
}

int LedSysfs::rangeMin() const { return _sysfsConfig != nullptr ? _sysfsConfig->rangeMin : 0; }

int LedSysfs::rangeMax() const { return _sysfsConfig != nullptr ? _sysfsConfig->rangeMax : 99; }

bool LedSysfs::writeValue(int value) {
    if (_sysfsConfig == nullptr) {
        ORVA_LOG(kLogError, 0, "_sysfsConfig is NULL");
        return false;
    }
    SysfsConfig& row = *_sysfsConfig;
    if (row.colorCount == 0) {
        row.value = value;
        return true;
    }
    const LogSite site = ORVA_HERE;
    for (uint32_t color = 0; color < row.colorCount && color < kColorSlots; ++color) {
        // Negative values reach the files as their 32-bit unsigned form.
        const uint32_t level = static_cast<int32_t>(color) == row.currentColor ? static_cast<uint32_t>(value) : 0u;
        for (const char* path : row.paths[color]) {
            if (path == nullptr || path[0] == '\0') continue;
            const uint32_t board = orva::gpioutils::boardId();
            bool written;
            if (board == kAlternativeControllersBoard) {
                if (!isFile(path)) continue;
                written = writeFile(site, path, level);
            } else if (board == kLp5012Board) {
                if (!isFile(path)) continue;
                written = strstr(path, kSecondUnitMark) == nullptr ? writeFirstUnit(site, path, level)
                                                                   : writeSecondUnit(site, path, level);
            } else {
                written = writeFile(site, path, level);
            }
            if (!written) return false;
        }
    }
    row.value = value;
    return true;
}

bool LedSysfs::readValue(int& value) const {
    if (_sysfsConfig == nullptr) {
        ORVA_LOG(kLogError, 0, "_sysfsConfig is NULL");
        return false;
    }
    value = _sysfsConfig->value;
    return true;
}

bool LedSysfs::writeAutoMode() {
    ORVA_LOG(kLogError, 0, "Not supported");
    return false;
}

bool LedSysfs::readAutoMode(bool&) {
    ORVA_LOG(kLogError, 0, "Not supported");
    return false;
}
