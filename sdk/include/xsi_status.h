// Result of every callback and host call.
#pragma once

#include "sicppsdk.h"

namespace XSI {

class CStatus {
public:
    enum Code : uint32_t {
        Undefined = 0xFFFFFFFF,
        OK = 0,
        False = 1,
        Fail = 0x80004005,
        InvalidArgument = 0x80070057,
        OutOfMemory = 0x8007000E,
        AccessDenied = 0x80070005,
        Unexpected = 0x8000FFFF,
        NotImpl = 0x80004001,
        MemberNotFound = 0x80020003,
        Abort = 0x80004004,
        BadVarType = 0x80020008
    };

    CStatus(Code c = OK) : m_code(c) {}
    Code GetCode() const { return m_code; }
    bool Succeeded() const { return m_code == OK || m_code == False; }
    void PutCode(Code c) { m_code = c; }
    CString GetDescription() const;
    CStatus& operator=(Code c) { m_code = c; return *this; }
    bool operator==(const CStatus& o) const { return m_code == o.m_code; }
    bool operator==(Code c) const { return m_code == c; }
    bool operator!=(const CStatus& o) const { return m_code != o.m_code; }
    bool operator!=(Code c) const { return m_code != c; }
    // Prints text (and the description) to stderr when the status is a failure.
    void AssertSucceeded(const CString& text) const;
    // The host's `AssertSucceeded(const CString& = CString())`: CString is incomplete here.
    void AssertSucceeded() const;

private:
    Code m_code;
};

}  // namespace XSI

// Host-style spellings used by callbacks.
#ifndef E_FAIL
#define E_FAIL XSI::CStatus::Fail
#endif
#ifndef E_INVALIDARG
#define E_INVALIDARG XSI::CStatus::InvalidArgument
#endif
