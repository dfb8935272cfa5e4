#include "core/SheetBuffers.h"
#include "core/ZeroedArray.h"
#include "core/ZeroedMemory.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstring>

namespace {
constexpr std::size_t kSheet = std::size_t{24} << 20; // big enough to be a mapping of its own

bool AllZero(const std::uint8_t* bytes, std::size_t count)
{
    return std::all_of(bytes, bytes + count, [](std::uint8_t b) { return b == 0; });
}
} // namespace

// Blocks go back to a pool and come out again; whoever asks for zeros must get zeros, even from a block
// another buffer has just scribbled over, and the accounting must not drift.
TEST(SheetMemory, ReusedBlocksAreZeroedWhenAskedAndAccountedOnce)
{
    const std::size_t before = ZeroedBytesInUse();
    auto* dirty = static_cast<std::uint8_t*>(AllocateScratch(kSheet));
    ASSERT_NE(dirty, nullptr);
    std::memset(dirty, 0xAB, kSheet);
    EXPECT_EQ(ZeroedBytesInUse(), before + kSheet);
    FreeZeroed(dirty, kSheet);
    EXPECT_EQ(ZeroedBytesInUse(), before);

    // Smaller than the dirty block but more than half of it: the same pages, cleared.
    const std::size_t smaller = kSheet - (std::size_t{3} << 20) + 5;
    auto* zeroed = static_cast<std::uint8_t*>(AllocateZeroed(smaller));
    ASSERT_NE(zeroed, nullptr);
    EXPECT_TRUE(AllZero(zeroed, smaller));
    std::memset(zeroed, 0xCD, smaller);
    FreeZeroed(zeroed, smaller);

    // Bigger than any idle block: a fresh mapping, and the two must not be confused when freed.
    auto* bigger = static_cast<std::uint8_t*>(AllocateZeroed(2 * kSheet));
    auto* again = static_cast<std::uint8_t*>(AllocateZeroed(kSheet));
    ASSERT_NE(bigger, nullptr);
    ASSERT_NE(again, nullptr);
    EXPECT_TRUE(AllZero(bigger, 2 * kSheet));
    EXPECT_TRUE(AllZero(again, kSheet));
    FreeZeroed(bigger, 2 * kSheet);
    FreeZeroed(again, kSheet);
    EXPECT_EQ(ZeroedBytesInUse(), before);
}

TEST(SheetMemory, ContainersRespectTheMemoryCeiling)
{
    SetZeroedMemoryLimit(ZeroedBytesInUse() + kSheet / 2);
    EXPECT_THROW(SheetVector<float>(kSheet / sizeof(float)), std::bad_alloc);
    EXPECT_THROW(ScratchArray<float>(kSheet / sizeof(float)), std::bad_alloc);
    EXPECT_THROW(ZeroedArray<float>(kSheet / sizeof(float)), std::bad_alloc);
    // Small buffers fit under it.
    EXPECT_NO_THROW(SheetVector<float>(1024));
    SetZeroedMemoryLimit(0);

    // Elements read back as they were written after the vector grows from a small to a mapped block.
    SheetVector<std::uint32_t> values;
    for (std::uint32_t i = 0; i < kSheet / sizeof(std::uint32_t); ++i)
        values.push_back(i * 2654435761u);
    bool intact = true;
    for (std::uint32_t i = 0; i < values.size(); ++i)
        intact = intact && values[i] == i * 2654435761u;
    EXPECT_TRUE(intact);
}
