// Scene scripts editing function curves: the keys of an FCurve parameter (a falloff, say) or
// of a parameter's animation, the curve's interpolation and extrapolation. Codes are the
// host's: interpolation (of a key or of the curve) 0 default, 1 constant, 2 linear, 3 cubic;
// extrapolation 1 constant, 2 linear, 3 periodic, 4 periodic relative.
#include <cfloat>
#include <set>
#include <string>
#include <vector>

#include "script/functions.h"
#include "xsi_fcurve.h"
#include "xsi_parameter.h"
#include "xsi_time.h"

namespace standin::scripting {

namespace {

// The curve a parameter holds as its value, else the one animating it.
XSI::FCurve CurveOf(lua_State* L, const char* function) {
    std::string path = ArgString(L, 1, "a parameter path");
    CRef r = Lookup(path);
    if (!r.IsA(XSI::siParameterID)) throw ScriptError(std::string(function) + ": '" + path + "' is not a parameter");
    XSI::Parameter p(r);
    CValue v = p.GetValue();
    CRef curve = v.m_t == CValue::siRef ? CRef(v) : CRef();
    if (!curve.IsValid() || !curve.IsA(XSI::siFCurveID)) curve = p.GetSource();
    if (!curve.IsValid() || !curve.IsA(XSI::siFCurveID))
        throw ScriptError(std::string(function) + ": the parameter '" + path + "' has no function curve");
    return XSI::FCurve(curve);
}

struct Key {
    double time = 0, value = 0;
    int interpolation = XSI::siDefaultKeyInterpolation;
    double lx = DBL_MAX, ly = DBL_MAX, rx = DBL_MAX, ry = DBL_MAX;
};

// One entry of SetFCurveKeys' list, at the top of the stack: {time, value[, interpolation[, lx, ly, rx, ry]]}.
Key ReadKey(lua_State* L, int k) {
    const std::string which = "key " + std::to_string(k);
    int t = lua_gettop(L);
    if (!lua_istable(L, t)) throw ScriptError("SetFCurveKeys: " + which + " is not a table {time, value[, interpolation[, lx, ly, rx, ry]]}");
    int n = static_cast<int>(lua_objlen(L, t));
    if (n != 2 && n != 3 && n != 7)
        throw ScriptError("SetFCurveKeys: " + which + " has " + std::to_string(n) + " numbers (2, 3 or 7: time, value[, interpolation[, lx, ly, rx, ry]])");
    double v[7];
    static const char* const names[7] = {"time", "value", "interpolation", "lx", "ly", "rx", "ry"};
    for (int c = 0; c < n; ++c) {
        lua_rawgeti(L, t, c + 1);
        if (lua_type(L, -1) != LUA_TNUMBER) throw ScriptError("SetFCurveKeys: " + which + ": the " + names[c] + " is not a number");
        v[c] = lua_tonumber(L, -1);
        lua_pop(L, 1);
    }
    Key key;
    key.time = Finite(v[0], "SetFCurveKeys", (which + " time").c_str());
    key.value = Finite(v[1], "SetFCurveKeys", (which + " value").c_str());
    if (n >= 3) key.interpolation = Whole(v[2], "SetFCurveKeys", (which + " interpolation").c_str(), 0, 3);
    if (n == 7) {
        key.lx = Finite(v[3], "SetFCurveKeys", (which + " lx").c_str());
        key.ly = Finite(v[4], "SetFCurveKeys", (which + " ly").c_str());
        key.rx = Finite(v[5], "SetFCurveKeys", (which + " rx").c_str());
        key.ry = Finite(v[6], "SetFCurveKeys", (which + " ry").c_str());
        // A left handle reaching forward or a right one backward would make the curve fold back in time.
        if (key.lx > 0 || key.rx < 0) throw ScriptError("SetFCurveKeys: " + which + ": lx must be <= 0 and rx >= 0");
    }
    return key;
}

// GetFCurveKeys(parameter) -> {{time, value, interpolation, lx, ly, rx, ry} ...}, interpolation, extrapolation
int GetFCurveKeys(lua_State* L) {
    return Safe(L, [](lua_State* L) {
        XSI::FCurve curve = CurveOf(L, "GetFCurveKeys");
        LONG n = curve.GetNumKeys();
        lua_createtable(L, n, 0);
        for (LONG i = 0; i < n; ++i) {
            XSI::FCurveKey key = curve.GetKeyAtIndex(i);
            const double fields[7] = {key.GetTime().GetTime(), static_cast<double>(key.GetValue()), static_cast<double>(key.GetInterpolation()),
                                      key.GetLeftTanX(), key.GetLeftTanY(), key.GetRightTanX(), key.GetRightTanY()};
            lua_createtable(L, 7, 0);
            for (int c = 0; c < 7; ++c) {
                lua_pushnumber(L, fields[c]);
                lua_rawseti(L, -2, c + 1);
            }
            lua_rawseti(L, -2, i + 1);
        }
        lua_pushnumber(L, curve.GetInterpolation());
        lua_pushnumber(L, curve.GetExtrapolation());
        return 3;
    });
}

// SetFCurveKeys(parameter, {{time, value[, interpolation[, lx, ly, rx, ry]]} ...}): the curve's
// keys replaced in one edit, so that what depends on the curve sees only the new keys.
int SetFCurveKeys(lua_State* L) {
    return Safe(L, [](lua_State* L) {
        XSI::FCurve curve = CurveOf(L, "SetFCurveKeys");
        if (!lua_istable(L, 2)) throw ScriptError("SetFCurveKeys takes a table of keys {{time, value}, ...} as argument 2");
        int n = static_cast<int>(lua_objlen(L, 2));
        if (n == 0) throw ScriptError("SetFCurveKeys: no keys (a curve needs at least one)");
        std::vector<Key> keys;
        std::set<double> times;
        for (int k = 1; k <= n; ++k) {
            lua_rawgeti(L, 2, k);
            keys.push_back(ReadKey(L, k));
            lua_pop(L, 1);
            if (!times.insert(keys.back().time).second)
                throw ScriptError("SetFCurveKeys: keys " + std::to_string(k) + " and an earlier one are at the same time");
        }
        curve.BeginEdit();
        curve.RemoveKeys();
        for (const Key& k : keys)
            curve.AddKey(XSI::CTime(k.time), CValue(k.value), static_cast<XSI::siFCurveKeyInterpolation>(k.interpolation), k.lx, k.ly, k.rx, k.ry);
        curve.EndEdit();
        return 0;
    });
}

// The curve's interpolation or extrapolation, a host code from `lo` to `hi` as argument 2.
template <class Put>
int SetCurveCode(lua_State* L, const char* function, const char* what, int lo, int hi, Put put) {
    XSI::FCurve curve = CurveOf(L, function);
    put(curve, Whole(ArgNumber(L, 2, what), function, (std::string("the ") + what).c_str(), lo, hi));
    return 0;
}

int SetFCurveInterpolation(lua_State* L) {
    return Safe(L, [](lua_State* L) {
        return SetCurveCode(L, "SetFCurveInterpolation", "interpolation", 0, 3,
                            [](XSI::FCurve& c, int code) { c.PutInterpolation(static_cast<XSI::siFCurveInterpolation>(code)); });
    });
}

int SetFCurveExtrapolation(lua_State* L) {
    return Safe(L, [](lua_State* L) {
        return SetCurveCode(L, "SetFCurveExtrapolation", "extrapolation", 1, 4,
                            [](XSI::FCurve& c, int code) { c.PutExtrapolation(static_cast<XSI::siFCurveExtrapolation>(code)); });
    });
}

const luaL_Reg kFunctions[] = {
    {"GetFCurveKeys", GetFCurveKeys},
    {"SetFCurveKeys", SetFCurveKeys},
    {"SetFCurveInterpolation", SetFCurveInterpolation},
    {"SetFCurveExtrapolation", SetFCurveExtrapolation},
    {nullptr, nullptr},
};

}  // namespace

void RegisterFCurveFunctions(lua_State* L) { Register(L, kFunctions); }

}  // namespace standin::scripting
