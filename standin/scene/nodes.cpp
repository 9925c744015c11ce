#include "scene/nodes.h"

#include <algorithm>
#include <cmath>

#include "scene/host.h"
#include "xsi_string.h"

namespace standin {

// ---- parameters

CValue ParameterNode::ValueAt(double frame) const {
    if (curve && !isFCurveParameter) {
        double v = curve->curve.Eval(frame);
        switch (type) {
            case CValue::siBool: return CValue(v != 0.0);
            case CValue::siInt4: case CValue::siInt2: case CValue::siInt1: case CValue::siUInt1: case CValue::siUInt2:
            case CValue::siUInt4: return CValue(static_cast<LONG>(std::lround(v)));
            default: return CValue(v);
        }
    }
    return value;
}

bool ParameterNode::Assign(const CValue& v, Range range) {
    if (isFCurveParameter) return false;
    CValue converted(v);
    if (type == CValue::siString) {
        converted = CValue(v.GetAsText());
    } else if (type != CValue::siEmpty) {
        if (v.IsEmpty()) return false;
        // A range cannot hold NaN: it compares with neither end, and as a weight or a count it
        // would poison everything computed from it. The host refuses it and keeps the value.
        if (type != CValue::siBool && (!min.IsEmpty() || !max.IsEmpty()) && std::isnan(static_cast<double>(v))) return false;
        converted.ChangeType(type);
        if (converted.m_t != type) return false;
        if (type != CValue::siBool && (range == Range::Clamp || !std::isfinite(static_cast<double>(v)))) {
            double d = static_cast<double>(converted);
            if (!min.IsEmpty() && d < static_cast<double>(min)) converted = min, converted.ChangeType(type);
            if (!max.IsEmpty() && d > static_cast<double>(max)) converted = max, converted.ChangeType(type);
        }
    }
    // Only a real change counts: operators that write a parameter with its own value on
    // every update must not make themselves dirty.
    if (converted.m_t == value.m_t && converted == value) return true;
    value = converted;
    Touch(this);
    Touch(parent);
    return true;
}

void ParameterNode::Children(std::vector<Object*>&) const {}

ParameterNode* ProjectItemNode::FindParam(const std::wstring& scriptName) const {
    for (const auto& p : params)
        if (p->name == scriptName) return p.get();
    return nullptr;
}

ParameterNode* ProjectItemNode::AddParam(const std::wstring& scriptName) {
    auto p = Make<ParameterNode>();
    p->name = scriptName;
    p->parent = this;
    params.push_back(p);
    return p.get();
}

void ProjectItemNode::Children(std::vector<Object*>& out) const {
    for (const auto& p : params) out.push_back(p.get());
}

void SceneItemNode::Children(std::vector<Object*>& out) const {
    ProjectItemNode::Children(out);
    for (const auto& p : properties) out.push_back(p.get());
}

std::wstring SceneItemNode::UniquePropertyName(const std::wstring& base) const { return propertyNames.Unique(properties, base); }

// ---- objects and transforms

X3DNode* KinematicStateNode::Owner() const { return parent ? static_cast<X3DNode*>(parent->parent) : nullptr; }

void KinematicsNode::Children(std::vector<Object*>& out) const {
    ProjectItemNode::Children(out);
    out.push_back(globalState.get());
    out.push_back(localState.get());
}

std::wstring X3DNode::TypeName() const {
    if (cls == XSI::siModelID) return L"#model";
    if (primitive) return primitive->type;
    return L"null";
}

void X3DNode::Children(std::vector<Object*>& out) const {
    SceneItemNode::Children(out);
    if (kine) out.push_back(kine.get());
    if (primitive) out.push_back(primitive.get());
    for (const auto& c : children) out.push_back(c.get());
}

MATH::CTransformation X3DNode::LocalAt(double frame) const {
    if (localKeys.empty()) return local;
    auto next = localKeys.lower_bound(frame);
    if (next == localKeys.begin()) return next->second;
    if (next == localKeys.end()) return std::prev(next)->second;
    if (next->first == frame) return next->second;
    // Between two keys: scale, rotation angles and translation move linearly.
    auto prev = std::prev(next);
    double a = (frame - prev->first) / (next->first - prev->first);
    double s0[3], s1[3], r0[3], r1[3], t0[3], t1[3];
    prev->second.GetScalingValues(s0[0], s0[1], s0[2]);
    next->second.GetScalingValues(s1[0], s1[1], s1[2]);
    prev->second.GetRotationFromXYZAnglesValues(r0[0], r0[1], r0[2]);
    next->second.GetRotationFromXYZAnglesValues(r1[0], r1[1], r1[2]);
    prev->second.GetTranslationValues(t0[0], t0[1], t0[2]);
    next->second.GetTranslationValues(t1[0], t1[1], t1[2]);
    auto mix = [a](const double* x, const double* y, int i) { return x[i] + (y[i] - x[i]) * a; };
    MATH::CTransformation t;
    t.SetIdentity();
    t.SetScalingFromValues(mix(s0, s1, 0), mix(s0, s1, 1), mix(s0, s1, 2));
    t.SetRotationFromXYZAnglesValues(mix(r0, r1, 0), mix(r0, r1, 1), mix(r0, r1, 2));
    t.SetTranslationFromValues(mix(t0, t1, 0), mix(t0, t1, 1), mix(t0, t1, 2));
    return t;
}

MATH::CTransformation X3DNode::GlobalAt(double frame) const {
    MATH::CTransformation t = LocalAt(frame);
    if (auto* p = dynamic_cast<X3DNode*>(parent)) {
        MATH::CTransformation g;
        g.Mul(t, p->GlobalAt(frame));
        return g;
    }
    return t;
}

// ---- geometry

std::wstring GeometryNode::FullName() const { return parent ? parent->FullName() : name; }

PrimitiveNode* GeometryNode::Primitive() const { return static_cast<PrimitiveNode*>(parent); }

void PolyMeshNode::ApplyKeyedPositions(double frame) {
    if (keyedPositions.empty()) return;
    auto next = keyedPositions.lower_bound(frame);
    std::vector<mesh::Vec3> pos;
    if (next == keyedPositions.begin()) pos = next->second;
    else if (next == keyedPositions.end()) pos = std::prev(next)->second;
    else {
        auto prev = std::prev(next);
        double a = (frame - prev->first) / (next->first - prev->first);
        pos = prev->second;
        for (size_t i = 0; i < pos.size(); ++i) {
            pos[i].x += (next->second[i].x - pos[i].x) * a;
            pos[i].y += (next->second[i].y - pos[i].y) * a;
            pos[i].z += (next->second[i].z - pos[i].z) * a;
        }
    }
    auto cur = mesh.Positions();
    if (std::equal(pos.begin(), pos.end(), cur.begin(), cur.end(),
                   [](const mesh::Vec3& p, const mesh::Vec3& q) { return p.x == q.x && p.y == q.y && p.z == q.z; }))
        return;
    mesh.SetPositions(pos);
    Touch(this);
    Touch(parent);
}

LONG PolyMeshNode::ComponentCount(const std::wstring& t) const {
    if (t == L"pnt") return mesh.VertexCount();
    if (t == L"poly") return mesh.PolygonCount();
    if (t == L"edge") return mesh.EdgeCount();
    if (t == L"sample") return mesh.SampleCount();
    return -1;
}

bool PolyMeshNode::ComponentExists(LONG cls, LLONG index) const {
    if (index < 0) return false;
    switch (cls) {
        case XSI::siVertexID: case XSI::siPointID: return index < mesh.VertexCount();
        case XSI::siEdgeID: case XSI::siSegmentID: return index < mesh.EdgeCount();
        case XSI::siPolygonFaceID: case XSI::siFacetID: return index < mesh.PolygonCount();
        case XSI::siSampleID: return index < mesh.SampleCount();
        default: return false;
    }
}

std::wstring PolyMeshNode::ComponentText(LONG cls, LLONG index) const {
    const wchar_t* kind = L"pnt";
    switch (cls) {
        case XSI::siEdgeID: case XSI::siSegmentID: kind = L"edge"; break;
        case XSI::siPolygonFaceID: case XSI::siFacetID: kind = L"poly"; break;
        case XSI::siSampleID: kind = L"sample"; break;
        default: break;
    }
    const Object* owner = parent ? parent->parent : nullptr;  // the 3D object
    std::wstring base = owner ? owner->FullName() : FullName();
    return base + L"." + kind + L"[" + std::to_wstring(index) + L"]";
}

namespace {

// The control points of several curves or surfaces, numbered one after the other.
template <class Shapes>
LONG ControlPointCount(const Shapes& shapes) {
    LONG n = 0;
    for (const auto& s : shapes) n += static_cast<LONG>(s.ControlPoints().size());
    return n;
}

template <class Shapes>
mesh::Vec3 ControlPointAt(const Shapes& shapes, LLONG index) {
    for (const auto& s : shapes) {
        if (index < static_cast<LLONG>(s.ControlPoints().size())) return s.ControlPoints()[static_cast<size_t>(index)];
        index -= static_cast<LLONG>(s.ControlPoints().size());
    }
    return {};
}

}  // namespace

LONG CurveListNode::PointCount() const { return ControlPointCount(curves); }
LONG SurfaceMeshNode::PointCount() const { return ControlPointCount(surfaces); }
mesh::Vec3 SurfaceMeshNode::PointPosition(LLONG index) const { return ControlPointAt(surfaces, index); }

LONG CurveListNode::ComponentCount(const std::wstring& t) const { return t == L"pnt" ? PointCount() : -1; }

mesh::Vec3 CurveListNode::PointPosition(LLONG index) const { return ControlPointAt(curves, index); }

bool CurveListNode::ComponentExists(LONG cls, LLONG index) const {
    if (index < 0) return false;
    if (cls == XSI::siNurbsCurveID) return index < static_cast<LLONG>(curves.size());
    if (cls == XSI::siPointID) return index < PointCount();
    return false;
}

std::wstring CurveListNode::ComponentText(LONG cls, LLONG index) const {
    const Object* owner = parent ? parent->parent : nullptr;
    std::wstring base = owner ? owner->FullName() : FullName();
    return base + (cls == XSI::siNurbsCurveID ? L".crv[" : L".pnt[") + std::to_wstring(index) + L"]";
}

bool SurfaceMeshNode::ComponentExists(LONG cls, LLONG index) const { return cls == XSI::siPointID && index >= 0 && index < PointCount(); }

std::wstring SurfaceMeshNode::ComponentText(LONG, LLONG index) const {
    const Object* owner = parent ? parent->parent : nullptr;
    return (owner ? owner->FullName() : FullName()) + L".pnt[" + std::to_wstring(index) + L"]";
}

void PrimitiveNode::Children(std::vector<Object*>& out) const {
    ProjectItemNode::Children(out);
    for (const auto& c : clusters) out.push_back(c.get());
    // The operators of its construction history (a hair's), named under the primitive.
    if (auto* stack = dynamic_cast<OperatorStack*>(geometry.get()))
        for (const auto& op : stack->operators) out.push_back(op.get());
}

void PrimitiveNode::MarkDeleted() {
    // The geometry has no path of its own, so it is not among the children; it dies too.
    if (geometry) geometry->MarkDeleted();
    ProjectItemNode::MarkDeleted();
}

std::wstring PrimitiveNode::UniqueClusterName(const std::wstring& base) const { return clusterNames.Unique(clusters, base); }

void ClusterPropertyNode::Children(std::vector<Object*>& out) const {
    ProjectItemNode::Children(out);
    for (const auto& op : operators) out.push_back(op.get());
}

// ---- contexts and automation objects

CValue ContextNode::Attribute(const std::wstring& key) const {
    for (const auto& [k, v] : attributes)
        if (k == key) return v;
    return CValue();
}

void ContextNode::SetAttribute(const std::wstring& key, const CValue& v) {
    for (auto& [k, old] : attributes)
        if (k == key) {
            old = v;
            return;
        }
    attributes.emplace_back(key, v);
}

XSI::CStatus ComValueNode::Invoke(const std::wstring& member, LONG, const XSI::CValueArray&, CValue& ret) {
    if (member == L"Value") {
        ret = value;
        return XSI::CStatus::OK;
    }
    if (member == L"Name") {
        ret = CValue(XSI::CString(name.c_str()));
        return XSI::CStatus::OK;
    }
    return XSI::CStatus::MemberNotFound;
}

void ComCollectionNode::Add(const std::wstring& key, const CValue& v) {
    auto item = Make<ComValueNode>();
    item->name = key;
    item->value = v;
    items.push_back(item);
}

XSI::CStatus ComCollectionNode::Invoke(const std::wstring& member, LONG, const XSI::CValueArray& args, CValue& ret) {
    if (member == L"Count") {
        ret = CValue(static_cast<LONG>(items.size()));
        return XSI::CStatus::OK;
    }
    if (member != L"Item") return XSI::CStatus::MemberNotFound;
    if (args.GetCount() < 1) return XSI::CStatus::InvalidArgument;
    const CValue& key = args[0];
    if (key.m_t == CValue::siString) {
        std::wstring k = key.GetAsText().GetWideString();
        for (const auto& it : items)
            if (it->name == k) {
                ret = CValue(XSI::Host::RefOf(it.get()));
                return XSI::CStatus::OK;
            }
        return XSI::CStatus::InvalidArgument;
    }
    LONG i = static_cast<LONG>(key);
    if (i < 0 || i >= static_cast<LONG>(items.size())) return XSI::CStatus::InvalidArgument;
    ret = CValue(XSI::Host::RefOf(items[static_cast<size_t>(i)].get()));
    return XSI::CStatus::OK;
}

}  // namespace standin
