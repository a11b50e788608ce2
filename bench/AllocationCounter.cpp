#include "AllocationCounter.h"

#include <atomic>
#include <cstdlib>
#include <new>

// Every allocation of this binary is counted. The aligned and nothrow forms of the library end in
// these or do not allocate on our paths. Not inlined: g++ would otherwise see free() meet a
// pointer from new at the call sites and warn.
namespace {
std::atomic<std::uint64_t> g_allocations{0};
} // namespace

[[gnu::noinline]] void* operator new(std::size_t size)
{
    g_allocations.fetch_add(1, std::memory_order_relaxed);
    if (void* p = std::malloc(size == 0 ? 1 : size))
        return p;
    throw std::bad_alloc();
}

[[gnu::noinline]] void operator delete(void* p) noexcept { std::free(p); }

[[gnu::noinline]] void operator delete(void* p, std::size_t) noexcept { std::free(p); }

std::uint64_t ErvBench::Allocations() { return g_allocations.load(std::memory_order_relaxed); }
