#include <cstdio>

#include "xsi_status.h"
#include "xsi_string.h"

namespace XSI {

CString CStatus::GetDescription() const {
    switch (m_code) {
        case OK: return L"OK";
        case False: return L"False";
        case Fail: return L"Fail";
        case InvalidArgument: return L"Invalid argument";
        case OutOfMemory: return L"Out of memory";
        case AccessDenied: return L"Access denied";
        case Unexpected: return L"Unexpected failure";
        case NotImpl: return L"Not implemented";
        case MemberNotFound: return L"Member not found";
        case Abort: return L"Aborted";
        case BadVarType: return L"Bad variable type";
        default: return L"Undefined";
    }
}

void CStatus::AssertSucceeded(const CString& text) const {
    if (Succeeded()) return;
    const CString description = GetDescription();
    if (text.IsEmpty()) std::fprintf(stderr, "%s\n", description.GetAsciiString());
    else std::fprintf(stderr, "%s (%s)\n", text.GetAsciiString(), description.GetAsciiString());
}

void CStatus::AssertSucceeded() const { AssertSucceeded(CString()); }

}  // namespace XSI
