// SPDX-License-Identifier: Apache-2.0
#include "utilities/owmofc/RoomyHeap.hpp"

#include <malloc.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>
#include <cstdlib>

namespace OwMofc {

namespace {

/// What the largest published schema takes, with some to spare; beyond it the heap grows as usual.
constexpr int ROOM = 32 << 20;
/// Less than this is not worth a system call of its own.
constexpr int LARGE_BLOCK = 8 << 20;
constexpr size_t PAGE_SIZE = 4096;

}  // namespace

void makeHeapRoomy() noexcept {
    mallopt(M_TOP_PAD, ROOM);
    mallopt(M_TRIM_THRESHOLD, 2 * ROOM);
    mallopt(M_MMAP_THRESHOLD, LARGE_BLOCK);
    // More than the heap has now, so that it grows.
    constexpr size_t MORE_THAN_IT_HAS = 256 << 10;
    auto* const before = static_cast<char*>(::sbrk(0));
    // Volatile, as a compiler may leave out what is only freed again.
    void* volatile block = std::malloc(MORE_THAN_IT_HAS);
    std::free(block);
    auto* const end = static_cast<char*>(::sbrk(0));
    if (end > before) {
        const auto begin = (reinterpret_cast<uintptr_t>(before) + PAGE_SIZE - 1) & ~(PAGE_SIZE - 1);
        // A refusal is no failure: the pages are small then.
        ::madvise(reinterpret_cast<void*>(begin), static_cast<size_t>(end - before), MADV_HUGEPAGE);
    }
}

}  // namespace OwMofc
