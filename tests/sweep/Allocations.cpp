// SPDX-License-Identifier: MIT
// The C library's allocation functions, interposed; in sanitizer builds, which have functions of their own
// there, the operators of C++.
#include "sweep/Allocations.h"

#include "sweep/VirtualTime.h"

#include <atomic>
#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <new>

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define ORVO_SANITIZED 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define ORVO_SANITIZED 1
#endif
#endif

namespace orvo::test {
namespace {

thread_local int productDepth = 0;
thread_local int boardDepth = 0;

std::atomic<std::int64_t> blocks{0};
std::atomic<std::uint64_t> counted[2]; // by others, by the host
std::atomic<std::uint64_t> failingNth{0};
std::atomic<bool> failsFromThenOn{false}, failsForHost{false};

bool isRefused() {
    const bool isHost = isHostThread();
    if (boardDepth > 0 || (isHost && productDepth == 0)) return false;
    const auto number = ++counted[isHost];
    const auto nth = failingNth.load(std::memory_order_relaxed);
    if (nth == 0 || isHost != failsForHost.load(std::memory_order_relaxed)) return false;
    return number == nth || (number > nth && failsFromThenOn.load(std::memory_order_relaxed));
}

template <class Allocate> void* allocated(Allocate allocate) {
    if (isRefused()) {
        errno = ENOMEM;
        return nullptr;
    }
    void* const block = allocate();
    if (block) blocks.fetch_add(1, std::memory_order_relaxed);
    return block;
}

void forget(void* block) {
    if (block) blocks.fetch_sub(1, std::memory_order_relaxed);
}

} // namespace

ProductScope::ProductScope() {
    ++productDepth;
}
ProductScope::~ProductScope() {
    --productDepth;
}
BoardScope::BoardScope() {
    ++boardDepth;
}
BoardScope::~BoardScope() {
    --boardDepth;
}

void armMemoryFault(const MemoryFault& fault) {
    failingNth = 0;
    counted[0] = counted[1] = 0;
    failsForHost = fault.ofHost;
    failsFromThenOn = fault.fromThenOn;
    failingNth = fault.nth;
}

std::uint64_t allocationsOfHost() {
    return counted[1];
}
std::uint64_t allocationsOfOthers() {
    return counted[0];
}
std::int64_t liveBlocks() {
    return blocks;
}

} // namespace orvo::test

using orvo::test::allocated;
using orvo::test::forget;

#ifdef ORVO_SANITIZED

void* operator new(std::size_t bytes) {
    if (void* const block = allocated([bytes] { return std::malloc(bytes); })) return block;
    throw std::bad_alloc();
}
void* operator new(std::size_t bytes, const std::nothrow_t&) noexcept {
    return allocated([bytes] { return std::malloc(bytes); });
}
void* operator new(std::size_t bytes, std::align_val_t alignment) {
    const auto boundary = static_cast<std::size_t>(alignment);
    const auto whole = (bytes + boundary - 1) / boundary * boundary;
    if (void* const block = allocated([=] { return std::aligned_alloc(boundary, whole); })) return block;
    throw std::bad_alloc();
}
void operator delete(void* block) noexcept {
    forget(block);
    std::free(block);
}
void operator delete(void* block, std::align_val_t) noexcept {
    operator delete(block);
}
void operator delete(void* block, std::size_t, std::align_val_t) noexcept {
    operator delete(block);
}
void operator delete(void* block, std::size_t) noexcept {
    operator delete(block);
}

#else

extern "C" {

// The C library's own, under the names that it keeps for those who interpose the usual ones.
// NOLINTBEGIN(bugprone-reserved-identifier)
void* __libc_malloc(std::size_t);
void* __libc_calloc(std::size_t, std::size_t);
void* __libc_realloc(void*, std::size_t);
void* __libc_memalign(std::size_t, std::size_t);
void __libc_free(void*);
// NOLINTEND(bugprone-reserved-identifier)

__attribute__((visibility("default"))) void* malloc(std::size_t bytes) {
    return allocated([bytes] { return __libc_malloc(bytes); });
}
__attribute__((visibility("default"))) void* calloc(std::size_t count, std::size_t bytes) {
    return allocated([count, bytes] { return __libc_calloc(count, bytes); });
}
__attribute__((visibility("default"))) void* aligned_alloc(std::size_t boundary, std::size_t bytes) {
    return allocated([boundary, bytes] { return __libc_memalign(boundary, bytes); });
}
__attribute__((visibility("default"))) void* realloc(void* block, std::size_t bytes) {
    if (!block) return malloc(bytes);
    if (bytes == 0) {
        std::free(block);
        return nullptr;
    }
    if (!orvo::test::isRefused()) return __libc_realloc(block, bytes);
    errno = ENOMEM;
    return nullptr;
}
__attribute__((visibility("default"))) void free(void* block) {
    forget(block);
    __libc_free(block);
}
}

#endif
