// The plug-in's two process-wide values. They are built when the library is loaded (before
// the host calls XSILoadPlugin) and live until it is unloaded; every log line reads them.
#pragma once

#include "xsi_string.h"
#include "xsi_value.h"

namespace orbelin {

// "[OrbelinPlugin]": the prefix of every line the plug-in logs.
const XSI::CString& LogTag();

// "1.0a1": the version the banners print. It is not the 1.0 registered with the host; the
// banner tells users which build they run, the registrar only which release family.
const XSI::CValue& VersionText();

}  // namespace orbelin
