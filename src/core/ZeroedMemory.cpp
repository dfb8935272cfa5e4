#include "core/ZeroedMemory.h"

#include <cstdlib>
#include <sys/mman.h>

namespace {
constexpr std::size_t kMappedFrom = std::size_t{8} << 20;
}

void* AllocateZeroed(std::size_t bytes)
{
    if (bytes < kMappedFrom)
        return std::calloc(bytes == 0 ? 1 : bytes, 1);
    void* memory = mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED)
        return nullptr;
    // Only advice: where huge pages are unavailable the mapping simply keeps ordinary pages.
    madvise(memory, bytes, MADV_HUGEPAGE);
    return memory;
}

void FreeZeroed(void* memory, std::size_t bytes)
{
    if (memory == nullptr)
        return;
    if (bytes < kMappedFrom)
        std::free(memory);
    else
        munmap(memory, bytes);
}
