// Scene scripts reading and writing weight maps, and the point positions they are made from.

#include <cstdio>
#include <string>

#include "io/file_out.h"
#include "script/functions.h"
#include "xsi_geometry.h"
#include "xsi_primitive.h"
#include "xsi_vector3.h"
#include "xsi_x3dobject.h"

namespace standin::scripting {

namespace {

int GetWeights(lua_State* L) {
    return Safe(L, [](lua_State* L) {
        XSI::CDoubleArray w = WeightMap(ArgString(L, 1, "a weight map path")).GetElements().GetArray();
        lua_createtable(L, w.GetCount(), 0);
        for (LONG i = 0; i < w.GetCount(); ++i) {
            lua_pushnumber(L, w[i]);
            lua_rawseti(L, -2, i + 1);
        }
        return 1;
    });
}

int SetWeights(lua_State* L) {
    return Safe(L, [](lua_State* L) {
        std::string path = ArgString(L, 1, "a weight map path");
        XSI::ClusterProperty wm = WeightMap(path);
        if (!lua_istable(L, 2)) throw ScriptError("SetWeights takes a table of weights");
        XSI::CClusterPropertyElementArray elements = wm.GetElements();
        LONG n = static_cast<LONG>(lua_objlen(L, 2));
        if (n != elements.GetCount())
            throw ScriptError("'" + path + "' holds " + std::to_string(elements.GetCount()) + " weights, " + std::to_string(n) + " given");
        XSI::CDoubleArray w(n);
        for (LONG i = 0; i < n; ++i) {
            lua_rawgeti(L, 2, i + 1);
            w[i] = ArgNumber(L, lua_gettop(L), "a weight");
            lua_pop(L, 1);
        }
        elements.PutArray(w);
        return 0;
    });
}


int GetElements(lua_State* L) {
    return Safe(L, [](lua_State* L) {
        XSI::CLongArray e = Elements(WeightMap(ArgString(L, 1, "a weight map path")));
        lua_createtable(L, e.GetCount(), 0);
        for (LONG i = 0; i < e.GetCount(); ++i) {
            lua_pushnumber(L, e[i]);
            lua_rawseti(L, -2, i + 1);
        }
        return 1;
    });
}

int WriteWeightsCSV(lua_State* L) {
    return Safe(L, [](lua_State* L) {
        XSI::ClusterProperty wm = WeightMap(ArgString(L, 1, "a weight map path"));
        std::filesystem::path file = ProjectFile(ArgString(L, 2, "a file name"));
        XSI::CDoubleArray w = wm.GetElements().GetArray();
        XSI::CLongArray e = Elements(wm);
        std::string text = "element,point,weight\n";
        char line[96];
        for (LONG i = 0; i < w.GetCount(); ++i) {
            std::snprintf(line, sizeof line, "%d,%d,%.17g\n", i, i < e.GetCount() ? e[i] : -1, w[i]);
            text += line;
        }
        io::WriteFileWhole(file, text);
        return 0;
    });
}

int GetPointPositions(lua_State* L) {
    return Safe(L, [](lua_State* L) {
        std::string path = ArgString(L, 1, "an object path");
        XSI::X3DObject obj(Lookup(path));
        XSI::Geometry geom = obj.GetActivePrimitive().GetGeometry();
        if (!geom.IsValid()) throw ScriptError("'" + path + "' is not an object with geometry");
        XSI::MATH::CVector3Array pos = geom.GetPoints().GetPositionArray();
        lua_createtable(L, pos.GetCount(), 0);
        for (LONG i = 0; i < pos.GetCount(); ++i) {
            lua_createtable(L, 3, 0);
            double xyz[3] = {pos[i].GetX(), pos[i].GetY(), pos[i].GetZ()};
            for (int k = 0; k < 3; ++k) {
                lua_pushnumber(L, xyz[k]);
                lua_rawseti(L, -2, k + 1);
            }
            lua_rawseti(L, -2, i + 1);
        }
        return 1;
    });
}

const luaL_Reg kFunctions[] = {
    {"GetWeights", GetWeights},
    {"SetWeights", SetWeights},
    {"GetElements", GetElements},
    {"WriteWeightsCSV", WriteWeightsCSV},
    {"GetPointPositions", GetPointPositions},
    {nullptr, nullptr},
};

}  // namespace

void RegisterWeightMapFunctions(lua_State* L) { Register(L, kFunctions); }

}  // namespace standin::scripting
