// Arrays of 32-bit integers.
#pragma once

#include <vector>

#include "sicppsdk.h"
#include "xsi_status.h"
#include "xsi_string.h"

namespace XSI {

// LONG elements, indexed by LONG.
class CLongArray {
public:
    CLongArray() = default;
    explicit CLongArray(LONG size) : m_items(size > 0 ? static_cast<size_t>(size) : 0) {}

    LONG GetCount() const { return static_cast<LONG>(m_items.size()); }
    CStatus Add(const LONG& value) { m_items.push_back(value); return CStatus::OK; }
    CStatus Clear() { m_items.clear(); return CStatus::OK; }
    // New elements are 0; with reset, every element is.
    CStatus Resize(LONG n);
    CStatus Resize(LONG n, bool reset);
    const LONG& operator[](LONG i) const { return m_items[static_cast<size_t>(i)]; }
    LONG& operator[](LONG i) { return m_items[static_cast<size_t>(i)]; }
    bool operator==(const CLongArray& o) const { return m_items == o.m_items; }
    bool operator!=(const CLongArray& o) const { return !(*this == o); }
    // "1,2,3"; empty: ""
    CString GetAsText() const;
    const LONG* GetArray() const { return m_items.data(); }
    // The elements, for bulk writes (valid until the count changes).
    LONG* GetData() { return m_items.data(); }
    // Replaces the content with a copy of p[0..n).
    CStatus Attach(const LONG* p, LONG n);
    CStatus Append(const CLongArray& other);
    // Element-wise over the common length.
    CLongArray& operator+=(const CLongArray& o);
    CLongArray& operator-=(const CLongArray& o);

private:
    std::vector<LONG> m_items;
};

}  // namespace XSI
