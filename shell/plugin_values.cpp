#include "shell/plugin_values.h"

namespace orbelin {

namespace {
// Namespace-scope on purpose: built by the library's static initialisation, so they exist
// before any callback can run, and nothing else is allocated lazily behind the host's back.
const XSI::CString g_logTag(L"[OrbelinPlugin]");
const XSI::CValue g_versionText(XSI::CString(L"1.0a1"));
}  // namespace

const XSI::CString& LogTag() { return g_logTag; }
const XSI::CValue& VersionText() { return g_versionText; }

}  // namespace orbelin
