// The stand-in host session: one scene, its selection, log, progress bar,
// the loaded plug-ins with their registered items, and the answers that a
// script gives in place of a person (picks, modal pages, Cancel).
//
// Exactly one Host is current at a time; the object model's implementation
// (Application, Selection, commands ...) works on Host::Current().
#pragma once

#include <deque>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "core/object.h"
#include "mesh/polymesh.h"
#include "nurbs/nurbs.h"
#include "ui/log.h"
#include "ui/progress.h"
#include "xsi_transformation.h"
#include "xsi_value.h"

namespace standin {

namespace MATH = XSI::MATH;
using XSI::CRef;
using XSI::CStatus;
using XSI::CValue;
using XSI::CValueArray;
using XSI::Host::Object;
using XSI::Host::Ptr;
using XSI::Host::Make;

struct ModelNode;
struct X3DNode;
struct CustomPropertyNode;
struct GeometryNode;
struct ApplicationNode;
struct SelectionNode;
struct PluginNode;
struct CommandNode;
struct MenuNode;

// An answer to one interactive pick: the object picked (by path) or a cancel.
struct PickAnswer {
    std::wstring path;      // empty: the user cancelled (right button / Esc)
    LONG button = 1;        // 1 left, 2 middle, 0 cancel
    LONG modifier = 0;      // 0 none, 1 Shift, 2 Ctrl, 3 both
};

// An answer to one modal page: parameter values to set before it is closed, and OK or Cancel.
struct PageAnswer {
    std::vector<std::pair<std::wstring, CValue>> values;  // script name -> value
    bool cancel = false;
};

// What the loader recorded of a plug-in.
struct PluginInfo {
    std::wstring file;
    std::wstring name, author, url, email, help, categories;
    LONG major = 0, minor = 0;
    std::vector<std::wstring> properties;  // registration order
    std::vector<std::wstring> commands;    // registration order
    struct MenuReg {
        LONG anchor;
        std::wstring name;
        bool displayAsSubmenu, dynamic;
    };
    std::vector<MenuReg> menus;
    std::vector<std::wstring> operators;
};

class Host {
public:
    explicit Host(std::filesystem::path projectDir = std::filesystem::current_path());
    ~Host();
    Host(const Host&) = delete;
    Host& operator=(const Host&) = delete;

    static Host& Current();              // aborts with a clear message when no host exists
    static Host* CurrentOrNull();

    // Scene.
    ModelNode& Root() const;
    CRef RootRef() const;
    // Resolves a full name ("grid.polymsh.cls.Point.Weight_Map", "PlayControl.In", "grid.kine.local");
    // a leading "Scene_Root." is accepted. Invalid reference when nothing has that name.
    CRef Find(const std::wstring& path) const;
    void Delete(const CRef& ref);        // DeleteObj: Term for operators, invalidates references
    void Clear();                        // closes the scene (Term for every operator) and starts an empty one

    // Primitives, named after the host's: "Grid", "Cube", "Sphere", "Cylinder", "Torus".
    // `options` holds the primitive's sizes and subdivisions by name (see primitives.cpp).
    CRef CreatePrim(const std::wstring& kind, const std::wstring& name,
                    const std::map<std::wstring, double>& options = {}, const CRef& parent = CRef());
    CRef CreatePolyMesh(const std::wstring& name, mesh::PolyMesh mesh, const CRef& parent = CRef());
    CRef ImportObj(const std::filesystem::path& file, const std::wstring& name = L"");
    // Curve and surface objects.
    CRef CreateCurveList(const std::wstring& name, std::vector<nurbs::Curve> curves, const CRef& parent = CRef());
    CRef CreateSurfaceMesh(const std::wstring& name, std::vector<nurbs::Surface> surfaces, const CRef& parent = CRef());
    CRef CreateNull(const std::wstring& name, const CRef& parent = CRef());
    // An object whose primitive (of type `type`) holds `geometry` (hair: scene/hair.h).
    CRef CreateGeometryObject(const std::wstring& name, const wchar_t* type, Ptr<GeometryNode> geometry,
                              const CRef& parent = CRef());
    CRef CreateModel(const std::wstring& name, const CRef& parent = CRef());

