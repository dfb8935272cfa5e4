#include "core/Parallel.h"
#include "support/TestImages.h"

#include <gtest/gtest.h>

#include <atomic>
#include <stdexcept>
#include <vector>

// A worker thread that throws would end the program; the exception must reach the caller instead,
// after every block has run, whichever thread it came from.
TEST(ParallelFor, AnExceptionInAnyBlockReachesTheCallerAfterAllBlocksFinish)
{
    for (const int threads : {1, 2, 3})
    {
        ThreadCount count(threads);
        for (const int failing : {0, 99})
        {
            std::vector<std::atomic<int>> visits(100);
            try
            {
                ParallelFor(0, 100, [&](int from, int to) {
                    for (int i = from; i < to; ++i)
                        ++visits[static_cast<std::size_t>(i)];
                    if (from <= failing && failing < to)
                        throw std::runtime_error("block " + std::to_string(from));
                });
                ADD_FAILURE() << "no exception with " << threads << " threads";
            }
            catch (const std::runtime_error& error)
            {
                EXPECT_EQ(std::string(error.what()).rfind("block ", 0), 0u);
            }
            for (const std::atomic<int>& visit : visits)
                EXPECT_EQ(visit.load(), 1) << threads << " threads, failing index " << failing;
        }
    }
}
