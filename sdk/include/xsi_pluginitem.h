// Registered plug-in items.
#pragma once

#include "xsi_pluginregistrar.h"

namespace XSI {



}  // namespace XSI
