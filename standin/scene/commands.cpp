// Commands: the host's built-in ones and those that plug-ins register.
#include <algorithm>
#include <sstream>

#include "core/text.h"
#include "scene/host_impl.h"
#include "xsi_string.h"

namespace standin {

namespace {

std::wstring Text(const CValue& v) { return v.IsEmpty() ? std::wstring() : std::wstring(v.GetAsText().GetWideString()); }

CValue Arg(const CValueArray& args, LONG i) { return i < args.GetCount() ? args[i] : CValue(); }

std::vector<std::wstring> SplitList(const std::wstring& s) {
    std::vector<std::wstring> out;
    std::wstring cur;
    for (wchar_t c : s) {
        if (c == L',') {
            out.push_back(cur);
            cur.clear();
        } else if (c != L' ' || !cur.empty()) {
            cur += c;
        }
    }
    out.push_back(cur);
    std::erase_if(out, [](const std::wstring& x) { return x.empty(); });
    return out;
}

// Whether an object may be picked with a filter, as the host's picking session allows.
bool MatchesFilter(const CRef& r, const std::wstring& filter) {
    if (filter.empty() || filter == L"object") return true;
    if (filter == L"sceneobject") return r.IsA(XSI::siX3DObjectID);
    if (filter == L"cluster") return r.IsA(XSI::siClusterID);
    if (filter == L"property") return r.IsA(XSI::siPropertyID);
    if (filter == L"model") return r.IsA(XSI::siModelID);
    if (filter == L"operator") return r.IsA(XSI::siOperatorID);
    if (filter == L"point") return r.IsA(XSI::siPointID);
    if (filter == L"edge") return r.IsA(XSI::siEdgeID);
    if (filter == L"polygon") return r.IsA(XSI::siPolygonFaceID);
    if (filter == L"curve" || filter == L"polygonmesh" || filter == L"geometry") {
        auto* x = XSI::Host::As<X3DNode>(r);
        if (!x || !x->primitive) return false;
        if (filter == L"curve") return x->primitive->type == L"crvlist";
        if (filter == L"polygonmesh") return x->primitive->type == L"polymsh";
        return true;
    }
    return true;
}

// One interactive pick answered from the script's queue.
void Pick(Host& host, const std::wstring& filter, CRef& picked, LONG& button, LONG& modifier) {
    picked = CRef();
    button = 0;
    modifier = 0;
    if (host.PickQueue().empty()) return;
    PickAnswer a = host.PickQueue().front();
    host.PickQueue().pop_front();
    if (a.path.empty() || a.button == 0) return;
    CRef r = host.Find(a.path);
    if (!r.IsValid()) {
        host.HostError(L"PickElement: nothing named " + a.path + L" in the scene; the pick is cancelled");
        return;
    }
    if (!MatchesFilter(r, filter)) {
        host.HostError(L"PickElement: " + a.path + L" cannot be picked with the filter \"" + filter +
                       L"\"; the pick is cancelled");
        return;
    }
    picked = r;
    button = a.button;
    modifier = a.modifier;
}

CStatus CmdPickElement(Host& host, CValueArray& args, CValue&) {
    CRef picked;
    LONG button = 0, modifier = 0;
    Pick(host, Text(Arg(args, 0)), picked, button, modifier);
    if (args.GetCount() < 7) args.Resize(7);
    args[3] = picked.IsValid() ? CValue(picked) : CValue();
    args[4] = CValue(button);
    args[6] = CValue(modifier);
    return CStatus::OK;
}

CStatus CmdCreateWeightMap(Host& host, CValueArray& args, CValue& ret) {
    std::wstring propName = SanitizeName(Text(Arg(args, 2)));
    if (propName.empty()) propName = L"Weight_Map";
    std::vector<CRef> inputs = Arg(args, 1).IsEmpty() ? host.Selection() : ResolveObjects(host, Arg(args, 1));
    XSI::CValueArray created;
    for (const CRef& in : inputs) {
        ClusterNode* cluster = nullptr;
        if (auto* x = XSI::Host::As<X3DNode>(in)) {
            if (!x->primitive || !x->primitive->geometry) {
                host.HostError(L"CreateWeightMap: " + x->FullName() + L" has no geometry");
                continue;
            }
            PrimitiveNode& prim = *x->primitive;
            auto c = Make<ClusterNode>();
            c->type = L"pnt";
            c->name = prim.UniqueClusterName(L"WeightMapCls");
            c->parent = &prim;
            LONG n = prim.geometry->PointCount();
            c->elements.resize(static_cast<size_t>(n));
            for (LONG i = 0; i < n; ++i) c->elements[static_cast<size_t>(i)] = i;
            prim.clusters.push_back(c);
            cluster = c.get();
        } else if (auto* c = XSI::Host::As<ClusterNode>(in)) {
            cluster = c;
        } else if (auto* wm = XSI::Host::As<ClusterPropertyNode>(in)) {
            cluster = wm->Cluster();
        }
        if (!cluster || cluster->type != L"pnt") {
            host.HostError(L"CreateWeightMap: " + std::wstring(in.GetAsText().GetWideString()) +
                           L" is not an object or a point cluster");
            continue;
        }
        auto wm = Make<ClusterPropertyNode>();
        wm->type = L"wtmap";
        wm->name = cluster->UniquePropertyName(propName);
        wm->parent = cluster;
        wm->valueSize = 1;
        wm->values.assign(cluster->elements.size(), 0.0);
        cluster->properties.push_back(wm);
        created.Add(CValue(XSI::Host::RefOf(wm.get())));
    }
    if (created.GetCount() == 0) return CStatus::Fail;
    ret = CValue(created);
    return CStatus::OK;
}

CStatus CmdDeleteObj(Host& host, CValueArray& args, CValue&) {
    std::vector<CRef> objs = Arg(args, 0).IsEmpty() ? host.Selection() : ResolveObjects(host, Arg(args, 0));
    if (objs.empty()) return CStatus::InvalidArgument;
    for (const CRef& r : objs) host.Delete(r);
    return CStatus::OK;
}

CStatus CmdGetValue(Host& host, CValueArray& args, CValue& ret) {
    CValue target = Arg(args, 0);
    if (target.m_t == CValue::siRef) {
        ret = target;
        return CStatus::OK;
    }
    std::wstring path = Text(target);
    if (path == L"SelectionList") {
        XSI::CValueArray sel;
        for (const CRef& r : host.Selection()) sel.Add(CValue(r));
        ret = CValue(sel);
        return CStatus::OK;
    }
    CStatus st = host.GetValue(path, ret);
    if (!st.Succeeded()) host.HostError(L"GetValue: nothing named " + path);
    return st;
}

CStatus CmdSetValue(Host& host, CValueArray& args, CValue&) {
    std::wstring path = Text(Arg(args, 0));
    CStatus st = host.SetValue(path, Arg(args, 1));
    if (!st.Succeeded()) host.HostError(L"SetValue: cannot set " + path + L" to " + Text(Arg(args, 1)));
    return st;
}

CStatus CmdInspectObj(Host& host, CValueArray& args, CValue& ret) {
    std::vector<CRef> objs = Arg(args, 0).IsEmpty() ? host.Selection() : ResolveObjects(host, Arg(args, 0));
    LONG mode = Arg(args, 3).IsEmpty() ? XSI::siRecycle : static_cast<LONG>(Arg(args, 3));
    bool throwOnCancel = Arg(args, 4).IsEmpty() ? true : static_cast<bool>(Arg(args, 4));
    if (objs.empty()) {
        host.HostError(L"InspectObj: nothing to inspect");
        return CStatus::InvalidArgument;
    }
    bool anyCancelled = false;
    for (const CRef& r : objs) {
        bool cancelled = false;
        CStatus st = host.InspectObj(r, mode, cancelled);
        if (!st.Succeeded()) return st;
        anyCancelled = anyCancelled || cancelled;
    }
    ret = CValue(anyCancelled);
    if (anyCancelled && throwOnCancel) return CStatus::Abort;
    return CStatus::OK;
}

CStatus CmdResolvePath(Host& host, CValueArray& args, CValue& ret) {
    ret = CValue(XSI::CString(host.ResolvePath(Text(Arg(args, 0))).c_str()));
    return CStatus::OK;
}

CStatus CmdSelectObj(Host& host, CValueArray& args, CValue&) {
    host.Select(ResolveObjects(host, Arg(args, 0)));
    return CStatus::OK;
}

// A planar XY projection: a complete sample cluster and a UV property on it holding
// (u, v, w) per sample, u and v spanning [0, 1] across the mesh's extent in X and Y.
CStatus CmdCreateProjection(Host& host, CValueArray& args, CValue& ret) {
    std::vector<CRef> objs = Arg(args, 0).IsEmpty() ? host.Selection() : ResolveObjects(host, Arg(args, 0));
    std::wstring propName = SanitizeName(Text(Arg(args, 4)));
    if (propName.empty()) propName = L"Texture_Projection";
    XSI::CValueArray created;
    for (const CRef& r : objs) {
        auto* x = XSI::Host::As<X3DNode>(r);
        auto* mesh = x && x->primitive ? dynamic_cast<PolyMeshNode*>(x->primitive->geometry.get()) : nullptr;
        if (!mesh) {
            host.HostError(L"CreateProjection: " + std::wstring(r.GetAsText().GetWideString()) + L" is not a polygon mesh");
            continue;
        }
        PrimitiveNode& prim = *x->primitive;
        ClusterNode* cluster = nullptr;
        for (const auto& c : prim.clusters)
            if (c->type == L"sample" && c->alwaysComplete) cluster = c.get();
        if (!cluster) {
            auto c = Make<ClusterNode>();
            c->type = L"sample";
            c->name = prim.UniqueClusterName(L"Texture_Coordinates_AUTO");
            c->parent = &prim;
            c->alwaysComplete = true;
            for (LONG i = 0; i < mesh->mesh.SampleCount(); ++i) c->elements.push_back(i);
            prim.clusters.push_back(c);
            cluster = c.get();
        }
        double lo[2] = {1e300, 1e300}, hi[2] = {-1e300, -1e300};
        for (const auto& p : mesh->mesh.Positions()) {
            lo[0] = std::min(lo[0], p.x), hi[0] = std::max(hi[0], p.x);
            lo[1] = std::min(lo[1], p.y), hi[1] = std::max(hi[1], p.y);
        }
        auto uv = Make<ClusterPropertyNode>();
        uv->type = L"uvspace";
        uv->name = cluster->UniquePropertyName(propName);
        uv->parent = cluster;
        uv->valueSize = 3;
        for (LONG s : cluster->elements) {
            const auto& p = mesh->mesh.Positions()[static_cast<size_t>(mesh->mesh.SampleVertex(s))];
            uv->values.push_back(hi[0] > lo[0] ? (p.x - lo[0]) / (hi[0] - lo[0]) : 0.0);
            uv->values.push_back(hi[1] > lo[1] ? (p.y - lo[1]) / (hi[1] - lo[1]) : 0.0);
            uv->values.push_back(0.0);
        }
        cluster->properties.push_back(uv);
        created.Add(CValue(XSI::Host::RefOf(uv.get())));
    }
    if (created.GetCount() == 0) return CStatus::InvalidArgument;
    if (args.GetCount() > 4) args[4] = CValue(XSI::CRef(created[0]).GetAsText());
    ret = CValue(created);
    return CStatus::OK;
}

}  // namespace

std::vector<CRef> ResolveObjects(Host& host, const CValue& value) {
    std::vector<CRef> out;
    if (value.IsEmpty()) return out;
    if (value.m_t == CValue::siRef) {
        CRef r(value);
        if (r.IsValid()) out.push_back(r);
        return out;
    }
    if (value.m_t == CValue::siArray) {
        const XSI::CValueArray& arr = value;
        for (LONG i = 0; i < arr.GetCount(); ++i)
            for (const CRef& r : ResolveObjects(host, arr[i])) out.push_back(r);
        return out;
    }
    if (value.m_t == CValue::siRefArray) {
        const XSI::CRefArray& arr = value;
        for (LONG i = 0; i < arr.GetCount(); ++i)
            if (arr[i].IsValid()) out.push_back(arr[i]);
        return out;
    }
    for (const std::wstring& path : SplitList(Text(value))) {
        CRef r = host.Find(path);
        if (r.IsValid()) out.push_back(r);
        else host.HostError(L"Nothing named " + path + L" in the scene");
    }
    return out;
}

void RegisterBuiltinCommands(Host& host) {
    auto& b = host.impl().builtins;
    b[L"PickElement"] = CmdPickElement;
    b[L"CreateWeightMap"] = CmdCreateWeightMap;
    b[L"DeleteObj"] = CmdDeleteObj;
    b[L"GetValue"] = CmdGetValue;
    b[L"SetValue"] = CmdSetValue;
    b[L"InspectObj"] = CmdInspectObj;
    b[L"zrResolvePath"] = CmdResolvePath;
    b[L"SelectObj"] = CmdSelectObj;
    b[L"CreateProjection"] = CmdCreateProjection;
}

CStatus Host::ExecuteCommand(const std::wstring& name, CValueArray& args, CValue& ret) {
    Impl& d = *m_impl;
    ret = CValue();
    if (auto it = d.builtins.find(name); it != d.builtins.end()) return it->second(*this, args, ret);
    CommandNode* cmd = d.FindCommand(name);
    if (!cmd) {
        HostError(L"Unknown command: " + name);
        return CStatus::MemberNotFound;
    }
    // Arguments take the caller's values in order, the declared defaults where none is given;
    // handlers turn what the caller passed into objects.
    XSI::CValueArray values;
    for (size_t i = 0; i < cmd->arguments.size(); ++i) {
        const ArgumentNode& a = *cmd->arguments[i];
        CValue v = static_cast<LONG>(i) < args.GetCount() ? args[static_cast<LONG>(i)] : CValue();
        if (a.handler == L"Collection") {
            std::vector<CRef> objs = v.IsEmpty() ? Selection() : ResolveObjects(*this, v);
            XSI::CValueArray coll;
            for (const CRef& r : objs) coll.Add(CValue(r));
            values.Add(CValue(coll));
        } else if (a.objectArgument || a.handler == L"SingleObj") {
            std::vector<CRef> objs = ResolveObjects(*this, v);
            values.Add(objs.empty() ? CValue() : CValue(objs.front()));
        } else {
            values.Add(v.IsEmpty() ? a.value : v);
        }
    }
    auto ctx = MakeContext(XSI::siContextID, XSI::Host::RefOf(cmd));
    ctx->SetAttribute(L"Arguments", CValue(values));
    CStatus st;
    if (!CallContextCallback(*this, name + L"_Execute", XSI::Host::RefOf(ctx.get()), st)) return CStatus::Fail;
    if (cmd->returnValue) ret = ctx->Attribute(L"ReturnValue");
    return st;
}

// The automation objects: the application (its members "Application", "Dictionary",
// "Selection", "PickElement", "ExecuteCommand") and the dictionary ("GetObject").
XSI::CStatus ServiceNode::Invoke(const std::wstring& member, LONG, const XSI::CValueArray& args, CValue& ret) {
    Host& host = Host::Current();
    if (cls == XSI::siApplicationID) {
        if (member == L"Application") return ret = CValue(host.ApplicationRef()), XSI::CStatus::OK;
        if (member == L"Dictionary") return ret = CValue(host.DictionaryRef()), XSI::CStatus::OK;
        if (member == L"Selection") return ret = CValue(host.SelectionRef()), XSI::CStatus::OK;
        if (member == L"PickElement") {
            CRef picked;
            LONG button = 0, modifier = 0;
            Pick(host, args.GetCount() > 0 ? Text(args[0]) : std::wstring(), picked, button, modifier);
            auto coll = Make<ComCollectionNode>();
            coll->Add(L"PickedElement", picked.IsValid() ? CValue(picked) : CValue());
            coll->Add(L"ButtonPressed", CValue(button));
            coll->Add(L"ModifierPressed", CValue(modifier));
            ret = CValue(XSI::Host::RefOf(coll.get()));
            return XSI::CStatus::OK;
        }
        if (member == L"ExecuteCommand" && args.GetCount() > 0) {
            XSI::CValueArray rest;
            for (LONG i = 1; i < args.GetCount(); ++i) rest.Add(args[i]);
            return host.ExecuteCommand(Text(args[0]), rest, ret);
        }
        return XSI::CStatus::MemberNotFound;
    }
    if (cls == XSI::siDictionaryID && member == L"GetObject") {
        if (args.GetCount() < 1) return XSI::CStatus::InvalidArgument;
        CRef r = host.Find(Text(args[0]));
        if (!r.IsValid()) {
            ret = CValue();
            bool throwError = args.GetCount() < 2 || args[1].IsEmpty() || static_cast<bool>(args[1]);
            return throwError ? XSI::CStatus::Fail : XSI::CStatus::OK;
        }
        ret = CValue(r);
        return XSI::CStatus::OK;
    }
    return XSI::CStatus::MemberNotFound;
}

}  // namespace standin
