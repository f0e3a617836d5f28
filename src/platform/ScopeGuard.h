// Runs a callable when the scope ends, on every path out of it (early returns included).
#pragma once

#include <utility>

namespace orva::gpioutils {

template <typename Action>
class ScopeGuard {
public:
    explicit ScopeGuard(Action action) : action_(std::move(action)) {}
    ~ScopeGuard() { action_(); }
    ScopeGuard(const ScopeGuard&) = delete;
    ScopeGuard& operator=(const ScopeGuard&) = delete;

private:
    Action action_;
};

}  // namespace orva::gpioutils
