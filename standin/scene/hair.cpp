#include "scene/hair.h"

#include <cmath>
#include <limits>
#include <stdexcept>

#include "core/text.h"
#include "scene/host_impl.h"
#include "xsi_string.h"

namespace standin {

using XSI::CStatus;
using XSI::Host::RefOf;

// ---- the hair geometry and the construction history

const std::vector<double>& HairGeometryNode::Positions() const {
    return EvaluatedValues(const_cast<HairGeometryNode&>(*this));
}

mesh::Vec3 HairGeometryNode::PointPosition(LLONG index) const {
    const std::vector<double>& p = Positions();
    const size_t at = static_cast<size_t>(index) * 3;
    if (index < 0 || at + 2 >= p.size()) return {};
    return {p[at], p[at + 1], p[at + 2]};
}

bool HairGeometryNode::ComponentExists(LONG cls, LLONG index) const {
    return (cls == XSI::siPointID || cls == XSI::siVertexID) && index >= 0 && index < PointCount();
}

std::wstring HairGeometryNode::ComponentText(LONG, LLONG index) const {
    const Object* owner = parent ? parent->parent : nullptr;
    return (owner ? owner->FullName() : FullName()) + L".pnt[" + std::to_wstring(index) + L"]";
}

XSI::CStatus PrimitiveNode::Invoke(const std::wstring& member, LONG flags, const XSI::CValueArray& args, CValue& ret) {
    if (member != L"ConstructionHistory") return ProjectItemNode::Invoke(member, flags, args, ret);
    auto history = Make<ConstructionHistoryNode>();
    history->primitive = Ptr<PrimitiveNode>(this);
    history->name = L"ConstructionHistory";
    ret = CValue(RefOf(history.get()));
    return CStatus::OK;
}

XSI::CStatus ConstructionHistoryNode::Invoke(const std::wstring& member, LONG, const XSI::CValueArray& args, CValue& ret) {
    if (member != L"Find") return CStatus::MemberNotFound;
    if (args.GetCount() < 1) return CStatus::InvalidArgument;
    const std::wstring type = args[0].GetAsText().GetWideString();
    ret = CValue();
    if (!primitive || !primitive->alive) return CStatus::OK;
    if (OperatorStack* stack = StackOf(primitive.get()))
        for (const auto& op : stack->operators)
            if (op->alive && op->TypeName() == type) {
                ret = CValue(RefOf(op.get()));
                break;
            }
    return CStatus::OK;
}

// ---- growing

std::vector<int32_t> HairRoots(const mesh::PolyMesh& emitter, const std::vector<LONG>* polygons) {
    std::vector<int32_t> roots;
    if (!polygons) {
        roots.resize(static_cast<size_t>(emitter.VertexCount()));
        for (size_t i = 0; i < roots.size(); ++i) roots[i] = static_cast<int32_t>(i);
        return roots;
    }
    std::vector<char> met(static_cast<size_t>(emitter.VertexCount()), 0);
    for (LONG p : *polygons) {
        if (p < 0 || p >= emitter.PolygonCount()) continue;
        for (int32_t v : emitter.PolygonVertices(p))
            if (!met[static_cast<size_t>(v)]) {
                met[static_cast<size_t>(v)] = 1;
                roots.push_back(v);
            }
    }
    return roots;
}

namespace {

// A small generator of its own: the strays must not change with the C library.
double NextStray(uint64_t& state) {
    state = state * 6364136223846793005ULL + 1442695040888963407ULL;
    return static_cast<double>(state >> 11) / static_cast<double>(1ULL << 53) * 2.0 - 1.0;
}

OperatorPreset GeneratorPreset() {
    OperatorPreset p;
    p.name = L"hairGenOp";
    p.groups.push_back({L"Emitter", false, {{L"InEmitter", false, L"primitive"}}});
    p.groups.push_back({L"EmitterCluster", true, {{L"InCluster", false, L"self"}}});
    return p;
}

}  // namespace

CRef CreateHair(Host& host, const CRef& emitter, const std::wstring& name, const CRef& cluster, const HairOptions& o) {
    auto* x = XSI::Host::As<X3DNode>(emitter);
    auto* m = x && x->primitive ? dynamic_cast<PolyMeshNode*>(x->primitive->geometry.get()) : nullptr;
    if (!m) throw std::invalid_argument("the emitter is not a polygon mesh object");
    ClusterNode* polys = nullptr;
    if (cluster.IsValid()) {
        polys = XSI::Host::As<ClusterNode>(cluster);
        if (!polys || polys->type != L"poly" || polys->Primitive() != x->primitive.get())
            throw std::invalid_argument("the cluster is not a polygon cluster of the emitter");
    }
    if (!std::isfinite(o.length) || o.length <= 0.0) throw std::invalid_argument("the length must be a finite number above 0");
    if (!std::isfinite(o.noise) || o.noise < 0.0) throw std::invalid_argument("the noise must be a finite number from 0");
    std::vector<int32_t> roots = HairRoots(m->mesh, polys ? &polys->elements : nullptr);
    if (roots.size() > static_cast<size_t>(std::numeric_limits<LONG>::max() / kHairStrandPoints))
        throw std::invalid_argument("too many strands for one hair object");

    auto geometry = Make<HairGeometryNode>();
    geometry->strandCount = static_cast<LONG>(roots.size());
    CRef obj = host.CreateGeometryObject(name.empty() ? std::wstring(L"Hair") : name, L"hair", geometry);
    PrimitiveNode* prim = XSI::Host::As<X3DNode>(obj)->primitive.get();
    prim->cls = XSI::siHairPrimitiveID;

    auto gen = Make<HairGenOpNode>();
    gen->cls = XSI::siOperatorID;
    gen->preset = GeneratorPreset();
    gen->name = L"hairGenOp";
    gen->parent = prim;
    gen->length = o.length;
    gen->instances.resize(2);
    gen->instances[0].push_back({RefOf(x->primitive.get())});
    if (polys) gen->instances[1].push_back({RefOf(polys)});
    gen->strays.resize(roots.size() * 3);
    uint64_t state = o.seed;
    for (double& s : gen->strays) s = o.noise * NextStray(state);
    gen->roots = std::move(roots);
    geometry->operators.push_back(gen);
    XSI::Host::Touch(gen.get());
    return obj;
}

// Each strand leaves its root along the normal (turned by its stray), its points evenly
// spaced: point k at (k + 1) / 14 of the length. A root the emitter no longer has, or an
// emitter that is gone, leaves the strand at the origin.
bool HairGenOpNode::HostUpdate(const std::vector<double>&, std::vector<double>& out) {
    const size_t strands = roots.size(), per = static_cast<size_t>(kHairStrandPoints);
    out.assign(strands * per * 3, 0.0);
    const CRef& source = instances.empty() || instances[0].empty() ? CRef() : instances[0][0][0];
    auto* prim = XSI::Host::As<PrimitiveNode>(source);
    auto* m = prim ? dynamic_cast<PolyMeshNode*>(prim->geometry.get()) : nullptr;
    if (!m) return true;
    auto positions = m->mesh.Positions();
    auto normals = m->mesh.VertexNormals();
    for (size_t i = 0; i < strands; ++i) {
        const int32_t r = roots[i];
        if (r < 0 || r >= m->mesh.VertexCount()) continue;
        const mesh::Vec3 p = positions[static_cast<size_t>(r)], n = normals[static_cast<size_t>(r)];
        double d[3] = {n.x + strays[3 * i], n.y + strays[3 * i + 1], n.z + strays[3 * i + 2]};
        double len = std::sqrt(d[0] * d[0] + d[1] * d[1] + d[2] * d[2]);
        if (!(len > 0.0) || !std::isfinite(len)) d[0] = 0.0, d[1] = 1.0, d[2] = 0.0, len = 1.0;
        for (size_t k = 0; k < per; ++k) {
            const double s = length * static_cast<double>(k + 1) / static_cast<double>(per) / len;
            double* q = &out[(i * per + k) * 3];
            q[0] = p.x + d[0] * s;
            q[1] = p.y + d[1] * s;
            q[2] = p.z + d[2] * s;
        }
    }
    return true;
}

void HairGenOpNode::MarkDeleted() {
    if (alive)
        if (auto* hair = dynamic_cast<HairGeometryNode*>(StackOf(parent))) {
            std::vector<double> last;
            HostUpdate({}, last);
            hair->values = std::move(last);
            XSI::Host::Touch(hair);
        }
    OperatorNode::MarkDeleted();
}

}  // namespace standin
