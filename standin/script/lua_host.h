// Lua scene scripts: the way a person drives the stand-in host, with functions named after
// the host's scripting (CreatePrim, SelectObj, ExecuteCommand, GetValue, SetValue ...).
//
// Paths are full names ("grid", "grid.polymsh.cls.WeightMapCls.Weight_Map"). File names are
// relative to the host's project folder unless absolute. A script error stops the script and
// is reported as "<file>:<line>: <message>".
//
// The functions:
//   CreatePrim(kind, name[, options[, parent]]) -> path   kinds Grid, Cube, Sphere, Cylinder, Torus;
//       options by name: sizex sizez subdivu subdivv length radius height caps sectionradius
//   ImportObj(file[, name]) -> path;  CreateNull(name[, parent]);  CreateModel(name[, parent])
//   CreateCurve(name, {{x, y, z} ...}[, degree (3)[, closed[, parent]]]);  CreateCircle(name[, radius[, segments]])
//   CreateSpiral(name[, radius[, height[, turns]]]);  CreateSurface("Grid" | "Sphere", name[, options])
//   SetTransform(object, {pos = {x, y, z}, rot = {x, y, z} (degrees), scl = {x, y, z}}[, frame])
//   SetPointPositions(object, {{x, y, z} ...}[, frame])   keyed at a frame when one is given
//   KeyDeformation(object, frame, {squash =, bend = degrees, axis = "y", origin = {x, y, z}})
//       the rest shape squashed (volume kept) then bent along an axis, keyed at the frame
//   Exists(path);  SelectObj(path | {paths});  AddToSelection(path);  DeselectAll();  GetSelection()
//   ExecuteCommand(name, {args}) -> return value (raises when the command fails)
//   ExecuteCommandStatus(name, {args}) -> status code, return value
//   GetValue(path);  SetValue(path, value);  DeleteObj(path)
//   InspectObj(path[, modal]) -> cancelled;  PressButton(property, button);  DescribePage(property)
//   QueuePick(path | nil | {path=, button=, modifier=});  QueuePageAnswer{values = {...}, cancel = false}
//   SetFrame(frame);  GetFrame()
//   GetWeights(map) -> {w1, w2 ...};  SetWeights(map, {w...});  GetElements(map) -> {point indices}
//   WriteWeightsCSV(map, file)   rows "element,point,weight"
//   GetPointPositions(object) -> {{x, y, z} ...} in object space
//   ExportGLTF(file[, options]) -> {files written}   meshes with weight maps as "_WEIGHT_<name>"
//       attributes (.glb binary, .gltf text), one file per frame; options by name:
//         objects = {paths};  weightmaps = {paths};  frames = frame | {frames} | {first =, last =}
//         colors = true | map path (COLOR_0 through the colour map);  colormap = "perceptual" | "diverging"
//         range = {min, max} the colours span (default {0, 1})
//   RenderPreview(file[, options]) -> the file's full path   a PNG of the scene at the current frame,
//       in world space. Options by name:
//         weightmap = map path     its mesh coloured by the map (grey where the cluster does not reach);
//                                  that mesh is always drawn
//         objects = {paths}        what else to draw (default: every polygon mesh, curve and surface)
//         camera = {eye = {x, y, z}, target = {x, y, z}[, up = {x, y, z}][, fov = degrees (35)]}
//                                  (default: a three-quarter view from above that frames everything)
//         range = {min, max}       the values the colour bar spans (default: the map's lowest to highest)
//         title = text;  width = pixels (960);  height = pixels (640)
//         colormap = "perceptual" (default) | "diverging" (blue, white in the middle, red)
//   LogMessage(text[, severity]);  LogMessages([from]) -> {{severity=, text=} ...};  LogCount()
//   CancelProgressAfter(n)
//   GetFCurveKeys(param) -> {{time, value, interpolation, lx, ly, rx, ry} ...}, interpolation, extrapolation
//   SetFCurveKeys(param, {{time, value[, interpolation[, lx, ly, rx, ry]]} ...});  SetFCurveInterpolation(param, code)
//   SetFCurveExtrapolation(param, code)
//   CreateCluster(object, "pnt" | "edge" | "poly" | "sample", {indices}[, name]) -> path
//   GetParameters(property) -> {{name=, label=, type=, caps=, default=, min=, max=, softmin=, softmax=} ...}
//   ClassName(path);  TypeName(path)
#pragma once

#include <filesystem>
#include <map>
#include <ostream>
#include <string>
#include <string_view>
#include <variant>

namespace standin {

class Host;

// Globals set before a script runs, by name: a string or a number each.
using ScriptGlobals = std::map<std::string, std::variant<std::string, double>>;

// What a script run returns when Ctrl-C stopped it (the shell's code for SIGINT).
constexpr int kInterrupted = 130;

// Runs a script file; 0 on success, 1 after a script error (reported on `err`), kInterrupted
// when Ctrl-C stopped it.
int RunScript(Host& host, const std::filesystem::path& script, std::ostream& err, const ScriptGlobals& globals = {});
// Runs script text under a chunk name (what error messages show as the file).
int RunScriptText(Host& host, std::string_view code, std::string_view chunkName, std::ostream& err,
                  const ScriptGlobals& globals = {});

}  // namespace standin
