#include "common/host_rand.h"

#include <atomic>

namespace orbelin {

namespace {
// The C runtime's initial state is 1 (as if srand(1) had been called).
std::atomic<uint32_t> g_state{1u};
}  // namespace

void HostSrand(uint32_t seed) { g_state.store(seed, std::memory_order_relaxed); }

int HostRand() {
    const uint32_t next = g_state.load(std::memory_order_relaxed) * kHostRandMultiplier + kHostRandIncrement;
    g_state.store(next, std::memory_order_relaxed);
    return static_cast<int>((next >> 16) & 0x7fffu);
}

}  // namespace orbelin
