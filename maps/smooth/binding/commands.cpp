// The Smooth Map's command: apply. The tool has no connexions.
#include "shell/tool_commands.h"

ORBELIN_APPLY_COMMAND(SmoothMap, nullptr)
