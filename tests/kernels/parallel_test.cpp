// The element loops' split over threads: every element once, and no more workers than the
// CPUs the process may use.
#include <gtest/gtest.h>

#include <sched.h>

#include <atomic>
#include <vector>

#include "common/parallel.h"

namespace {

TEST(Parallel, WorkersFollowTheAffinityMask) {
    cpu_set_t all;
    ASSERT_EQ(sched_getaffinity(0, sizeof all, &all), 0);
    EXPECT_EQ(orbelin::WorkerCount(), static_cast<size_t>(CPU_COUNT(&all)));
    cpu_set_t one;
    CPU_ZERO(&one);
    for (int c = 0; c < CPU_SETSIZE; ++c)
        if (CPU_ISSET(c, &all)) {
            CPU_SET(c, &one);
            break;
        }
    ASSERT_EQ(sched_setaffinity(0, sizeof one, &one), 0);
    EXPECT_EQ(orbelin::WorkerCount(), 1u);
    // With one CPU the loop runs on the caller's thread alone, in one piece.
    std::atomic<int> calls{0};
    orbelin::ForChunks(100000, [&](size_t begin, size_t end) {
        ++calls;
        EXPECT_EQ(begin, 0u);
        EXPECT_EQ(end, 100000u);
    });
    EXPECT_EQ(calls, 1);
    sched_setaffinity(0, sizeof all, &all);
}

TEST(Parallel, EveryElementOnceWhateverTheLength) {
    for (size_t n : {size_t{0}, size_t{1}, size_t{4095}, size_t{4096}, size_t{100003}, size_t{1} << 20}) {
        std::vector<std::atomic<int>> seen(n);
        orbelin::ForChunks(n, [&](size_t begin, size_t end) {
            for (size_t i = begin; i < end; ++i) ++seen[i];
        });
        for (size_t i = 0; i < n; ++i) ASSERT_EQ(seen[i], 1) << n << " " << i;
    }
}

TEST(Parallel, AnExceptionInAChunkReachesTheCaller) {
    EXPECT_THROW(orbelin::ForChunks(1 << 20,
                                    [&](size_t begin, size_t) {
                                        if (begin >= (1 << 19)) throw std::runtime_error("chunk failed");
                                    }),
                 std::runtime_error);
}

}  // namespace
