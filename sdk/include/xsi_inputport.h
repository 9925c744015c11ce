// Input ports.
#pragma once

#include "xsi_port.h"

namespace XSI {



}  // namespace XSI
