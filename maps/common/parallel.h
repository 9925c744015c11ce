// Splits an element loop over the cores the process may use. Each chunk is a contiguous range, so a
// body that writes only its own elements needs no locking. Small loops run on the caller's
// thread: starting threads costs more than they would save.
#pragma once

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <exception>
#include <thread>
#include <vector>

#include <sched.h>

namespace orbelin {

// The CPUs this process may run on (its affinity mask), which may be fewer than the
// machine has: a job runner or a container often hands out a share of them.
inline size_t WorkerCount() {
    cpu_set_t set;
    CPU_ZERO(&set);
    if (sched_getaffinity(0, sizeof set, &set) == 0) {
        int n = CPU_COUNT(&set);
        if (n > 0) return static_cast<size_t>(n);
    }
    return std::max<size_t>(1, std::thread::hardware_concurrency());
}

// Calls body(begin, end) over [0, n) in chunks, possibly at the same time on several threads,
// and returns when all are done. An exception thrown by a chunk is rethrown here (the first one).
// Loops shorter than `minChunk` per thread run on the caller's thread alone.
template <class Body>
void ForChunks(size_t n, Body&& body, size_t minChunk = 4096) {
    size_t threads = WorkerCount();
    threads = std::min(threads, std::max<size_t>(1, n / std::max<size_t>(1, minChunk)));
    if (threads <= 1) {
        if (n > 0) body(size_t{0}, n);
        return;
    }
    // Small chunks handed out in order: the work of an element loop often sits in a few
    // places (the elements near one object), and each place must be shared by the threads.
    const size_t step = std::max<size_t>(256, std::min<size_t>(1024, n / (threads * 8))),
                 chunks = (n + step - 1) / step;
    std::atomic<size_t> next{0};
    std::vector<std::exception_ptr> errors(threads);
    auto worker = [&](size_t w) {
        try {
            for (size_t c; (c = next.fetch_add(1)) < chunks;) {
                size_t begin = c * step, end = std::min(n, begin + step);
                if (begin < end) body(begin, end);
            }
        } catch (...) {
            errors[w] = std::current_exception();
            next = chunks;
        }
    };
    std::vector<std::thread> pool;
    pool.reserve(threads - 1);
    for (size_t w = 1; w < threads; ++w) pool.emplace_back(worker, w);
    worker(0);
    for (std::thread& t : pool) t.join();
    for (const std::exception_ptr& e : errors)
        if (e) std::rethrow_exception(e);
}

}  // namespace orbelin
