// The Expression Map's commands: apply, add and remove connexions.
#include "maps/expression/binding/expression_tool.h"
#include "shell/tool_commands.h"
#include "xsi_cluster.h"
#include "xsi_customproperty.h"
#include "xsi_primitive.h"
#include "xsi_x3dobject.h"

using namespace XSI;
using namespace orbelin;
using namespace orbelin::expression;

namespace {

// Connection set: the weight map (group 0, with its cluster), the property (group 1) and the
// active primitive of the object that owns the map (group 2). Connexions come later, in group 3.
void Install(const CRef& weightMap, CustomProperty& property) {
    X3DObject object(Primitive(Cluster(SIObject(weightMap).GetParent()).GetParent()).GetParent());
    ApplyOperator(ThisTool().op, SIObject(weightMap).GetFullName() + L";" + property.GetFullName() + L";" +
                                     object.GetActivePrimitive().GetFullName());
}

}  // namespace

ORBELIN_APPLY_COMMAND(ExpressionMap, Install)
ORBELIN_CONNEXION_COMMANDS(ExpressionMap, BuildLayout)
