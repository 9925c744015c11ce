#include "scene/host.h"

#include <dlfcn.h>
#include <malloc.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <iostream>

#include "core/numbers.h"
#include "core/text.h"
#include "mesh/obj_import.h"
#include "mesh/primitives.h"
#include "scene/host_impl.h"
#include "scene/operators.h"
#include "xsi_transformation.h"

namespace standin {

namespace {
Host* g_current = nullptr;

void RemoveFrom(std::vector<Ptr<ProjectItemNode>>& v, Object* o) {
    std::erase_if(v, [o](const Ptr<ProjectItemNode>& p) { return p.get() == o; });
}

double Option(const std::map<std::wstring, double>& options, const wchar_t* key, double fallback) {
    auto it = options.find(key);
    if (it == options.end()) return fallback;
    if (!std::isfinite(it->second))
        throw std::invalid_argument("CreatePrim: " + XSI::Host::ToUtf8(key) + " must be a finite number");
    return it->second;
}

// Subdivisions are counts: anything else is refused rather than rounded or cut to fit.
int IntOption(const std::map<std::wstring, double>& options, const wchar_t* key, int fallback) {
    constexpr int32_t kMost = std::numeric_limits<int32_t>::max();
    auto it = options.find(key);
    if (std::optional<int32_t> n = WholeNumber(it == options.end() ? fallback : it->second, 1, kMost)) return *n;
    throw std::invalid_argument("CreatePrim: " + XSI::Host::ToUtf8(key) + " must be a whole number from 1 to " + std::to_string(kMost));
}

// Animation keys and the current time are frames on a time line: NaN and infinities are none.
double RequireFrame(double frame) {
    if (!std::isfinite(frame)) throw std::invalid_argument("a frame must be a finite number, not " + XSI::Host::ToUtf8(XSI::Host::ShortestText(frame)));
    return frame;
}

std::wstring UniqueChildName(const X3DNode& parent, const std::wstring& base) { return parent.childNames.Unique(parent.children, base); }

Ptr<X3DNode> NewObject(X3DNode& parent, const std::wstring& name, siClassID cls) {
    Ptr<X3DNode> obj = cls == XSI::siModelID ? Ptr<X3DNode>(Make<ModelNode>()) : Make<X3DNode>();
    obj->cls = cls;
    obj->name = UniqueChildName(parent, SanitizeName(name));
    obj->parent = &parent;
    obj->local.SetIdentity();
    obj->kine = Make<KinematicsNode>();
    obj->kine->name = L"kine";
    obj->kine->parent = obj.get();
    for (bool global : {true, false}) {
        auto state = Make<KinematicStateNode>();
        state->global = global;
        state->name = global ? L"global" : L"local";
        state->parent = obj->kine.get();
        (global ? obj->kine->globalState : obj->kine->localState) = state;
    }
    parent.children.push_back(obj);
    return obj;
}

X3DNode* ParentFor(Host& host, const CRef& parent) {
    if (!parent.IsValid()) return &host.Root();
    X3DNode* p = XSI::Host::As<X3DNode>(parent);
    if (!p) throw std::invalid_argument("the parent is not a 3D object: " + XSI::Host::ToUtf8(parent.GetAsText().GetWideString()));
    return p;
}
}  // namespace


std::wstring SanitizeName(const std::wstring& name) {
    std::wstring out = name;
    for (wchar_t& c : out)
        if (c == L' ' || c == L'.') c = L'_';
    return out;
}

CommandNode* Host::Impl::FindCommand(const std::wstring& name) const {
    for (const auto& c : commands)
        if (c->name == name) return c.get();
    return nullptr;
}

Host::Host(std::filesystem::path projectDir) : m_impl(std::make_unique<Impl>()), m_projectDir(std::move(projectDir)) {
    if (g_current) {
        std::fprintf(stderr, "orbelin host: a host session is already running\n");
        std::abort();
    }
    g_current = this;
    // The object model hands out arrays of millions of points by value at every update, and
    // a fresh page of memory costs about 10 us on these machines: large blocks come from the
    // heap and stay there when freed, so that the next update's array reuses touched memory
    // instead of mapping fresh pages (the allocator would map anything above 32 MB anew).
    mallopt(M_MMAP_MAX, 0);
    mallopt(M_TRIM_THRESHOLD, 1 << 30);
    Impl& d = *m_impl;
    d.application = Make<ServiceNode>(XSI::siApplicationID, L"Application");
    d.selection = Make<ServiceNode>(XSI::siSelectionID, L"SelectionList");
    d.dictionary = Make<ServiceNode>(XSI::siDictionaryID, L"Dictionary");
    d.uiToolkit = Make<ServiceNode>(XSI::siUIToolkitID, L"UIToolkit");
    d.progressBar = Make<ServiceNode>(XSI::siProgressBarID, L"ProgressBar");
    RegisterBuiltinCommands(*this);
    RegisterOperatorCommands(*this);
    Clear();
}

Host::~Host() {
    m_impl->root->MarkDeleted();
    m_impl->root = Ptr<ModelNode>();
    m_impl->selected.clear();
    // Commands and menus hold values made by the plug-ins' code: free them before unloading.
    m_impl->commands.clear();
    m_impl->menus.clear();
    for (auto& p : m_impl->plugins)
        if (p.handle) dlclose(p.handle);
    g_current = nullptr;
}

Host& Host::Current() {
    if (!g_current) {
        std::fprintf(stderr, "orbelin host: no host session is running\n");
        std::abort();
    }
    return *g_current;
}

Host* Host::CurrentOrNull() { return g_current; }

ModelNode& Host::Root() const { return *m_impl->root; }
CRef Host::RootRef() const { return XSI::Host::RefOf(m_impl->root.get()); }

void Host::Clear() {
    Impl& d = *m_impl;
    if (d.root) d.root->MarkDeleted();
    d.selected.clear();
    d.deforming.clear();
    d.root = Make<ModelNode>();
    d.root->name = L"Scene_Root";
    d.root->local.SetIdentity();
    d.playControl = Make<CustomPropertyNode>();
    d.playControl->name = L"PlayControl";
    d.playControl->type = L"PlayControl";
    d.playControl->parent = d.root.get();
    auto add = [&](const wchar_t* n, double v) {
        ParameterNode* p = d.playControl->AddParam(n);
        p->type = CValue::siDouble;
        p->caps = XSI::siPersistable;
        p->def = CValue(v);
        p->value = CValue(v);
        p->min = CValue(-1.0e9);
        p->max = CValue(1.0e9);
        p->softMin = p->min;
        p->softMax = p->max;
    };
    add(L"In", 1.0);
    add(L"Out", 100.0);
    add(L"Current", 1.0);
    add(L"Rate", 30.0);
    d.root->properties.push_back(d.playControl);
    m_frame = 1.0;
}

CRef Host::Find(const std::wstring& rawPath) const {
    std::wstring path = rawPath;
    const std::wstring rootPrefix = L"Scene_Root.";
    if (path == L"Scene_Root") return RootRef();
    if (path.compare(0, rootPrefix.size(), rootPrefix) == 0) path = path.substr(rootPrefix.size());
    if (path.empty()) return CRef();
    // Full names are built segment by segment, so only descend where the name still matches.
    std::vector<Object*> stack;
    m_impl->root->Children(stack);
    while (!stack.empty()) {
        Object* o = stack.back();
        stack.pop_back();
        if (!o->alive) continue;
        std::wstring full = o->FullName();
        if (full == path) return XSI::Host::RefOf(o);
        if (path.size() > full.size() && path.compare(0, full.size(), full) == 0 && path[full.size()] == L'.')
            o->Children(stack);
    }
    return CRef();
}

void Host::Delete(const CRef& ref) {
    Object* o = ref.GetHostObject();
    if (!ref.IsValid() || ref.GetComponentClass() != 0 || o == m_impl->root.get()) return;
    Object* p = o->parent;
    if (auto* x = dynamic_cast<X3DNode*>(p)) {
        std::erase_if(x->children, [o](const Ptr<X3DNode>& c) { return c.get() == o; });
        RemoveFrom(x->properties, o);
    } else if (auto* prim = dynamic_cast<PrimitiveNode*>(p)) {
        std::erase_if(prim->clusters, [o](const Ptr<ClusterNode>& c) { return c.get() == o; });
    } else if (auto* s = dynamic_cast<SceneItemNode*>(p)) {
        RemoveFrom(s->properties, o);
    } else if (auto* pi = dynamic_cast<ProjectItemNode*>(p)) {
        std::erase_if(pi->params, [o](const Ptr<ParameterNode>& c) { return c.get() == o; });
    }
    Ptr<Object> keep(o);  // the node may have just lost its last owner
    o->MarkDeleted();
    DropDeletedConnexions(*m_impl->root);
    std::erase_if(m_impl->selected, [](const CRef& r) { return !r.IsValid(); });
}

namespace {
CRef NewGeometryObject(Host& host, const std::wstring& name, const CRef& parent, const wchar_t* type,
                       Ptr<GeometryNode> geometry) {
    Ptr<X3DNode> obj = NewObject(*ParentFor(host, parent), name, XSI::siX3DObjectID);
    auto prim = Make<PrimitiveNode>();
    prim->type = type;
    prim->name = type;
    prim->parent = obj.get();
    prim->geometry = geometry;
    geometry->parent = prim.get();
    obj->primitive = prim;
    return XSI::Host::RefOf(obj.get());
}
}  // namespace

CRef Host::CreateGeometryObject(const std::wstring& name, const wchar_t* type, Ptr<GeometryNode> geometry,
                                const CRef& parent) {
    return NewGeometryObject(*this, name, parent, type, std::move(geometry));
}

CRef Host::CreatePolyMesh(const std::wstring& name, mesh::PolyMesh m, const CRef& parent) {
    return NewGeometryObject(*this, name, parent, L"polymsh", Make<PolyMeshNode>(std::move(m)));
}

CRef Host::CreateCurveList(const std::wstring& name, std::vector<nurbs::Curve> curves, const CRef& parent) {
    if (curves.empty()) throw std::invalid_argument("a curve object needs at least one curve");
    return NewGeometryObject(*this, name, parent, L"crvlist", Make<CurveListNode>(std::move(curves)));
}

CRef Host::CreateSurfaceMesh(const std::wstring& name, std::vector<nurbs::Surface> surfaces, const CRef& parent) {
    if (surfaces.empty()) throw std::invalid_argument("a surface object needs at least one surface");
    return NewGeometryObject(*this, name, parent, L"surfmsh", Make<SurfaceMeshNode>(std::move(surfaces)));
}

CRef Host::CreatePrim(const std::wstring& kind, const std::wstring& name, const std::map<std::wstring, double>& o,
                      const CRef& parent) {
    std::wstring n = name.empty() ? kind : name;
    std::wstring k = kind;
    std::transform(k.begin(), k.end(), k.begin(), ::towlower);
    if (k == L"grid")
        return CreatePolyMesh(n, mesh::Grid(Option(o, L"sizex", 8), Option(o, L"sizez", 8), IntOption(o, L"subdivu", 8),
                                            IntOption(o, L"subdivv", 8)), parent);
    if (k == L"cube") return CreatePolyMesh(n, mesh::Cube(Option(o, L"length", 8)), parent);
    if (k == L"sphere")
        return CreatePolyMesh(n, mesh::Sphere(Option(o, L"radius", 4), IntOption(o, L"subdivu", 8), IntOption(o, L"subdivv", 8)),
                              parent);
    if (k == L"cylinder")
        return CreatePolyMesh(n, mesh::Cylinder(Option(o, L"radius", 1), Option(o, L"height", 4), IntOption(o, L"subdivu", 8),
                                                IntOption(o, L"subdivv", 1), Option(o, L"caps", 1) != 0),
                              parent);
    if (k == L"torus")
        return CreatePolyMesh(n, mesh::Torus(Option(o, L"radius", 3), Option(o, L"sectionradius", 1), IntOption(o, L"subdivu", 16),
                                             IntOption(o, L"subdivv", 8)),
                              parent);
    throw std::invalid_argument("unknown primitive '" + XSI::Host::ToUtf8(kind) + "' (Grid, Cube, Sphere, Cylinder or Torus)");
}

CRef Host::ImportObj(const std::filesystem::path& file, const std::wstring& name) {
    std::filesystem::path full = file.is_absolute() ? file : m_projectDir / file;
    mesh::PolyMesh m = mesh::ImportObj(full.string());
    return CreatePolyMesh(name.empty() ? file.stem().wstring() : name, std::move(m));
}

CRef Host::CreateNull(const std::wstring& name, const CRef& parent) {
    Ptr<X3DNode> obj = NewObject(*ParentFor(*this, parent), name, XSI::siNullID);
    // A null has a primitive of its own, without geometry.
    auto prim = Make<PrimitiveNode>();
    prim->type = L"null";
    prim->name = L"null";
    prim->parent = obj.get();
    obj->primitive = prim;
    return XSI::Host::RefOf(obj.get());
}

CRef Host::CreateModel(const std::wstring& name, const CRef& parent) {
    return XSI::Host::RefOf(NewObject(*ParentFor(*this, parent), name, XSI::siModelID).get());
}

std::vector<CRef> Host::Selection() const {
    std::vector<CRef> out;
    for (const CRef& r : m_impl->selected)
        if (r.IsValid()) out.push_back(r);
    return out;
}

void Host::Select(const std::vector<CRef>& items) {
    m_impl->selected.clear();
    for (const CRef& r : items) AddToSelection(r);
}

void Host::AddToSelection(const CRef& item) {
    if (!item.IsValid()) return;
    for (const CRef& r : m_impl->selected)
        if (r == item) return;
    m_impl->selected.push_back(item);
}

void Host::ClearSelection() { m_impl->selected.clear(); }

void Host::SetFrame(double frame) {
    m_frame = RequireFrame(frame);
    if (ParameterNode* p = m_impl->playControl->FindParam(L"Current")) p->value = CValue(frame);
    std::erase_if(m_impl->deforming, [](const Ptr<PolyMeshNode>& m) { return !m->alive; });
    for (const auto& m : m_impl->deforming) m->ApplyKeyedPositions(frame);
}

void Host::SetPointPositions(const CRef& object, std::vector<mesh::Vec3> positions, std::optional<double> frame) {
    auto* x = XSI::Host::As<X3DNode>(object);
    auto* m = x && x->primitive ? dynamic_cast<PolyMeshNode*>(x->primitive->geometry.get()) : nullptr;
    if (!m) throw std::invalid_argument(XSI::Host::ToUtf8(std::wstring(object.GetAsText().GetWideString())) + " is not a polygon mesh object");
    if (positions.size() != static_cast<size_t>(m->mesh.VertexCount()))
        throw std::invalid_argument(std::to_string(positions.size()) + " positions for " + std::to_string(m->mesh.VertexCount()) + " points");
    if (!frame) {
        m->keyedPositions.clear();
        m->mesh.SetPositions(positions);
        XSI::Host::Touch(m);
        XSI::Host::Touch(m->parent);
        return;
    }
    if (m->keyedPositions.empty()) m->restPositions.assign(m->mesh.Positions().begin(), m->mesh.Positions().end());
    m->keyedPositions[RequireFrame(*frame)] = std::move(positions);
    if (std::find(m_impl->deforming.begin(), m_impl->deforming.end(), Ptr<PolyMeshNode>(m)) == m_impl->deforming.end())
        m_impl->deforming.emplace_back(m);
    m->ApplyKeyedPositions(m_frame);
}

std::vector<mesh::Vec3> Host::RestPositions(const CRef& object) const {
    auto* x = XSI::Host::As<X3DNode>(object);
    auto* m = x && x->primitive ? dynamic_cast<PolyMeshNode*>(x->primitive->geometry.get()) : nullptr;
    if (!m) throw std::invalid_argument(XSI::Host::ToUtf8(std::wstring(object.GetAsText().GetWideString())) + " is not a polygon mesh object");
    if (!m->keyedPositions.empty()) return m->restPositions;
    return {m->mesh.Positions().begin(), m->mesh.Positions().end()};
}

void Host::SetTransform(const CRef& object, const MATH::CTransformation& local, std::optional<double> frame) {
    auto* x = XSI::Host::As<X3DNode>(object);
    if (!x || x->IsRoot()) throw std::invalid_argument(XSI::Host::ToUtf8(std::wstring(object.GetAsText().GetWideString())) + " is not a 3D object");
    if (frame) x->localKeys[RequireFrame(*frame)] = local;
    else {
        x->local = local;
        x->localKeys.clear();
    }
    XSI::Host::Touch(x);
}

void Host::AddPresetFolder(const std::filesystem::path& folder) {
    std::filesystem::path f = folder.lexically_normal();
    if (std::find(m_presetFolders.begin(), m_presetFolders.end(), f) == m_presetFolders.end()) m_presetFolders.push_back(f);
}

std::filesystem::path Host::FindPreset(const std::wstring& name) const {
    if (name.empty()) return {};
    for (const auto& folder : m_presetFolders) {
        std::filesystem::path file = folder / (name + L".json");
        if (std::filesystem::is_regular_file(file)) return file;
    }
    return {};
}

CRef Host::ApplicationRef() const { return XSI::Host::RefOf(m_impl->application.get()); }
CRef Host::SelectionRef() const { return XSI::Host::RefOf(m_impl->selection.get()); }
CRef Host::DictionaryRef() const { return XSI::Host::RefOf(m_impl->dictionary.get()); }
CRef Host::UIToolkitRef() const { return XSI::Host::RefOf(m_impl->uiToolkit.get()); }
CRef Host::ProgressBarRef() const { return XSI::Host::RefOf(m_impl->progressBar.get()); }

void Host::HostError(const std::wstring& text) { m_log.Add(text, XSI::siErrorMsg); }

std::wstring Host::ResolvePath(const std::wstring& path) const {
    std::wstring p = path;
    std::replace(p.begin(), p.end(), L'\\', L'/');
    std::filesystem::path fp(p);
    if (p.empty()) return m_projectDir.wstring();
    if (fp.is_absolute()) return fp.lexically_normal().wstring();
    return (m_projectDir / fp).lexically_normal().wstring();
}

CStatus Host::GetValue(const std::wstring& path, CValue& out) const {
    CRef r = Find(path);
    if (!r.IsValid()) return CStatus::InvalidArgument;
    if (auto* p = XSI::Host::As<ParameterNode>(r)) {
        if (p->isFCurveParameter && p->curve) out = CValue(XSI::Host::RefOf(p->curve.get()));
        else out = p->ValueAt(m_frame);
        return CStatus::OK;
    }
    out = CValue(r);
    return CStatus::OK;
}

CStatus Host::SetValue(const std::wstring& path, const CValue& value) {
    CRef r = Find(path);
    auto* p = XSI::Host::As<ParameterNode>(r);
    if (!p) return CStatus::InvalidArgument;
    if (p == m_impl->playControl->FindParam(L"Current")) {
        if (!std::isfinite(static_cast<double>(value))) return CStatus::InvalidArgument;
        SetFrame(static_cast<double>(value));
        return CStatus::OK;
    }
    if (!p->Assign(value, ParameterNode::Range::Keep)) return CStatus::InvalidArgument;
    NotifyParameterChanged(r);
    return CStatus::OK;
}

}  // namespace standin
