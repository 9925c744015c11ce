// The plug-in's log lines. Every tool speaks through these so that a session transcript
// reads the same whichever tool wrote it: tag, marker, text, at the host's severities.
#pragma once

#include "xsi_string.h"

namespace orbelin {

// Two info lines opening a command: the version rule, then the command's title.
void LogBanner(const XSI::CString& title);
// Tag + " >> " + msg at info (8), warning (4) or error (2) severity.
void LogInfo(const XSI::CString& msg);
void LogWarning(const XSI::CString& msg);
void LogError(const XSI::CString& msg);
// The info line closing a command's normal path.
void LogDone();

}  // namespace orbelin
