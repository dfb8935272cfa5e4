#pragma once
#include <cstddef>
#include <functional>

// Splits [begin, end) into one contiguous block per worker thread and runs body(from, to) on each,
// returning when all are done. The split is static, so work that writes disjoint ranges gives the
// same bytes whatever the thread count.
void ParallelFor(int begin, int end, const std::function<void(int from, int to)>& body);

// The same over the elements [0, count) of a flat array, for element-wise work on whole sheets, whose
// element counts can outgrow an int.
void ParallelForElements(std::size_t count,
                         const std::function<void(std::size_t from, std::size_t to)>& body);

// Threads ParallelFor uses: as set, else $BRONDEL_THREADS, else the hardware's count. 1 runs everything
// on the caller.
int GetWorkerThreadCount();
void SetWorkerThreadCount(int count); // 0 restores the hardware's count
