#include "support/LargeAllocations.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <malloc.h>

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool kOwnAllocator = true; // the sanitizers bring an allocator of their own
#else
constexpr bool kOwnAllocator = false;
#endif

namespace {

// Bytes the allocator holds in mappings of their own.
size_t mappedBytes()
{
    return mallinfo2().hblkhd;
}

} // namespace

TEST(LargeAllocations, AFreedLargeBlockDoesNotPullTheNextOnesIntoTheHeap)
{
    if (kOwnAllocator)
        GTEST_SKIP() << "the sanitizer's allocator ignores glibc's settings";
    returnLargeBlocksToTheSystem();
    // Left to itself, glibc would now serve blocks up to 8 MiB from the heap.
    void* first = std::malloc(8 << 20);
    ASSERT_NE(first, nullptr);
    std::memset(first, 1, 8 << 20);
    std::free(first);

    const size_t before = mappedBytes();
    void* picture = std::malloc(3 << 20);
    ASSERT_NE(picture, nullptr);
    std::memset(picture, 1, 3 << 20);
    const size_t during = mappedBytes();
    std::free(picture);
    EXPECT_GE(during - before, size_t(3) << 20);
    // And it went back as soon as it was freed.
    EXPECT_EQ(mappedBytes(), before);
}
