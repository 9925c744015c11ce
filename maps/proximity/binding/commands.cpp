// The Proximity Map's commands: apply, add and remove connexions.
#include "maps/proximity/binding/proximity_tool.h"
#include "shell/tool_commands.h"

using namespace orbelin::proximity;

ORBELIN_APPLY_COMMAND(ProximityMap, nullptr)
ORBELIN_CONNEXION_COMMANDS(ProximityMap, BuildLayout)
