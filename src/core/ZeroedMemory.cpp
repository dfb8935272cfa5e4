#include "core/ZeroedMemory.h"

#include <atomic>
#include <cassert>
#include <cstdlib>
#include <limits>
#include <sys/mman.h>

namespace {
constexpr std::size_t kMappedFrom = std::size_t{8} << 20;

std::atomic<std::size_t> bytesInUse{0};
std::atomic<std::size_t> bytesLimit{0};

// Under AddressSanitizer every block comes from calloc, so the leak checker sees sheet-sized buffers too
// (it does not follow raw mappings).
#if defined(__SANITIZE_ADDRESS__)
constexpr bool kMapLargeBlocks = false;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
constexpr bool kMapLargeBlocks = false;
#else
constexpr bool kMapLargeBlocks = true;
#endif
#else
constexpr bool kMapLargeBlocks = true;
#endif

// The ceiling in force: the one set by the program, else BRONDEL_MEMORY_LIMIT in MiB, else none.
std::size_t EffectiveLimit()
{
    const std::size_t set = bytesLimit.load(std::memory_order_relaxed);
    if (set != 0)
        return set;
    static const std::size_t fromEnvironment = [] {
        const char* text = std::getenv("BRONDEL_MEMORY_LIMIT");
        const long long mebibytes = text ? std::atoll(text) : 0;
        return mebibytes > 0 ? static_cast<std::size_t>(mebibytes) << 20 : std::size_t{0};
    }();
    return fromEnvironment;
}

bool Mapped(std::size_t bytes)
{
    return kMapLargeBlocks && bytes >= kMappedFrom;
}

// Reserves the bytes against the limit before the system is asked, so two threads cannot both pass it.
bool Reserve(std::size_t bytes)
{
    const std::size_t limit = EffectiveLimit();
    const std::size_t before = bytesInUse.fetch_add(bytes, std::memory_order_relaxed);
    if (limit != 0 && (before + bytes > limit || before + bytes < before))
    {
        bytesInUse.fetch_sub(bytes, std::memory_order_relaxed);
        return false;
    }
    return true;
}
} // namespace

bool ZeroedBytesFor(std::size_t count, std::size_t size, std::size_t& bytes)
{
    if (size != 0 && count > std::numeric_limits<std::size_t>::max() / size)
        return false;
    bytes = count * size;
    return true;
}

void* AllocateZeroed(std::size_t bytes)
{
    if (!Reserve(bytes))
        return nullptr;
    void* memory = nullptr;
    if (!Mapped(bytes))
        memory = std::calloc(bytes == 0 ? 1 : bytes, 1);
    else
    {
        memory = mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        if (memory == MAP_FAILED)
            memory = nullptr;
        else // Only advice: where huge pages are unavailable the mapping simply keeps ordinary pages.
            madvise(memory, bytes, MADV_HUGEPAGE);
    }
    if (memory == nullptr)
        bytesInUse.fetch_sub(bytes, std::memory_order_relaxed);
    return memory;
}

void FreeZeroed(void* memory, std::size_t bytes)
{
    if (memory == nullptr)
        return;
    bytesInUse.fetch_sub(bytes, std::memory_order_relaxed);
    if (!Mapped(bytes))
    {
        std::free(memory);
        return;
    }
    [[maybe_unused]] const int result = munmap(memory, bytes);
    // A failure here means the block and its size do not belong together: a leak, or worse.
    assert(result == 0 && "FreeZeroed: block freed with a size other than its own");
}

std::size_t ZeroedBytesInUse()
{
    return bytesInUse.load(std::memory_order_relaxed);
}

void SetZeroedMemoryLimit(std::size_t bytes)
{
    bytesLimit.store(bytes, std::memory_order_relaxed);
}

std::size_t GetZeroedMemoryLimit()
{
    return EffectiveLimit();
}
