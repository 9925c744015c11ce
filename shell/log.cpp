#include "shell/log.h"

#include "shell/plugin_values.h"
#include "xsi_application.h"

namespace orbelin {

namespace {
void Write(const XSI::CString& text, XSI::siSeverityType severity) {
    XSI::Application().LogMessage(text, severity);
}

XSI::CString Marked(const XSI::CString& msg) { return LogTag() + L" >> " + msg; }
}  // namespace

void LogBanner(const XSI::CString& title) {
    Write(LogTag() + L" Version " + VersionText().GetAsText() + L" -------------------------------", XSI::siInfoMsg);
    Write(LogTag() + L" [ " + title + L" ]", XSI::siInfoMsg);
}

void LogInfo(const XSI::CString& msg) { Write(Marked(msg), XSI::siInfoMsg); }
void LogWarning(const XSI::CString& msg) { Write(Marked(msg), XSI::siWarningMsg); }
void LogError(const XSI::CString& msg) { Write(Marked(msg), XSI::siErrorMsg); }

void LogDone() { Write(LogTag() + L" Done --------------------------------------", XSI::siInfoMsg); }

}  // namespace orbelin