    // Animation: a mesh's point positions, and an object's local transform, set for good or
    // keyed at a frame (between keys they move linearly; outside, the end key holds).
    void SetPointPositions(const CRef& object, std::vector<mesh::Vec3> positions, std::optional<double> frame = {});
    // The positions a polygon mesh object had before its points were first keyed (its
    // positions now when they are not keyed).
    std::vector<mesh::Vec3> RestPositions(const CRef& object) const;
    void SetTransform(const CRef& object, const MATH::CTransformation& local, std::optional<double> frame = {});

    // Selection.
    std::vector<CRef> Selection() const;
    void Select(const std::vector<CRef>& items);  // replaces the selection
    void AddToSelection(const CRef& item);
    void ClearSelection();

    // Time.
    double Frame() const { return m_frame; }
    void SetFrame(double frame);

    // Log and progress.
    Log& GetLog() { return m_log; }
    ProgressBar& Progress() { return m_progress; }

    // Plug-ins: dlopen, XSILoadPlugin with a registrar, command Init, menu Init.
    // Errors (missing file, missing entry point) are logged and returned as Fail.
    CStatus LoadPlugin(const std::filesystem::path& library);
    CStatus UnloadPlugins();
    const std::vector<PluginInfo>& Plugins() const { return m_pluginInfo; }
    // The menus as the plug-ins built them, as an indented text tree.
    std::wstring DescribeMenus() const;
    // Command declaration (what its Init gave) as text, for `orbelin info`.
    std::wstring DescribeCommand(const std::wstring& name) const;
    bool HasCommand(const std::wstring& name) const;
    // A callback of a loaded plug-in by its exported name, or null.
    void* FindCallback(const std::wstring& symbol) const;

    // Commands: built-in ("ApplyOp", "CreateWeightMap", "InspectObj", "DeleteObj", "GetValue",
    // "SetValue", "PickElement", "zrResolvePath", "SelectObj", ...) and registered ones.
    CStatus ExecuteCommand(const std::wstring& name, CValueArray& args, CValue& ret);

    // Answers in place of a person. An empty pick queue answers "cancelled";
    // an empty page queue answers "OK, values unchanged".
    std::deque<PickAnswer>& PickQueue() { return m_picks; }
    std::deque<PageAnswer>& PageQueue() { return m_pages; }

    // Property pages: open (InspectObj), press a button, change a parameter while open.
    CStatus InspectObj(const CRef& property, LONG mode, bool& cancelled);
    CStatus PressButton(const CRef& property, const std::wstring& button);
    bool IsPageOpen(const CRef& property) const;
    std::wstring DescribePage(const CRef& property) const;
    // Runs the property's PPGEvent for a changed parameter when its page is open.
    void NotifyParameterChanged(const CRef& parameter);

    // Value access by path, as the GetValue / SetValue commands do. SetValue keeps a finite
    // number past the parameter's range (a page or PutValue would clamp it); NaN is refused.
    CStatus GetValue(const std::wstring& path, CValue& out) const;
    CStatus SetValue(const std::wstring& path, const CValue& value);

    // The project folder: where relative paths resolve ("zrResolvePath") and the
    // installation path of kind project.
    const std::filesystem::path& ProjectDir() const { return m_projectDir; }
    void SetProjectDir(std::filesystem::path dir) { m_projectDir = std::move(dir); }
    std::wstring ResolvePath(const std::wstring& path) const;

    // Operator presets: looked up by name (<name>.json) in these folders, in order. Loading
    // a plug-in adds the presets folder installed beside it (<library folder>/../presets).
    void AddPresetFolder(const std::filesystem::path& folder);
    std::filesystem::path FindPreset(const std::wstring& name) const;

    // Host-side singletons behind Application, Selection, UIToolkit.
    CRef ApplicationRef() const;
    CRef SelectionRef() const;
    CRef DictionaryRef() const;
    CRef UIToolkitRef() const;
    CRef ProgressBarRef() const;

    // Writes a host error to the log in the host's words ("<where>: <what>").
    void HostError(const std::wstring& text);

    struct Impl;
    Impl& impl() const { return *m_impl; }

private:
    std::unique_ptr<Impl> m_impl;
    std::filesystem::path m_projectDir;
    double m_frame = 1.0;
    Log m_log;
    ProgressBar m_progress;
    std::deque<PickAnswer> m_picks;
    std::deque<PageAnswer> m_pages;
    std::vector<PluginInfo> m_pluginInfo;
    std::vector<std::filesystem::path> m_presetFolders;
};

}  // namespace standin
