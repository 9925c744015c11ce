// Scene scripts reading and writing weight maps, and the point positions they are made from.

#include <cstdio>
#include <set>
#include <string>
#include <vector>

#include "io/file_out.h"
#include "script/functions.h"
#include "script/gltf_export.h"
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

// Reading ExportGLTF's options: every value checked, the option named in errors.
std::string ExportOptionError(const char* option, const std::string& what) { return std::string("ExportGLTF: option '") + option + "' " + what; }

std::vector<std::string> PathList(lua_State* L, int t, const char* option) {
    if (lua_type(L, t) == LUA_TSTRING) return {lua_tostring(L, t)};
    if (!lua_istable(L, t)) throw ScriptError(ExportOptionError(option, "must be a path or a table of paths"));
    std::vector<std::string> paths;
    for (int k = 1; k <= static_cast<int>(lua_objlen(L, t)); ++k) {
        lua_rawgeti(L, t, k);
        if (lua_type(L, -1) != LUA_TSTRING) throw ScriptError(ExportOptionError(option, "must be a path or a table of paths"));
        paths.push_back(lua_tostring(L, -1));
        lua_pop(L, 1);
    }
    return paths;
}

// frames = 12 | {1, 5, 9} | {first = 1, last = 48}
std::vector<double> FrameList(lua_State* L, int t) {
    const char* bad = "must be a frame, a table of frames or {first =, last =}";
    if (lua_type(L, t) == LUA_TNUMBER) return {lua_tonumber(L, t)};
    if (!lua_istable(L, t)) throw ScriptError(ExportOptionError("frames", bad));
    lua_getfield(L, t, "first");
    lua_getfield(L, t, "last");
    const bool range = !lua_isnil(L, -2) || !lua_isnil(L, -1);
    std::vector<double> frames;
    if (range) {
        if (lua_type(L, -2) != LUA_TNUMBER || lua_type(L, -1) != LUA_TNUMBER) throw ScriptError(ExportOptionError("frames", bad));
        const int32_t first = Whole(lua_tonumber(L, -2), "ExportGLTF", "frames.first", -kMostExportFrame, kMostExportFrame);
        const int32_t last = Whole(lua_tonumber(L, -1), "ExportGLTF", "frames.last", -kMostExportFrame, kMostExportFrame);
        if (last < first) throw ScriptError(ExportOptionError("frames", "has its last frame before its first"));
        for (int32_t f = first; f <= last; ++f) frames.push_back(f);
    }
    lua_pop(L, 2);
    if (range) return frames;
    for (int k = 1; k <= static_cast<int>(lua_objlen(L, t)); ++k) {
        lua_rawgeti(L, t, k);
        if (lua_type(L, -1) != LUA_TNUMBER) throw ScriptError(ExportOptionError("frames", bad));
        frames.push_back(lua_tonumber(L, -1));
        lua_pop(L, 1);
    }
    if (frames.empty()) throw ScriptError(ExportOptionError("frames", "names no frame"));
    return frames;
}

GltfExportRequest ExportOptions(lua_State* L, int t) {
    GltfExportRequest r;
    if (lua_isnoneornil(L, t)) return r;
    if (!lua_istable(L, t)) throw ScriptError("ExportGLTF: the options must be a table {objects = ..., weightmaps = ..., frames = ...}");
    static const std::set<std::string> known = {"objects", "weightmaps", "frames", "colors", "colormap", "range"};
    lua_pushnil(L);
    while (lua_next(L, t) != 0) {
        const std::string key = lua_type(L, -2) == LUA_TSTRING ? lua_tostring(L, -2) : "?";
        lua_pop(L, 1);
        if (!known.count(key)) throw ScriptError("ExportGLTF: unknown option '" + key + "' (objects, weightmaps, frames, colors, colormap, range)");
    }
    auto field = [&](const char* key) {
        lua_getfield(L, t, key);
        return lua_gettop(L);
    };
    if (int i = field("objects"); !lua_isnil(L, i)) r.objects = PathList(L, i, "objects");
    lua_pop(L, 1);
    if (int i = field("weightmaps"); !lua_isnil(L, i)) r.weightmaps = PathList(L, i, "weightmaps");
    lua_pop(L, 1);
    if (int i = field("frames"); !lua_isnil(L, i)) r.frames = FrameList(L, i);
    lua_pop(L, 1);
    if (int i = field("colors"); !lua_isnil(L, i)) {
        if (lua_type(L, i) == LUA_TSTRING) r.colourBy = lua_tostring(L, i);
        else if (lua_type(L, i) != LUA_TBOOLEAN) throw ScriptError(ExportOptionError("colors", "must be true, false or a weight map path"));
        r.colours = lua_type(L, i) == LUA_TSTRING || lua_toboolean(L, i);
    }
    lua_pop(L, 1);
    if (int i = field("colormap"); !lua_isnil(L, i)) {
        if (lua_type(L, i) != LUA_TSTRING) throw ScriptError(ExportOptionError("colormap", "must be \"perceptual\" or \"diverging\""));
        r.colourMap = lua_tostring(L, i);
    }
    lua_pop(L, 1);
    if (int i = field("range"); !lua_isnil(L, i)) {
        if (!lua_istable(L, i)) throw ScriptError(ExportOptionError("range", "must be a table {min, max}"));
        lua_rawgeti(L, i, 1);
        lua_rawgeti(L, i, 2);
        if (lua_type(L, -2) != LUA_TNUMBER || lua_type(L, -1) != LUA_TNUMBER) throw ScriptError(ExportOptionError("range", "must be a table {min, max}"));
        r.rangeMin = lua_tonumber(L, -2);
        r.rangeMax = lua_tonumber(L, -1);
        lua_pop(L, 2);
    }
    lua_pop(L, 1);
    return r;
}

// ExportGLTF(file[, options]) -> {the files written}
int ExportGLTF(lua_State* L) {
    return Safe(L, [](lua_State* L) {
        GltfExportRequest request = ExportOptions(L, 2);
        request.file = ArgString(L, 1, "a file name");
        request.keepGoing = [] { return !Interrupted(); };
        const std::vector<std::filesystem::path> files = ExportGltf(*g_host, request);
        lua_createtable(L, static_cast<int>(files.size()), 0);
        for (size_t i = 0; i < files.size(); ++i) {
            lua_pushstring(L, files[i].string().c_str());
            lua_rawseti(L, -2, static_cast<int>(i + 1));
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
    {"ExportGLTF", ExportGLTF},
    {nullptr, nullptr},
};

}  // namespace

void RegisterWeightMapFunctions(lua_State* L) { Register(L, kFunctions); }

}  // namespace standin::scripting
