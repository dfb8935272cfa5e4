#include "core/ZeroedMemory.h"

#include "core/Parallel.h"

#include <algorithm>
#include <atomic>
#include <cassert>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <mutex>
#include <sys/mman.h>
#include <vector>

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
// Fresh pages cost a fault and a clear by the kernel each, many times what clearing memory the process
// already holds costs. A run makes and drops dozens of sheet-sized buffers of a few sizes, so dropped
// mappings are kept and handed out again, cut down or grown to the size asked for. What is kept counts
// as resident memory, so the pool is bounded.
constexpr std::size_t kPageBytes = 4096;
constexpr std::size_t kIdleCeiling = std::size_t{256} << 20;

struct MappedBlock
{
    void* memory = nullptr;
    std::size_t mapped = 0;   // length of the mapping
    std::size_t resident = 0; // bytes from the start that may hold pages (and old contents)
};

struct BlockPool
{
    std::mutex mutex;
    std::vector<MappedBlock> live; // handed out, so a returned pointer finds its mapping
    std::vector<MappedBlock> idle; // returned, oldest first
    std::size_t idleBytes = 0;
};

BlockPool& Pool()
{
    // Never destroyed: blocks may come back from static objects torn down after it.
    static auto* pool = new BlockPool;
    return *pool;
}

std::size_t RoundToPages(std::size_t bytes)
{
    return (bytes + kPageBytes - 1) / kPageBytes * kPageBytes;
}

// A mapping of at least `bytes`, made from a kept one where possible; sets `stale` to how many leading
// bytes may hold another buffer's old contents (the rest reads as zero).
void* MapBlock(std::size_t bytes, std::size_t& stale)
{
    const std::size_t length = RoundToPages(bytes);
    BlockPool& pool = Pool();
    std::unique_lock<std::mutex> lock(pool.mutex);
    // The smallest kept block that is big enough, else the biggest one, which then grows to fit: its
    // pages are kept, and only the growth is fresh.
    auto best = pool.idle.end();
    for (auto block = pool.idle.begin(); block != pool.idle.end(); ++block)
    {
        const bool fits = block->mapped >= length;
        const bool bestFits = best != pool.idle.end() && best->mapped >= length;
        if (best == pool.idle.end() || (fits && (!bestFits || block->mapped < best->mapped)) ||
            (!fits && !bestFits && block->mapped > best->mapped))
            best = block;
    }
    if (best != pool.idle.end())
    {
        MappedBlock block = *best;
        pool.idle.erase(best);
        pool.idleBytes -= block.resident;
        lock.unlock();
        auto* start = static_cast<char*>(block.memory);
        if (block.mapped < length)
        {
            void* grown = mremap(block.memory, block.mapped, length, MREMAP_MAYMOVE);
            if (grown == MAP_FAILED)
            {
                munmap(block.memory, block.mapped);
                return MapBlock(bytes, stale);
            }
            start = static_cast<char*>(grown);
            madvise(start + block.mapped, length - block.mapped, MADV_HUGEPAGE);
            block.memory = grown;
            block.mapped = length;
        }
        else if (block.resident > length)
            madvise(start + length, block.resident - length, MADV_DONTNEED);
        stale = std::min(block.resident, length);
        block.resident = length;
        lock.lock();
        pool.live.push_back(block);
        return block.memory;
    }
    lock.unlock();
    void* memory = mmap(nullptr, length, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED)
        return nullptr;
    // Only advice: where huge pages are unavailable the mapping simply keeps ordinary pages.
    madvise(memory, length, MADV_HUGEPAGE);
    stale = 0;
    lock.lock();
    pool.live.push_back({memory, length, length});
    return memory;
}

void UnmapBlock(void* memory)
{
    BlockPool& pool = Pool();
    std::vector<MappedBlock> released;
    {
        std::lock_guard<std::mutex> lock(pool.mutex);
        const auto block = std::find_if(pool.live.begin(), pool.live.end(),
                                        [memory](const MappedBlock& b) { return b.memory == memory; });
        // A pointer that was never handed out here: a caller's bug, not something to unmap blindly.
        assert(block != pool.live.end() && "FreeZeroed: block not allocated here");
        if (block == pool.live.end())
            return;
        pool.idle.push_back(*block);
        pool.idleBytes += block->resident;
        pool.live.erase(block);
        while (pool.idleBytes > kIdleCeiling)
        {
            released.push_back(pool.idle.front());
            pool.idleBytes -= pool.idle.front().resident;
            pool.idle.erase(pool.idle.begin());
        }
    }
    // Unmapping a big block takes a while; other threads need not wait for it.
    for (const MappedBlock& block : released)
        munmap(block.memory, block.mapped);
}

void* Allocate(std::size_t bytes, bool zeroed)
{
    if (!Reserve(bytes))
        return nullptr;
    void* memory = nullptr;
    if (!Mapped(bytes))
        memory = zeroed ? std::calloc(bytes == 0 ? 1 : bytes, 1) : std::malloc(bytes == 0 ? 1 : bytes);
    else
    {
        std::size_t stale = 0;
        memory = MapBlock(bytes, stale);
        if (memory != nullptr && zeroed && stale > 0)
        {
            // Cleared on every thread: a reused block can be a couple of hundred megabytes.
            auto* start = static_cast<std::uint8_t*>(memory);
            ParallelForElements(
                stale, [&](std::size_t from, std::size_t to) { std::memset(start + from, 0, to - from); });
        }
    }
    if (memory == nullptr)
        bytesInUse.fetch_sub(bytes, std::memory_order_relaxed);
    return memory;
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
    return Allocate(bytes, true);
}

void* AllocateScratch(std::size_t bytes)
{
    return Allocate(bytes, false);
}

void FreeZeroed(void* memory, std::size_t bytes)
{
    if (memory == nullptr)
        return;
    bytesInUse.fetch_sub(bytes, std::memory_order_relaxed);
    if (Mapped(bytes))
        UnmapBlock(memory);
    else
        std::free(memory);
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
