// The Gradient Curve Map's commands: apply, add and remove connexions. The operator reads the
// weight map, its object and the property (port groups 0, 1 and 2); the curves come later,
// in group 3.
#include "maps/gradientcurve/binding/gradientcurve_tool.h"
#include "shell/tool_commands.h"

using namespace orbelin::gradientcurve;

ORBELIN_APPLY_COMMAND(GradientCurveMap, nullptr)
ORBELIN_CONNEXION_COMMANDS(GradientCurveMap, BuildLayout)
