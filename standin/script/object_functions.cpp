// Scene scripts making clusters and looking objects over: a property's parameters as its page
// would show them, an object's class and type.
#include <set>
#include <string>

#include "scene/nodes.h"
#include "script/functions.h"
#include "xsi_cluster.h"
#include "xsi_geometry.h"
#include "xsi_parameter.h"
#include "xsi_primitive.h"
#include "xsi_projectitem.h"
#include "xsi_x3dobject.h"

namespace standin::scripting {

namespace {

// CreateCluster(object, "pnt" | "edge" | "poly" | "sample", {indices}[, name]) -> the cluster's path
int CreateCluster(lua_State* L) {
    return Safe(L, [](lua_State* L) {
        std::string path = ArgString(L, 1, "an object path");
        std::string type = ArgString(L, 2, "a cluster type");
        if (type != "pnt" && type != "edge" && type != "poly" && type != "sample")
            throw ScriptError("CreateCluster: unknown cluster type '" + type + "' (pnt, edge, poly or sample)");
        CRef obj = Lookup(path);
        XSI::Geometry geom = obj.IsA(XSI::siX3DObjectID) ? XSI::X3DObject(obj).GetActivePrimitive().GetGeometry() : XSI::Geometry();
        auto* node = XSI::Host::As<GeometryNode>(geom.GetRef());
        if (!node) throw ScriptError("CreateCluster: '" + path + "' is not an object with geometry");
        LONG count = node->ComponentCount(Wide(type));
        if (count < 0) throw ScriptError("CreateCluster: '" + path + "' has no " + type + " components");
        if (!lua_istable(L, 3)) throw ScriptError("CreateCluster takes a table of component indices as argument 3");
        int n = static_cast<int>(lua_objlen(L, 3));
        // An empty list would make the cluster of every component: that is not what an empty list says.
        if (n == 0) throw ScriptError("CreateCluster: no indices");
        if (count == 0) throw ScriptError("CreateCluster: '" + path + "' has no " + type + " components");
        XSI::CLongArray indices(n);
        std::set<LONG> seen;
        for (int k = 1; k <= n; ++k) {
            lua_rawgeti(L, 3, k);
            if (lua_type(L, -1) != LUA_TNUMBER) throw ScriptError("CreateCluster: index " + std::to_string(k) + " is not a number");
            LONG i = Whole(lua_tonumber(L, -1), "CreateCluster", "an index", 0, count - 1);
            lua_pop(L, 1);
            if (!seen.insert(i).second) throw ScriptError("CreateCluster: index " + std::to_string(i) + " is given twice");
            indices[k - 1] = i;
        }
        XSI::Cluster cluster;
        CStatus st = geom.AddCluster(XSI::CString(Wide(type).c_str()), XSI::CString(Wide(OptString(L, 4)).c_str()), indices, cluster);
        if (!st.Succeeded()) throw ScriptError("CreateCluster failed: " + U8(st.GetDescription().GetWideString()));
        PushPath(L, cluster.GetRef());
        return 1;
    });
}

const char* DataTypeName(CValue::DataType type) {
    switch (type) {
        case CValue::siEmpty: return "empty";
        case CValue::siBool: return "bool";
        case CValue::siInt1: case CValue::siInt2: case CValue::siInt4: case CValue::siInt8:
        case CValue::siUInt1: case CValue::siUInt2: case CValue::siUInt4: case CValue::siUInt8: return "int";
        case CValue::siFloat: case CValue::siDouble: return "double";
        case CValue::siString: return "string";
        case CValue::siRef: return "ref";
        default: return "other";
    }
}

void Field(lua_State* L, const char* key, const CValue& v) {
    PushValue(L, v);
    lua_setfield(L, -2, key);
}

// GetParameters(property) -> {{name=, label=, type=, caps=, default=, min=, max=, softmin=, softmax=} ...}
int GetParameters(lua_State* L) {
    return Safe(L, [](lua_State* L) {
        std::string path = ArgString(L, 1, "a property path");
        CRef r = Lookup(path);
        if (!r.IsA(XSI::siProjectItemID)) throw ScriptError("GetParameters: '" + path + "' is not an item with parameters");
        XSI::CParameterRefArray params = XSI::ProjectItem(r).GetParameters();
        lua_createtable(L, params.GetCount(), 0);
        for (LONG i = 0; i < params.GetCount(); ++i) {
            XSI::Parameter p(params[i]);
            auto* node = XSI::Host::As<ParameterNode>(p.GetRef());
            lua_createtable(L, 0, 9);
            lua_pushstring(L, U8(p.GetScriptName().GetWideString()).c_str());
            lua_setfield(L, -2, "name");
            lua_pushstring(L, U8(node && !node->label.empty() ? node->label : std::wstring(p.GetScriptName().GetWideString())).c_str());
            lua_setfield(L, -2, "label");
            lua_pushstring(L, node && node->isFCurveParameter ? "fcurve" : DataTypeName(p.GetValueType()));
            lua_setfield(L, -2, "type");
            lua_pushnumber(L, p.GetCapabilities());
            lua_setfield(L, -2, "caps");
            Field(L, "default", p.GetDefault());
            Field(L, "min", p.GetMin());
            Field(L, "max", p.GetMax());
            Field(L, "softmin", p.GetSuggestedMin());
            Field(L, "softmax", p.GetSuggestedMax());
            lua_rawseti(L, -2, i + 1);
        }
        return 1;
    });
}

// ClassName(path): the object model's class ("X3DObject", "ClusterProperty" ...).
int ClassName(lua_State* L) {
    return Safe(L, [](lua_State* L) {
        lua_pushstring(L, U8(Lookup(ArgString(L, 1, "a path")).GetClassIDName().GetWideString()).c_str());
        return 1;
    });
}

// TypeName(path): the object's type as the host names it ("polymsh", "wtmap" ...).
int TypeName(lua_State* L) {
    return Safe(L, [](lua_State* L) {
        lua_pushstring(L, U8(XSI::SIObject(Lookup(ArgString(L, 1, "a path"))).GetType().GetWideString()).c_str());
        return 1;
    });
}

const luaL_Reg kFunctions[] = {
    {"CreateCluster", CreateCluster},
    {"GetParameters", GetParameters},
    {"ClassName", ClassName},
    {"TypeName", TypeName},
    {nullptr, nullptr},
};

}  // namespace

void RegisterObjectFunctions(lua_State* L) { Register(L, kFunctions); }

}  // namespace standin::scripting
