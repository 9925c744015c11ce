// Values crossing between Lua and the host, as the scene-script functions convert them; apart
// so that they can be exercised on their own (fuzz/).
#pragma once

#include "xsi_value.h"

struct lua_State;

namespace standin {

// The value at `index` as the host sees it: nil as empty, whole numbers within 32 bits as
// integers, tables by their array part (at most 100 deep). Throws std::runtime_error for a
// value the host cannot take (a function, a table nested too deep).
XSI::CValue LuaToValue(lua_State* L, int index);
// Pushes `value` as scripts see it: arrays as tables, references as their paths.
void LuaPushValue(lua_State* L, const XSI::CValue& value);

}  // namespace standin
