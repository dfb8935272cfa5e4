#include "core/Parallel.h"

#include <algorithm>
#include <atomic>
#include <cstdlib>
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
    std::vector<std::thread> workers;
    workers.reserve(static_cast<std::size_t>(threads - 1));
    for (int t = 1; t < threads; ++t)
    {
        const int from = begin + static_cast<int>(static_cast<long long>(count) * t / threads);
        const int to = begin + static_cast<int>(static_cast<long long>(count) * (t + 1) / threads);
        workers.emplace_back(body, from, to);
    }
    body(begin, begin + count / threads);
    for (std::thread& worker : workers)
        worker.join();
}
