// Device-information lookups. A missing or mistyped key is fatal by design: the lookup logs
// the fault and calls forceCrash.
#pragma once

#include <cstdint>
#include <string>

namespace orva::gpioutils {

// Strict form: T is unsigned long long (integer keys), signed char or bool.
template <typename T>
__attribute__((visibility("hidden"))) T getCameraInfoValue(const std::string& key);

// Defaulting form for bool keys: an absent key is first inserted with the value fallback.
bool getCameraInfoValue(const std::string& key, bool fallback);

// The board identifier "sysid", compared as 32 bits.
uint32_t boardId();

}  // namespace orva::gpioutils
