// 32-bit signed arithmetic as the camera's ARM core does it: two's complement, wrapping on
// overflow, division truncating toward zero. Used where a device value read from a file or passed
// by a client can be anything, so that no input makes the computation undefined.
#pragma once

#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <limits>

namespace orva::gpioutils::arith {

inline int32_t wrap(uint32_t bits) {
    // Two's-complement reinterpretation without relying on an out-of-range conversion.
    return bits <= static_cast<uint32_t>(std::numeric_limits<int32_t>::max())
               ? static_cast<int32_t>(bits)
               : static_cast<int32_t>(bits - 0x80000000u) + std::numeric_limits<int32_t>::min();
}

inline int32_t add(int32_t a, int32_t b) { return wrap(static_cast<uint32_t>(a) + static_cast<uint32_t>(b)); }
inline int32_t sub(int32_t a, int32_t b) { return wrap(static_cast<uint32_t>(a) - static_cast<uint32_t>(b)); }
inline int32_t mul(int32_t a, int32_t b) { return wrap(static_cast<uint32_t>(a) * static_cast<uint32_t>(b)); }

// Truncating division; INT32_MIN / -1 wraps to INT32_MIN, and a division by zero gives 0 (the
// hardware's SDIV result) instead of a trap.
inline int32_t div(int32_t a, int32_t b) {
    if (b == 0) return 0;
    if (b == -1) return sub(0, a);
    return a / b;
}

// strtol(text, nullptr, base) as on the camera, whose long has 32 bits: a number beyond that range
// saturates (and sets ERANGE), whatever the width of long where the library runs. atoi(text) on the
// camera is this with base 10; the standard atoi is undefined for such text.
inline int32_t parseLong32(const char* text, int base) {
    const long long parsed = strtoll(text, nullptr, base);
    if (parsed > std::numeric_limits<int32_t>::max()) {
        errno = ERANGE;
        return std::numeric_limits<int32_t>::max();
    }
    if (parsed < std::numeric_limits<int32_t>::min()) {
        errno = ERANGE;
        return std::numeric_limits<int32_t>::min();
    }
    return static_cast<int32_t>(parsed);
}

}  // namespace orva::gpioutils::arith
