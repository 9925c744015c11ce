// The one place where C++ exceptions stop: every callback body runs inside CallbackGuard, so
// nothing thrown by the plug-in (or by the standard library under it) unwinds into the host,
// which was not built to receive it.
#pragma once

#include <exception>

#include "shell/log.h"
#include "xsi_status.h"
#include "xsi_string.h"

namespace orbelin {

namespace detail {
void ReportEscapedException(const wchar_t* callback, const char* what) noexcept;
}

template <class Body>
XSI::CStatus CallbackGuard(const wchar_t* callback, Body&& body) noexcept {
    try {
        return body();
    } catch (const std::exception& e) {
        detail::ReportEscapedException(callback, e.what());
    } catch (...) {
        detail::ReportEscapedException(callback, nullptr);
    }
    return XSI::CStatus::Fail;
}

}  // namespace orbelin
