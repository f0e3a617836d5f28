// Counts heap allocations of the whole test process (library included): the global operator new
// is replaced in AllocationCounter.cpp, which every test executable compiles in.
#pragma once

#include <cstddef>

namespace orva::test {

// Allocations made through operator new (every form) since the process started.
size_t allocationCount();

// Blocks allocated through operator new (every form) and not yet given back through operator delete:
// allocations minus deallocations of non-null pointers.
long liveBlockCount();

// Allocations made while an object of this class is alive: the steady-state cost of an operation.
class AllocationScope {
public:
    AllocationScope() : start_(allocationCount()) {}
    size_t count() const { return allocationCount() - start_; }

private:
    size_t start_;
};

}  // namespace orva::test
