#include "support/LargeAllocations.h"

#include <malloc.h>

namespace {

constexpr int kLargeBlockBytes = 1 << 20;

} // namespace

void returnLargeBlocksToTheSystem()
{
    // Setting the bound explicitly also switches off glibc's raising of it.
    mallopt(M_MMAP_THRESHOLD, kLargeBlockBytes);
}
