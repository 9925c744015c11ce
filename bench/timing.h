// Timing helpers the benchmarks share: seconds since a moment or taken by a call, medians, and
// a figure timed in turn with its baseline so that both see the same load.
#pragma once

#include <algorithm>
#include <chrono>
#include <functional>
#include <utility>
#include <vector>

namespace orbelin::bench {

inline double Seconds(std::chrono::steady_clock::time_point since) {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - since).count();
}

inline double Seconds(const std::function<void()>& f) {
    const auto start = std::chrono::steady_clock::now();
    f();
    return Seconds(start);
}

inline double Median(std::vector<double> v) {
    std::sort(v.begin(), v.end());
    return v[v.size() / 2];
}

// Medians over `runs` of `ours` and of its baseline, each run of one followed by one of the other.
inline std::pair<double, double> Compare(const std::function<void()>& ours, const std::function<void()>& baseline, int runs) {
    std::vector<double> a, b;
    for (int i = 0; i < runs; ++i) {
        a.push_back(Seconds(ours));
        b.push_back(Seconds(baseline));
    }
    return {Median(a), Median(b)};
}

}  // namespace orbelin::bench
