// How a hook reaches the function it wraps: the next definition in the lookup order (libc's),
// resolved once on first use. A missing one is a broken installation: fail loudly.
#pragma once

#include <cstdio>
#include <cstdlib>
#include <dlfcn.h>

namespace orva::sim {

inline void* nextSymbol(const char* name) {
    void* symbol = dlsym(RTLD_NEXT, name);
    if (symbol == nullptr) {
        fprintf(stderr, "orva-sim: cannot resolve %s: %s\n", name, dlerror());
        abort();
    }
    return symbol;
}

// Set while a hook is simulating a call, so that anything the simulation itself reaches in libc
// goes straight through.
inline thread_local bool tInHook = false;

class HookScope {
public:
    HookScope() : entered_(!tInHook) { tInHook = true; }
    ~HookScope() {
        if (entered_) tInHook = false;
    }
    HookScope(const HookScope&) = delete;
    HookScope& operator=(const HookScope&) = delete;
    // False when this call came from inside another simulated call.
    bool entered() const { return entered_; }

private:
    bool entered_;
};

}  // namespace orva::sim

// Declares `real`, the wrapped libc function `name`, in the calling function.
#define ORVA_REAL(name)                          \
    static decltype(&::name) real = nullptr;     \
    if (real == nullptr) real = reinterpret_cast<decltype(&::name)>(::orva::sim::nextSymbol(#name))
