#include "tests/support/allocation/TNAllocationWatch.h"

// The replaced operators pair malloc with free themselves; the compiler,
// seeing new and free, can't know that.
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic ignored "-Wmismatched-new-delete"
#endif

#include <atomic>
#include <cstdlib>
#include <new>

namespace {

std::atomic<size_t> g_largest{0};

void* Allocate(size_t bytes) noexcept {
    size_t seen = g_largest.load();
    while (bytes > seen && !g_largest.compare_exchange_weak(seen, bytes)) {
    }
    if (bytes > TNAllocationWatch::kRefusedAbove) return nullptr;
    return std::malloc(bytes != 0 ? bytes : 1);
}

}  // namespace

namespace TNAllocationWatch {

void Reset() { g_largest = 0; }
size_t Largest() { return g_largest.load(); }

}  // namespace TNAllocationWatch

void* operator new(size_t bytes) {
    if (void* p = Allocate(bytes)) return p;
    throw std::bad_alloc();
}
void* operator new[](size_t bytes) {
    if (void* p = Allocate(bytes)) return p;
    throw std::bad_alloc();
}
void* operator new(size_t bytes, const std::nothrow_t&) noexcept { return Allocate(bytes); }
void* operator new[](size_t bytes, const std::nothrow_t&) noexcept { return Allocate(bytes); }
void operator delete(void* p) noexcept { std::free(p); }
void operator delete[](void* p) noexcept { std::free(p); }
void operator delete(void* p, size_t) noexcept { std::free(p); }
void operator delete[](void* p, size_t) noexcept { std::free(p); }
