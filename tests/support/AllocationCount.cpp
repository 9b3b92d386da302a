#include "support/AllocationCount.h"

#include <atomic>
#include <cstdlib>
#include <new>

namespace {

std::atomic<long> count = 0;

void* allocate(std::size_t size) {
    ++count;
    return std::malloc(size == 0 ? 1 : size);
}

}  // namespace

long KelvaneSDK::testing_support::allocations() { return count; }

void* operator new(std::size_t size) {
    if (void* block = allocate(size)) return block;
    throw std::bad_alloc();
}
// The form that may fail is replaced too: a sanitizer's own would not match the delete below.
void* operator new(std::size_t size, const std::nothrow_t&) noexcept { return allocate(size); }
void operator delete(void* block) noexcept { std::free(block); }
void operator delete(void* block, std::size_t) noexcept { std::free(block); }
