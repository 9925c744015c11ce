// Scene scripts growing hair and reading its strands.
#include <string>

#include "scene/hair.h"
#include "script/functions.h"
#include "xsi_geometry.h"
#include "xsi_primitive.h"
#include "xsi_vector3.h"
#include "xsi_x3dobject.h"

namespace standin::scripting {

namespace {

double OptField(lua_State* L, int table, const char* key, double fallback) {
    lua_getfield(L, table, key);
    double v = fallback;
    if (!lua_isnil(L, -1)) {
        if (lua_type(L, -1) != LUA_TNUMBER) throw ScriptError(std::string("CreateHair: ") + key + " must be a number");
        v = lua_tonumber(L, -1);
    }
    lua_pop(L, 1);
    return v;
}

// CreateHair(emitter[, name[, {length =, noise =, seed =, cluster =}]]) -> the hair object's path
int CreateHair(lua_State* L) {
    return Safe(L, [](lua_State* L) {
        CRef emitter = Lookup(ArgString(L, 1, "an emitter path"));
        std::string name = OptString(L, 2);
        HairOptions o;
        CRef cluster;
        if (!lua_isnoneornil(L, 3)) {
            if (!lua_istable(L, 3)) throw ScriptError("CreateHair takes a table of options as argument 3");
            o.length = Finite(OptField(L, 3, "length", o.length), "CreateHair", "length");
            o.noise = Finite(OptField(L, 3, "noise", o.noise), "CreateHair", "noise");
            o.seed = static_cast<uint32_t>(Whole(OptField(L, 3, "seed", o.seed), "CreateHair", "seed", 0, kMostInt));
            lua_getfield(L, 3, "cluster");
            if (!lua_isnil(L, -1)) cluster = Lookup(ArgString(L, -1, "a cluster path"));
            lua_pop(L, 1);
        }
        try {
            PushPath(L, standin::CreateHair(*g_host, emitter, Wide(name), cluster, o));
        } catch (const std::invalid_argument& e) {
            throw ScriptError(std::string("CreateHair: ") + e.what());
        }
        return 1;
    });
}

void PushPoint(lua_State* L, const XSI::MATH::CVector3& p) {
    lua_createtable(L, 3, 0);
    double xyz[3] = {p.GetX(), p.GetY(), p.GetZ()};
    for (int k = 0; k < 3; ++k) {
        lua_pushnumber(L, xyz[k]);
        lua_rawseti(L, -2, k + 1);
    }
}

// GetStrandPoints(hair[, strand]) -> the 14 points of strand `strand` (counted from 0), or
// every strand's points, strand after strand
int GetStrandPoints(lua_State* L) {
    return Safe(L, [](lua_State* L) {
        std::string path = ArgString(L, 1, "a hair object path");
        CRef obj = Lookup(path);
        XSI::Geometry geom = obj.IsA(XSI::siX3DObjectID) ? XSI::X3DObject(obj).GetActivePrimitive().GetGeometry() : XSI::Geometry();
        auto* hair = XSI::Host::As<HairGeometryNode>(geom.GetRef());
        if (!hair) throw ScriptError("GetStrandPoints: '" + path + "' is not a hair object");
        const LONG strands = hair->strandCount;
        XSI::MATH::CVector3Array pos = geom.GetPoints().GetPositionArray();
        auto pushStrand = [&](LONG s) {
            lua_createtable(L, kHairStrandPoints, 0);
            for (LONG k = 0; k < kHairStrandPoints; ++k) {
                PushPoint(L, pos[s * kHairStrandPoints + k]);
                lua_rawseti(L, -2, k + 1);
            }
        };
        if (!lua_isnoneornil(L, 2)) {
            if (strands == 0) throw ScriptError("GetStrandPoints: '" + path + "' has no strands");
            pushStrand(Whole(ArgNumber(L, 2, "a strand"), "GetStrandPoints", "strand", 0, strands - 1));
            return 1;
        }
        lua_createtable(L, strands, 0);
        for (LONG s = 0; s < strands; ++s) {
            pushStrand(s);
            lua_rawseti(L, -2, s + 1);
        }
        return 1;
    });
}

const luaL_Reg kFunctions[] = {
    {"CreateHair", CreateHair},
    {"GetStrandPoints", GetStrandPoints},
    {nullptr, nullptr},
};

}  // namespace

void RegisterHairFunctions(lua_State* L) { Register(L, kFunctions); }

}  // namespace standin::scripting
