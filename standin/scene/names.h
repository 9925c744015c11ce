// Free names in a list of nodes: `base`, else base + "1", base + "2" ... the first that no
// node of the list has.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "core/object.h"

namespace standin {

// The names a list has taken, so that finding a free one costs no scan of the list: a scene
// gains thousands of objects of one name from a script, and scanning made that cubic.
//
// The lists only grow at their end; the index takes in what was appended since it last looked,
// and keeps, per base, the suffix below which every name was found taken. A removal is noticed
// (the node last seen is not where it was) and so is a rename (NameChanged); either way the
// index is rebuilt, so the names are the very ones a scan of the list would give.
class NameIndex {
public:
    NameIndex() = default;
    // A copy of a node starts with no index: it does not hold the original's list.
    NameIndex(const NameIndex&) {}
    NameIndex& operator=(const NameIndex&) {
        Reset();
        return *this;
    }

    template <class T>
    std::wstring Unique(const std::vector<XSI::Host::Ptr<T>>& list, const std::wstring& base) {
        return Unique(list.size(), [&](size_t i) -> const XSI::Host::Object& { return *list[i]; }, base);
    }

    // Every index is stale once a node that may be in a list changes its name.
    static void NameChanged();
    // Names looked up or taken in by every index so far: the cost of finding free names.
    static uint64_t Comparisons();

private:
    std::wstring Unique(size_t count, const std::function<const XSI::Host::Object&(size_t)>& at, const std::wstring& base);
    bool Taken(const std::wstring& name) const;
    void Reset();

    std::unordered_set<std::wstring> taken_;
    std::unordered_map<std::wstring, unsigned long long> next_;
    size_t seen_ = 0;
    const XSI::Host::Object* last_ = nullptr;
    std::wstring lastName_;
    uint64_t generation_ = 0;
};

}  // namespace standin
