#include "support/AllocationCount.h"

#include <atomic>
#include <cstdlib>
#include <new>

namespace {

using KelvaneSDK::testing_support::AllocationFault;

constexpr long never = -1;

std::atomic<long> count = 0;
// How many allocations of this thread succeed before one fails.
thread_local long untilFault = never;
thread_local bool allFail = false, happened = false;

bool isFault() {
    if (untilFault == never) return false;
    if (untilFault > 0) {
        --untilFault;
        return false;
    }
    happened = true;
    if (!allFail) untilFault = never;
    return true;
}

void* allocate(std::size_t size) {
    if (isFault()) return nullptr;
    ++count;
    return std::malloc(size == 0 ? 1 : size);
}

}  // namespace

long KelvaneSDK::testing_support::allocations() { return count; }

AllocationFault::AllocationFault(long index, Extent extent) {
    untilFault = index;
    allFail = extent == Extent::allFollowing;
    happened = false;
}
AllocationFault::~AllocationFault() { untilFault = never; }
bool AllocationFault::hasHappened() const { return happened; }

void* operator new(std::size_t size) {
    if (void* block = allocate(size)) return block;
    throw std::bad_alloc();
}
// The form that may fail is replaced too: a sanitizer's own would not match the delete below.
void* operator new(std::size_t size, const std::nothrow_t&) noexcept { return allocate(size); }
void operator delete(void* block) noexcept { std::free(block); }
void operator delete(void* block, std::size_t) noexcept { std::free(block); }
