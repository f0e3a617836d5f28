// Replacement of the global allocation functions that counts every allocation. The library and
// the standard library bind to these through the executable's dynamic symbols.
#include "AllocationCounter.h"

#include <cstdlib>
#include <new>

namespace {
size_t allocations = 0;
long liveBlocks = 0;

void* allocate(std::size_t size) {
    ++allocations;
    if (void* block = std::malloc(size == 0 ? 1 : size)) {
        ++liveBlocks;
        return block;
    }
    throw std::bad_alloc();
}

void* allocateAligned(std::size_t size, std::align_val_t alignment) {
    ++allocations;
    const std::size_t align = static_cast<std::size_t>(alignment);
    const std::size_t rounded = ((size == 0 ? 1 : size) + align - 1) / align * align;
    if (void* block = std::aligned_alloc(align, rounded)) {
        ++liveBlocks;
        return block;
    }
    throw std::bad_alloc();
}
// Every form of operator delete ends here; some forms know no size, so only the block is counted.
void deallocate(void* block) noexcept {
    if (block == nullptr) return;
    --liveBlocks;
    std::free(block);
}
}  // namespace

namespace orva::test {
size_t allocationCount() { return allocations; }
long liveBlockCount() { return liveBlocks; }
}  // namespace orva::test

void* operator new(std::size_t size) { return allocate(size); }
void* operator new[](std::size_t size) { return allocate(size); }
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    try {
        return allocate(size);
    } catch (...) {
        return nullptr;
    }
}
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
    try {
        return allocate(size);
    } catch (...) {
        return nullptr;
    }
}
void* operator new(std::size_t size, std::align_val_t alignment) { return allocateAligned(size, alignment); }
void* operator new[](std::size_t size, std::align_val_t alignment) { return allocateAligned(size, alignment); }
void operator delete(void* block) noexcept { deallocate(block); }
void operator delete[](void* block) noexcept { deallocate(block); }
void operator delete(void* block, std::size_t) noexcept { deallocate(block); }
void operator delete[](void* block, std::size_t) noexcept { deallocate(block); }
void operator delete(void* block, std::align_val_t) noexcept { deallocate(block); }
void operator delete[](void* block, std::align_val_t) noexcept { deallocate(block); }
void operator delete(void* block, std::size_t, std::align_val_t) noexcept { deallocate(block); }
void operator delete[](void* block, std::size_t, std::align_val_t) noexcept { deallocate(block); }
