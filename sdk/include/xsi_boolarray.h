// Arrays of booleans.
#pragma once

#include <vector>

#include "sicppsdk.h"
#include "xsi_status.h"
#include "xsi_string.h"

namespace XSI {

// bool elements, indexed by LONG.
class CBoolArray {
public:
    CBoolArray() = default;
    explicit CBoolArray(LONG size) : m_items(size > 0 ? static_cast<size_t>(size) : 0) {}

    LONG GetCount() const { return static_cast<LONG>(m_items.size()); }
    CStatus Add(const bool& value) { m_items.push_back({value}); return CStatus::OK; }
    CStatus Clear() { m_items.clear(); return CStatus::OK; }
    // New elements are false; with reset, every element is.
    CStatus Resize(LONG n);
    CStatus Resize(LONG n, bool reset);
    const bool& operator[](LONG i) const { return m_items[static_cast<size_t>(i)].value; }
    bool& operator[](LONG i) { return m_items[static_cast<size_t>(i)].value; }
    bool operator==(const CBoolArray& o) const { return m_items == o.m_items; }
    bool operator!=(const CBoolArray& o) const { return !(*this == o); }
    // "True,False"; empty: ""
    CString GetAsText() const;
    const bool* GetArray() const { return reinterpret_cast<const bool*>(m_items.data()); }
    // The elements, for bulk writes (valid until the count changes).
    bool* GetData() { return reinterpret_cast<bool*>(m_items.data()); }
    // Replaces the content with a copy of p[0..n).
    CStatus Attach(const bool* p, LONG n);
    CStatus Append(const CBoolArray& other);

private:
    // std::vector<bool> packs bits and cannot hand out bool& or bool*.
    struct Item {
        bool value;
        bool operator==(const Item& o) const { return value == o.value; }
    };
    static_assert(sizeof(Item) == sizeof(bool));
    std::vector<Item> m_items;
};

}  // namespace XSI
