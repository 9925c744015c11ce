// The host platform's C library random generator (`srand` / `rand` of the Microsoft C runtime),
// reproduced so that a formula's r sequence is the host's on every platform.
//
// A linear congruential generator over 32-bit unsigned state, wrapping modulo 2^32:
//   srand(seed):  state = seed (the 32-bit pattern of the seed)
//   rand():       state = state * 214013 + 2531011;  return (state >> 16) & 0x7fff
// so values go from 0 to 32767 (kHostRandMax). For seed 1 the first values are 41, 18467, 6334,
// 26500, 19169. The glibc `rand` here goes to 2^31 - 1 with another sequence, hence this.
//
// Process-wide like the C library's: one state shared by every caller. Reads and writes are
// atomic (relaxed) so concurrent callers cannot make a data race, but two threads drawing at
// once interleave their draws, as they would with the host's generator.
#pragma once

#include <cstdint>

namespace orbelin {

inline constexpr uint32_t kHostRandMultiplier = 214013u;
inline constexpr uint32_t kHostRandIncrement = 2531011u;
inline constexpr int kHostRandMax = 0x7fff;  // 32767

// srand(seed).
void HostSrand(uint32_t seed);
// rand(): 0 to 32767.
int HostRand();

}  // namespace orbelin
