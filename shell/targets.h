// What a live tool is applied to: the user's targets turned into weight maps, and the names
// a tool gives to its property.
#pragma once

#include "xsi_ref.h"
#include "xsi_string.h"

namespace orbelin {

// The selection in order, or (when nothing is selected) the objects the user picks, turned
// into weight maps: a weight map is kept, a cluster or a 3D object (models and nulls count)
// gets a new weight map called `weightMapName`; anything else is passed over without a word,
// since a mixed selection is normal when a user applies a tool. Empty when the user picked
// nothing.
XSI::CRefArray ResolveTargets(const XSI::CString& weightMapName);

// The registered type of a tool's property: "Orbelin_zr" + toolWord + "Prop".
XSI::CString ToolPropertyType(const XSI::CString& toolWord);
// The name of a tool's property instance next to its weight map: weightMapName + "_" + toolWord.
XSI::CString ToolPropertyName(const XSI::CString& weightMapName, const XSI::CString& toolWord);

}  // namespace orbelin
