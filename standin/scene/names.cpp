#include "scene/names.h"

#include <atomic>

namespace standin {

namespace {
std::atomic<uint64_t> g_generation{0};
std::atomic<uint64_t> g_comparisons{0};

void Count() { g_comparisons.fetch_add(1, std::memory_order_relaxed); }
}  // namespace

void NameIndex::NameChanged() { g_generation.fetch_add(1, std::memory_order_relaxed); }

uint64_t NameIndex::Comparisons() { return g_comparisons.load(std::memory_order_relaxed); }

void NameIndex::Reset() {
    taken_.clear();
    next_.clear();
    seen_ = 0;
    last_ = nullptr;
    lastName_.clear();
}

bool NameIndex::Taken(const std::wstring& name) const {
    Count();
    return taken_.contains(name);
}

std::wstring NameIndex::Unique(size_t count, const std::function<const XSI::Host::Object&(size_t)>& at,
                               const std::wstring& base) {
    uint64_t generation = g_generation.load(std::memory_order_relaxed);
    // Lists grow only at their end: unless the node last seen is still in its place, with its
    // name, something before it went away.
    bool stale = generation != generation_ || seen_ > count ||
                 (seen_ > 0 && (&at(seen_ - 1) != last_ || at(seen_ - 1).name != lastName_));
    if (stale) {
        Reset();
        generation_ = generation;
    }
    for (; seen_ < count; ++seen_) {
        Count();
        taken_.insert(at(seen_).name);
    }
    if (seen_ > 0) {
        last_ = &at(seen_ - 1);
        lastName_ = last_->name;
    }

    if (!Taken(base)) return base;
    // Names taken stay taken until the index is rebuilt: the suffix search resumes where the
    // last one for this base ended.
    unsigned long long& next = next_[base];
    if (next == 0) next = 1;
    while (Taken(base + std::to_wstring(next))) ++next;
    return base + std::to_wstring(next);
}

}  // namespace standin
