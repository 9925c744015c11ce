// Arrays of floats.
#pragma once

#include <vector>

#include "sicppsdk.h"
#include "xsi_status.h"
#include "xsi_string.h"

namespace XSI {

// float elements, indexed by LONG.
class CFloatArray {
public:
    CFloatArray() = default;
    explicit CFloatArray(LONG size) : m_items(size > 0 ? static_cast<size_t>(size) : 0) {}

    LONG GetCount() const { return static_cast<LONG>(m_items.size()); }
    CStatus Add(const float& value) { m_items.push_back(value); return CStatus::OK; }
    CStatus Clear() { m_items.clear(); return CStatus::OK; }
    // New elements are 0.0f; with reset, every element is.
    CStatus Resize(LONG n);
    CStatus Resize(LONG n, bool reset);
    const float& operator[](LONG i) const { return m_items[static_cast<size_t>(i)]; }
    float& operator[](LONG i) { return m_items[static_cast<size_t>(i)]; }
    bool operator==(const CFloatArray& o) const { return m_items == o.m_items; }
    bool operator!=(const CFloatArray& o) const { return !(*this == o); }
    // "0.5,1,2.25"; empty: ""
    CString GetAsText() const;
    const float* GetArray() const { return m_items.data(); }
    // The elements, for bulk writes (valid until the count changes).
    float* GetData() { return m_items.data(); }
    // Replaces the content with a copy of p[0..n).
    CStatus Attach(const float* p, LONG n);
    CStatus Append(const CFloatArray& other);
    // Element-wise over the common length.
    CFloatArray& operator+=(const CFloatArray& o);
    CFloatArray& operator-=(const CFloatArray& o);

private:
    std::vector<float> m_items;
};

}  // namespace XSI
