// Splits an element loop over the machine's cores. Each chunk is a contiguous range, so a
// body that writes only its own elements needs no locking. Small loops run on the caller's
// thread: starting threads costs more than they would save.
#pragma once

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <exception>
#include <thread>
#include <vector>

namespace orbelin {

// Calls body(begin, end) over [0, n) in chunks, possibly at the same time on several threads,
// and returns when all are done. An exception thrown by a chunk is rethrown here (the first one).
template <class Body>
void ForChunks(size_t n, Body&& body, size_t minChunk = 4096) {
    size_t threads = std::max<size_t>(1, std::thread::hardware_concurrency());
    threads = std::min(threads, std::max<size_t>(1, n / std::max<size_t>(1, minChunk)));
    if (threads <= 1) {
        if (n > 0) body(size_t{0}, n);
        return;
    }
    // More chunks than threads, handed out in order, so an uneven load (all the work near
    // one object) still spreads.
    const size_t chunks = threads * 8, step = (n + chunks - 1) / chunks;
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
