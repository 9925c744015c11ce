// The Mix Map's commands: apply, add and remove connexions.
#include "maps/mix/binding/mix_tool.h"
#include "shell/tool_commands.h"
#include "xsi_customproperty.h"

using namespace XSI;
using namespace orbelin;
using namespace orbelin::mix;

namespace {

// Connection set: the weight map (its cluster and primitive are read through it); the
// property (port groups 0 and 1). The connexions come later, in group 2.
void Install(const CRef& weightMap, CustomProperty& property) {
    ApplyOperator(ThisTool().op, SIObject(weightMap).GetFullName() + L";" + property.GetFullName());
}

}  // namespace

ORBELIN_APPLY_COMMAND(MixMap, Install)
ORBELIN_CONNEXION_COMMANDS(MixMap, BuildLayout)
