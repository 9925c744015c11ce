#include "shell/guard.h"

namespace orbelin::detail {

void ReportEscapedException(const wchar_t* callback, const char* what) noexcept {
    // Logging allocates; if that fails too there is nothing better left to do than return.
    try {
        XSI::CString text = XSI::CString(L"Unexpected failure in ") + callback;
        if (what && *what) text += XSI::CString(": ") + what;
        LogError(text);
    } catch (...) {
    }
}

}  // namespace orbelin::detail
