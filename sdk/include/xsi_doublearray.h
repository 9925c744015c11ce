// Arrays of doubles.
#pragma once

#include <vector>

#include "sicppsdk.h"
#include "xsi_status.h"
#include "xsi_string.h"

namespace XSI {

// double elements, indexed by LONG.
class CDoubleArray {
public:
    CDoubleArray() = default;
    explicit CDoubleArray(LONG size) : m_items(size > 0 ? static_cast<size_t>(size) : 0) {}

    LONG GetCount() const { return static_cast<LONG>(m_items.size()); }
    CStatus Add(const double& value) { m_items.push_back(value); return CStatus::OK; }
    CStatus Clear() { m_items.clear(); return CStatus::OK; }
    // New elements are 0.0; with reset, every element is.
    CStatus Resize(LONG n);
    CStatus Resize(LONG n, bool reset);
    const double& operator[](LONG i) const { return m_items[static_cast<size_t>(i)]; }
    double& operator[](LONG i) { return m_items[static_cast<size_t>(i)]; }
    bool operator==(const CDoubleArray& o) const { return m_items == o.m_items; }
    bool operator!=(const CDoubleArray& o) const { return !(*this == o); }
    // "0.5,1,2.25"; empty: ""
    CString GetAsText() const;
    const double* GetArray() const { return m_items.data(); }
    // The elements, for bulk writes (valid until the count changes).
    double* GetData() { return m_items.data(); }
    // Replaces the content with a copy of p[0..n).
    CStatus Attach(const double* p, LONG n);
    CStatus Append(const CDoubleArray& other);
    // Element-wise over the common length.
    CDoubleArray& operator+=(const CDoubleArray& o);
    CDoubleArray& operator-=(const CDoubleArray& o);

private:
    std::vector<double> m_items;
};

}  // namespace XSI
