#include "core/Parallel.h"

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <exception>
#include <system_error>
#include <thread>
#include <vector>

namespace {
std::atomic<int> requestedThreads{0};
}

int GetWorkerThreadCount()
{
    const int requested = requestedThreads.load();
    if (requested > 0)
        return requested;
    // BRONDEL_THREADS lets a build farm share its cores between jobs; outputs do not depend on it.
    static const int fromEnvironment = [] {
        const char* text = std::getenv("BRONDEL_THREADS");
        const int value = text ? std::atoi(text) : 0;
        return value > 0 ? std::min(value, 256) : 0;
    }();
    if (fromEnvironment > 0)
        return fromEnvironment;
    return std::max(1, static_cast<int>(std::thread::hardware_concurrency()));
}

void SetWorkerThreadCount(int count)
{
    requestedThreads.store(std::max(0, count));
}

void ParallelFor(int begin, int end, const std::function<void(int from, int to)>& body)
{
    const int count = end - begin;
    if (count <= 0)
        return;
    const int threads = std::min(GetWorkerThreadCount(), count);
    if (threads <= 1)
    {
        body(begin, end);
        return;
    }
    // An exception (a failed allocation, a cancelled generation) must never leave a worker thread, where
    // it would end the program: each block keeps its own, and the first one, in block order, is rethrown
    // on the caller once every thread has finished.
    std::vector<std::exception_ptr> failures(static_cast<std::size_t>(threads));
    const auto run = [&body, &failures](int block, int from, int to) noexcept {
        try
        {
            body(from, to);
        }
        catch (...)
        {
            failures[static_cast<std::size_t>(block)] = std::current_exception();
        }
    };
    std::vector<std::thread> workers;
    workers.reserve(static_cast<std::size_t>(threads - 1));
    int started = 1;
    try
    {
        for (; started < threads; ++started)
        {
            const int from = begin + static_cast<int>(static_cast<long long>(count) * started / threads);
            const int to = begin + static_cast<int>(static_cast<long long>(count) * (started + 1) / threads);
            workers.emplace_back(run, started, from, to);
        }
    }
    catch (const std::system_error&)
    {
        // No more threads to be had: the blocks not started run here instead, in order.
    }
    run(0, begin, begin + count / threads);
    for (int block = started; block < threads; ++block)
        run(block, begin + static_cast<int>(static_cast<long long>(count) * block / threads),
            begin + static_cast<int>(static_cast<long long>(count) * (block + 1) / threads));
    for (std::thread& worker : workers)
        worker.join();
    for (const std::exception_ptr& failure : failures)
        if (failure)
            std::rethrow_exception(failure);
}

void ParallelForElements(std::size_t count, const std::function<void(std::size_t from, std::size_t to)>& body)
{
    // Sixty-four slices, whatever the thread count, so that each thread takes a contiguous run of them.
    constexpr int kSlices = 64;
    if (count == 0)
        return;
    ParallelFor(0, kSlices, [&](int from, int to) {
        body(count * static_cast<std::size_t>(from) / kSlices,
             count * static_cast<std::size_t>(to) / kSlices);
    });
}
