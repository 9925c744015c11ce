// Geometry of the object model: primitives, polygon meshes and their components, clusters
// and cluster properties. Components are references (geometry, class, index); the mesh
// answers every query from its topology arrays.
#include "scene/host_impl.h"
#include "scene/operators.h"
#include "sdk/wrap.h"
#include "xsi_cluster.h"
#include "xsi_clusterproperty.h"
#include "xsi_hairprimitive.h"
#include "xsi_nurbscurvelist.h"
#include "xsi_nurbssurfacemesh.h"
#include "xsi_polygonmesh.h"
#include "xsi_primitive.h"

using namespace XSI;
using namespace standin;

namespace {

PolyMeshNode* MeshOf(const CRef& component) {
    if (!component.IsValid()) return nullptr;
    return dynamic_cast<PolyMeshNode*>(component.GetHostObject());
}

int32_t IndexOf(const CRef& component) { return static_cast<int32_t>(component.GetComponentIndex()); }

// Fills `out` with references to the components `indices` of class `cls` of `mesh`.
template <class Array>
Array Components(PolyMeshNode* mesh, siClassID cls, const std::vector<int32_t>& indices) {
    Array out;
    out.Reserve(static_cast<LONG>(indices.size()));
    for (int32_t i : indices) out.Add(CRef::FromHost(mesh, cls, i));
    return out;
}

template <class Array>
Array AllComponents(PolyMeshNode* mesh, siClassID cls, int32_t count) {
    Array out;
    if (!mesh) return out;
    out.Reserve(count);
    for (int32_t i = 0; i < count; ++i) out.Add(CRef::FromHost(mesh, cls, i));
    return out;
}

thread_local std::vector<int32_t> t_scratch;

// Indices of the items of a component array that belong to one mesh (the first item's).
PolyMeshNode* SharedMesh(const CRefArray& items, std::vector<int32_t>& indices) {
    indices.clear();
    PolyMeshNode* mesh = nullptr;
    for (LONG i = 0; i < items.GetCount(); ++i) {
        PolyMeshNode* m = MeshOf(items[i]);
        if (!m) continue;
        if (!mesh) mesh = m;
        if (m == mesh) indices.push_back(IndexOf(items[i]));
    }
    return mesh;
}

std::vector<int32_t> Grow(PolyMeshNode* mesh, siClassID from, const std::vector<int32_t>& seeds, siClassID to,
                          LONG distance) {
    std::vector<int32_t> out, part;
    if (!mesh || seeds.empty()) return out;
    const mesh::PolyMesh& m = mesh->mesh;
    if (from == siPolygonFaceID && to == siVertexID) {
        m.PolygonsNeighborVertices(seeds, distance, out);
        return out;
    }
    // Union of each seed's neighbourhood, in order of first appearance.
    std::vector<char> seen;
    auto total = to == siVertexID ? m.VertexCount() : to == siEdgeID ? m.EdgeCount() : m.PolygonCount();
    seen.assign(static_cast<size_t>(total), 0);
    for (int32_t s : seeds) {
        if (from == siVertexID) {
            if (to == siVertexID) m.VertexNeighborVertices(s, distance, part);
            else if (to == siEdgeID) m.VertexNeighborEdges(s, distance, part);
            else m.VertexNeighborPolygons(s, distance, part);
        } else if (from == siEdgeID) {
            if (to == siVertexID) m.EdgeNeighborVertices(s, distance, part);
            else if (to == siEdgeID) m.EdgeNeighborEdges(s, distance, part);
            else m.EdgeNeighborPolygons(s, distance, part);
        } else {
            if (to == siEdgeID) m.PolygonNeighborEdges(s, distance, part);
            else m.PolygonNeighborPolygons(s, distance, part);
        }
        for (int32_t x : part)
            if (!seen[static_cast<size_t>(x)]) {
                seen[static_cast<size_t>(x)] = 1;
                out.push_back(x);
            }
    }
    return out;
}

}  // namespace

namespace XSI {

// ---- Primitive and Geometry

XSI_WRAPPER(Primitive, siPrimitiveID)
XSI_WRAPPER(HairPrimitive, siHairPrimitiveID)
XSI_WRAPPER(Geometry, siGeometryID)
XSI_WRAPPER(PolygonMesh, siPolygonMeshID)

Geometry Primitive::GetGeometry(double) const {
    auto* p = NodeOf<PrimitiveNode>(m_ref);
    return p && p->geometry ? Geometry(XSI::Host::RefOf(p->geometry.get())) : Geometry();
}

Geometry Primitive::GetGeometry(double time, siConstructionMode) const { return GetGeometry(time); }

CPointRefArray Geometry::GetPoints() const {
    auto* g = NodeOf<GeometryNode>(m_ref);
    if (!g) return CPointRefArray();
    // A run: a million points are not a million references until someone walks them.
    return CPointRefArray(CRefArray::Run(XSI::Host::RefOf(g), siPointID, g->PointCount()));
}

CFacetRefArray Geometry::GetFacets() const {
    auto* m = NodeOf<PolyMeshNode>(m_ref);
    return AllComponents<CFacetRefArray>(m, siFacetID, m ? m->mesh.PolygonCount() : 0);
}

CSegmentRefArray Geometry::GetSegments() const {
    auto* m = NodeOf<PolyMeshNode>(m_ref);
    return AllComponents<CSegmentRefArray>(m, siSegmentID, m ? m->mesh.EdgeCount() : 0);
}

CSampleRefArray Geometry::GetSamples() const {
    auto* m = NodeOf<PolyMeshNode>(m_ref);
    return AllComponents<CSampleRefArray>(m, siSampleID, m ? m->mesh.SampleCount() : 0);
}

CRefArray Geometry::GetClusters() const {
    CRefArray out;
    auto* g = NodeOf<GeometryNode>(m_ref);
    if (g && g->Primitive())
        for (const auto& c : g->Primitive()->clusters) out.Add(XSI::Host::RefOf(c.get()));
    return out;
}

CStatus Geometry::AddCluster(const CString& type, const CString& name, const CLongArray& indices, Cluster& io) {
    auto* g = NodeOf<GeometryNode>(m_ref);
    if (!g || !g->Primitive()) return CStatus::InvalidArgument;
    std::wstring t = W(type);
    LONG count = g->ComponentCount(t);
    if (count < 0) {
        standin::Host::Current().HostError(L"AddCluster: unknown cluster type " + t);
        return CStatus::InvalidArgument;
    }
    auto c = Make<ClusterNode>();
    c->type = t;
    PrimitiveNode& prim = *g->Primitive();
    c->name = prim.UniqueClusterName(SanitizeName(name.IsEmpty() ? CString(L"Cluster").GetWideString() : W(name)));
    c->parent = &prim;
    if (indices.GetCount() == 0) {
        c->alwaysComplete = true;
        for (LONG i = 0; i < count; ++i) c->elements.push_back(i);
    } else {
        for (LONG i = 0; i < indices.GetCount(); ++i) {
            if (indices[i] < 0 || indices[i] >= count) {
                standin::Host::Current().HostError(L"AddCluster: index " + std::to_wstring(indices[i]) +
                                                   L" is outside the geometry");
                return CStatus::InvalidArgument;
            }
            c->elements.push_back(indices[i]);
        }
    }
    prim.clusters.push_back(c);
    io = Cluster(XSI::Host::RefOf(c.get()));
    return CStatus::OK;
}

CStatus Geometry::AddEmptyCluster(const CString& type, const CString& name, Cluster& io) {
    auto* g = NodeOf<GeometryNode>(m_ref);
    if (!g || !g->Primitive() || g->ComponentCount(W(type)) < 0) return CStatus::InvalidArgument;
    auto c = Make<ClusterNode>();
    c->type = W(type);
    PrimitiveNode& prim = *g->Primitive();
    c->name = prim.UniqueClusterName(SanitizeName(name.IsEmpty() ? std::wstring(L"Cluster") : W(name)));
    c->parent = &prim;
    prim.clusters.push_back(c);
    io = Cluster(XSI::Host::RefOf(c.get()));
    return CStatus::OK;
}

CVertexRefArray PolygonMesh::GetVertices() const {
    auto* m = NodeOf<PolyMeshNode>(m_ref);
    return AllComponents<CVertexRefArray>(m, siVertexID, m ? m->mesh.VertexCount() : 0);
}

CEdgeRefArray PolygonMesh::GetEdges() const {
    auto* m = NodeOf<PolyMeshNode>(m_ref);
    return AllComponents<CEdgeRefArray>(m, siEdgeID, m ? m->mesh.EdgeCount() : 0);
}

CPolygonFaceRefArray PolygonMesh::GetPolygons() const {
    auto* m = NodeOf<PolyMeshNode>(m_ref);
    return AllComponents<CPolygonFaceRefArray>(m, siPolygonFaceID, m ? m->mesh.PolygonCount() : 0);
}

CStatus PolygonMesh::Get(MATH::CVector3Array& out_vertices, CLongArray& out_polygonData) const {
    auto* m = NodeOf<PolyMeshNode>(m_ref);
    if (!m) return CStatus::InvalidArgument;
    const mesh::PolyMesh& pm = m->mesh;
    out_vertices.Resize(pm.VertexCount());
    auto pos = pm.Positions();
    MATH::CVector3* to = out_vertices.GetData();
    for (size_t i = 0; i < pos.size(); ++i) to[i] = MATH::CVector3(pos[i].x, pos[i].y, pos[i].z);
    // Sized once and filled in place: a million polygons are five million values.
    size_t total = 0;
    for (int32_t p = 0; p < pm.PolygonCount(); ++p) total += 1 + pm.PolygonVertices(p).size();
    out_polygonData.Resize(static_cast<LONG>(total));
    LONG* data = out_polygonData.GetData();
    size_t at = 0;
    for (int32_t p = 0; p < pm.PolygonCount(); ++p) {
        auto corners = pm.PolygonVertices(p);
        data[at++] = static_cast<LONG>(corners.size());
        for (int32_t v : corners) data[at++] = v;
    }
    return CStatus::OK;
}

// ---- Points and vertices

XSI_WRAPPER(Point, siPointID)
XSI_WRAPPER(Vertex, siVertexID)

// A mesh's vectors into an array sized for them (as many as both hold).
static void CopyVectors(std::span<const mesh::Vec3> from, MATH::CVector3Array& out) {
    MATH::CVector3* to = out.GetData();
    const size_t n = std::min(from.size(), static_cast<size_t>(out.GetCount()));
    for (size_t i = 0; i < n; ++i) to[i] = MATH::CVector3(from[i].x, from[i].y, from[i].z);
}

LONG Point::GetIndex() const { return m_ref.IsValid() ? IndexOf(m_ref) : -1; }

MATH::CVector3 Point::GetPosition() const {
    auto* g = m_ref.IsValid() ? dynamic_cast<GeometryNode*>(m_ref.GetHostObject()) : nullptr;
    if (!g) return MATH::CVector3();
    mesh::Vec3 p = g->PointPosition(m_ref.GetComponentIndex());
    return MATH::CVector3(p.x, p.y, p.z);
}

CStatus Point::PutPosition(const MATH::CVector3&) { return NotAvailable("Point::PutPosition"); }

MATH::CVector3 Point::GetNormal(bool& io_valid) const {
    PolyMeshNode* m = MeshOf(m_ref);
    io_valid = m != nullptr;
    if (!m) return MATH::CVector3();
    const auto& n = m->mesh.VertexNormals()[static_cast<size_t>(IndexOf(m_ref))];
    io_valid = n.x != 0.0 || n.y != 0.0 || n.z != 0.0;
    return MATH::CVector3(n.x, n.y, n.z);
}

CSampleRefArray Point::GetSamples() const {
    PolyMeshNode* m = MeshOf(m_ref);
    if (!m) return CSampleRefArray();
    auto s = m->mesh.VertexSamples(IndexOf(m_ref));
    return Components<CSampleRefArray>(m, siSampleID, std::vector<int32_t>(s.begin(), s.end()));
}

CLongArray CPointRefArray::GetIndexArray() const {
    CLongArray out(GetCount());
    for (LONG i = 0; i < GetCount(); ++i) out[i] = static_cast<LONG>((*this)[i].GetComponentIndex());
    return out;
}

CLongArray CVertexRefArray::GetIndexArray() const { return CPointRefArray::GetIndexArray(); }

MATH::CVector3Array CPointRefArray::GetPositionArray() const {
    CRef owner;
    LONG cls = 0, count = 0;
    if (GetRun(owner, cls, count)) {
        // Every point of one geometry: copied straight from it.
        MATH::CVector3Array out(count);
        auto* g = owner.IsValid() ? dynamic_cast<GeometryNode*>(owner.GetHostObject()) : nullptr;
        if (!g) return out;
        if (auto* hair = dynamic_cast<HairGeometryNode*>(g)) {
            const std::vector<double>& pos = hair->Positions();
            const size_t n = std::min(pos.size() / 3, static_cast<size_t>(count));
            for (size_t i = 0; i < n; ++i) out[static_cast<LONG>(i)].Set(pos[3 * i], pos[3 * i + 1], pos[3 * i + 2]);
            return out;
        }
        if (auto* m = dynamic_cast<PolyMeshNode*>(g)) {
            CopyVectors(m->mesh.Positions(), out);
            return out;
        }
        for (LONG i = 0; i < count; ++i) {
            mesh::Vec3 p = g->PointPosition(i);
            out[i].Set(p.x, p.y, p.z);
        }
        return out;
    }
    MATH::CVector3Array out(GetCount());
    for (LONG i = 0; i < GetCount(); ++i) {
        const CRef& r = (*this)[i];
        auto* g = r.IsValid() ? dynamic_cast<GeometryNode*>(r.GetHostObject()) : nullptr;
        if (!g) continue;
        mesh::Vec3 p = g->PointPosition(r.GetComponentIndex());
        out[i].Set(p.x, p.y, p.z);
    }
    return out;
}

CStatus CPointRefArray::PutPositionArray(const MATH::CVector3Array& positions) {
    if (positions.GetCount() != GetCount()) return CStatus::InvalidArgument;
    CRef owner;
    LONG cls = 0, count = 0;
    if (GetRun(owner, cls, count))
        if (auto* hair = owner.IsValid() ? dynamic_cast<HairGeometryNode*>(owner.GetHostObject()) : nullptr) {
            // A hair's points, all of them: the output of the operator being updated on it.
            if (count != hair->PointCount()) return CStatus::InvalidArgument;
            std::vector<double>& to = WritableValues(*hair);
            to.resize(static_cast<size_t>(count) * 3);
            for (LONG i = 0; i < count; ++i) {
                const MATH::CVector3& v = positions[i];
                to[3 * static_cast<size_t>(i)] = v.GetX();
                to[3 * static_cast<size_t>(i) + 1] = v.GetY();
                to[3 * static_cast<size_t>(i) + 2] = v.GetZ();
            }
            return CStatus::OK;
        }
    std::vector<int32_t> idx;
    PolyMeshNode* m = SharedMesh(*this, idx);
    if (!m) return CStatus::InvalidArgument;
    std::vector<mesh::Vec3> pos(m->mesh.Positions().begin(), m->mesh.Positions().end());
    for (LONG i = 0; i < GetCount(); ++i) {
        const MATH::CVector3& v = positions[i];
        pos[static_cast<size_t>(IndexOf((*this)[i]))] = mesh::Vec3{v.GetX(), v.GetY(), v.GetZ()};
    }
    m->mesh.SetPositions(pos);
    XSI::Host::Touch(m);
    XSI::Host::Touch(m->parent);
    return CStatus::OK;
}

MATH::CVector3Array CPointRefArray::GetNormalArray() const {
    CRef owner;
    LONG cls = 0, count = 0;
    if (GetRun(owner, cls, count)) {
        // Every vertex of one mesh: copied straight from its normals.
        MATH::CVector3Array out(count);
        auto* m = owner.IsValid() ? dynamic_cast<PolyMeshNode*>(owner.GetHostObject()) : nullptr;
        if (m) CopyVectors(m->mesh.VertexNormals(), out);
        return out;
    }
    MATH::CVector3Array out(GetCount());
    for (LONG i = 0; i < GetCount(); ++i) {
        PolyMeshNode* m = MeshOf((*this)[i]);
        if (!m) continue;
        const auto& n = m->mesh.VertexNormals()[static_cast<size_t>(IndexOf((*this)[i]))];
        out[i].Set(n.x, n.y, n.z);
    }
    return out;
}

CVertexRefArray Vertex::GetNeighborVertices(LONG d) const {
    PolyMeshNode* m = MeshOf(m_ref);
    if (!m || d < 1) return CVertexRefArray();
    m->mesh.VertexNeighborVertices(IndexOf(m_ref), d, t_scratch);
    return Components<CVertexRefArray>(m, siVertexID, t_scratch);
}

CEdgeRefArray Vertex::GetNeighborEdges(LONG d) const {
    PolyMeshNode* m = MeshOf(m_ref);
    if (!m || d < 1) return CEdgeRefArray();
    m->mesh.VertexNeighborEdges(IndexOf(m_ref), d, t_scratch);
    return Components<CEdgeRefArray>(m, siEdgeID, t_scratch);
}

CPolygonFaceRefArray Vertex::GetNeighborPolygons(LONG d) const {
    PolyMeshNode* m = MeshOf(m_ref);
    if (!m || d < 1) return CPolygonFaceRefArray();
    m->mesh.VertexNeighborPolygons(IndexOf(m_ref), d, t_scratch);
    return Components<CPolygonFaceRefArray>(m, siPolygonFaceID, t_scratch);
}

bool Vertex::GetIsBoundary() const {
    PolyMeshNode* m = MeshOf(m_ref);
    if (!m) return false;
    for (int32_t e : m->mesh.VertexEdges(IndexOf(m_ref)))
        if (m->mesh.EdgePolygons(e).size() < 2) return true;
    return false;
}

CRef CVertexRefArray::GetItem(LONG index) const { return CRefArray::GetItem(index); }

CVertexRefArray CVertexRefArray::GetNeighborVertices(LONG d) const {
    std::vector<int32_t> idx;
    PolyMeshNode* m = SharedMesh(*this, idx);
    return Components<CVertexRefArray>(m, siVertexID, Grow(m, siVertexID, idx, siVertexID, d));
}

CEdgeRefArray CVertexRefArray::GetNeighborEdges(LONG d) const {
    std::vector<int32_t> idx;
    PolyMeshNode* m = SharedMesh(*this, idx);
    return Components<CEdgeRefArray>(m, siEdgeID, Grow(m, siVertexID, idx, siEdgeID, d));
}

CPolygonFaceRefArray CVertexRefArray::GetNeighborPolygons(LONG d) const {
    std::vector<int32_t> idx;
    PolyMeshNode* m = SharedMesh(*this, idx);
    return Components<CPolygonFaceRefArray>(m, siPolygonFaceID, Grow(m, siVertexID, idx, siPolygonFaceID, d));
}

// ---- Segments and edges

XSI_WRAPPER(Segment, siSegmentID)
XSI_WRAPPER(Edge, siEdgeID)

LONG Segment::GetIndex() const { return m_ref.IsValid() ? IndexOf(m_ref) : -1; }

CPointRefArray Segment::GetPoints() const {
    PolyMeshNode* m = MeshOf(m_ref);
    if (!m) return CPointRefArray();
    auto [a, b] = m->mesh.EdgeVertices(IndexOf(m_ref));
    return Components<CPointRefArray>(m, siPointID, {a, b});
}

CSampleRefArray Segment::GetSamples() const {
    PolyMeshNode* m = MeshOf(m_ref);
    if (!m) return CSampleRefArray();
    // The samples at the edge's two ends, on every polygon that uses the edge.
    auto [a, b] = m->mesh.EdgeVertices(IndexOf(m_ref));
    std::vector<int32_t> out;
    for (int32_t p : m->mesh.EdgePolygons(IndexOf(m_ref)))
        for (int32_t s : m->mesh.PolygonSamples(p)) {
            int32_t v = m->mesh.SampleVertex(s);
            if (v == a || v == b) out.push_back(s);
        }
    return Components<CSampleRefArray>(m, siSampleID, out);
}

CLongArray CSegmentRefArray::GetIndexArray() const {
    CLongArray out(GetCount());
    for (LONG i = 0; i < GetCount(); ++i) out[i] = static_cast<LONG>((*this)[i].GetComponentIndex());
    return out;
}

CVertexRefArray Edge::GetVertices() const {
    PolyMeshNode* m = MeshOf(m_ref);
    if (!m) return CVertexRefArray();
    auto [a, b] = m->mesh.EdgeVertices(IndexOf(m_ref));
    return Components<CVertexRefArray>(m, siVertexID, {a, b});
}

CVertexRefArray Edge::GetNeighborVertices(LONG d) const {
    PolyMeshNode* m = MeshOf(m_ref);
    if (!m || d < 1) return CVertexRefArray();
    m->mesh.EdgeNeighborVertices(IndexOf(m_ref), d, t_scratch);
    return Components<CVertexRefArray>(m, siVertexID, t_scratch);
}

CEdgeRefArray Edge::GetNeighborEdges(LONG d) const {
    PolyMeshNode* m = MeshOf(m_ref);
    if (!m || d < 1) return CEdgeRefArray();
    m->mesh.EdgeNeighborEdges(IndexOf(m_ref), d, t_scratch);
    return Components<CEdgeRefArray>(m, siEdgeID, t_scratch);
}

CPolygonFaceRefArray Edge::GetNeighborPolygons(LONG d) const {
    PolyMeshNode* m = MeshOf(m_ref);
    if (!m || d < 1) return CPolygonFaceRefArray();
    m->mesh.EdgeNeighborPolygons(IndexOf(m_ref), d, t_scratch);
    return Components<CPolygonFaceRefArray>(m, siPolygonFaceID, t_scratch);
}

bool Edge::GetIsBoundary() const {
    PolyMeshNode* m = MeshOf(m_ref);
    return m && m->mesh.EdgePolygons(IndexOf(m_ref)).size() < 2;
}

CVertexRefArray CEdgeRefArray::GetNeighborVertices(LONG d) const {
    std::vector<int32_t> idx;
    PolyMeshNode* m = SharedMesh(*this, idx);
    return Components<CVertexRefArray>(m, siVertexID, Grow(m, siEdgeID, idx, siVertexID, d));
}

CEdgeRefArray CEdgeRefArray::GetNeighborEdges(LONG d) const {
    std::vector<int32_t> idx;
    PolyMeshNode* m = SharedMesh(*this, idx);
    return Components<CEdgeRefArray>(m, siEdgeID, Grow(m, siEdgeID, idx, siEdgeID, d));
}

CPolygonFaceRefArray CEdgeRefArray::GetNeighborPolygons(LONG d) const {
    std::vector<int32_t> idx;
    PolyMeshNode* m = SharedMesh(*this, idx);
    return Components<CPolygonFaceRefArray>(m, siPolygonFaceID, Grow(m, siEdgeID, idx, siPolygonFaceID, d));
}

// ---- Facets and polygons

XSI_WRAPPER(Facet, siFacetID)
XSI_WRAPPER(PolygonFace, siPolygonFaceID)

LONG Facet::GetIndex() const { return m_ref.IsValid() ? IndexOf(m_ref) : -1; }

CPointRefArray Facet::GetPoints() const {
    PolyMeshNode* m = MeshOf(m_ref);
    if (!m) return CPointRefArray();
    auto c = m->mesh.PolygonVertices(IndexOf(m_ref));
    return Components<CPointRefArray>(m, siPointID, std::vector<int32_t>(c.begin(), c.end()));
}

CSegmentRefArray Facet::GetSegments() const {
    PolyMeshNode* m = MeshOf(m_ref);
    if (!m) return CSegmentRefArray();
    auto e = m->mesh.PolygonEdges(IndexOf(m_ref));
    return Components<CSegmentRefArray>(m, siSegmentID, std::vector<int32_t>(e.begin(), e.end()));
}

LONG Facet::GetNbPoints() const {
    PolyMeshNode* m = MeshOf(m_ref);
    return m ? static_cast<LONG>(m->mesh.PolygonVertices(IndexOf(m_ref)).size()) : 0;
}

CSampleRefArray Facet::GetSamples() const {
    PolyMeshNode* m = MeshOf(m_ref);
    if (!m) return CSampleRefArray();
    auto s = m->mesh.PolygonSamples(IndexOf(m_ref));
    return Components<CSampleRefArray>(m, siSampleID, std::vector<int32_t>(s.begin(), s.end()));
}

CLongArray CFacetRefArray::GetIndexArray() const {
    CLongArray out(GetCount());
    for (LONG i = 0; i < GetCount(); ++i) out[i] = static_cast<LONG>((*this)[i].GetComponentIndex());
    return out;
}

CVertexRefArray PolygonFace::GetVertices() const {
    PolyMeshNode* m = MeshOf(m_ref);
    if (!m) return CVertexRefArray();
    auto c = m->mesh.PolygonVertices(IndexOf(m_ref));
    return Components<CVertexRefArray>(m, siVertexID, std::vector<int32_t>(c.begin(), c.end()));
}

CEdgeRefArray PolygonFace::GetEdges() const {
    PolyMeshNode* m = MeshOf(m_ref);
    if (!m) return CEdgeRefArray();
    auto e = m->mesh.PolygonEdges(IndexOf(m_ref));
    return Components<CEdgeRefArray>(m, siEdgeID, std::vector<int32_t>(e.begin(), e.end()));
}

CVertexRefArray PolygonFace::GetNeighborVertices(LONG d) const {
    PolyMeshNode* m = MeshOf(m_ref);
    if (!m || d < 1) return CVertexRefArray();
    m->mesh.PolygonNeighborVertices(IndexOf(m_ref), d, t_scratch);
    return Components<CVertexRefArray>(m, siVertexID, t_scratch);
}

CEdgeRefArray PolygonFace::GetNeighborEdges(LONG d) const {
    PolyMeshNode* m = MeshOf(m_ref);
    if (!m || d < 1) return CEdgeRefArray();
    m->mesh.PolygonNeighborEdges(IndexOf(m_ref), d, t_scratch);
    return Components<CEdgeRefArray>(m, siEdgeID, t_scratch);
}

CPolygonFaceRefArray PolygonFace::GetNeighborPolygons(LONG d) const {
    PolyMeshNode* m = MeshOf(m_ref);
    if (!m || d < 1) return CPolygonFaceRefArray();
    m->mesh.PolygonNeighborPolygons(IndexOf(m_ref), d, t_scratch);
    return Components<CPolygonFaceRefArray>(m, siPolygonFaceID, t_scratch);
}

CVertexRefArray CPolygonFaceRefArray::GetNeighborVertices(LONG d) const {
    std::vector<int32_t> idx;
    PolyMeshNode* m = SharedMesh(*this, idx);
    return Components<CVertexRefArray>(m, siVertexID, Grow(m, siPolygonFaceID, idx, siVertexID, d));
}

CEdgeRefArray CPolygonFaceRefArray::GetNeighborEdges(LONG d) const {
    std::vector<int32_t> idx;
    PolyMeshNode* m = SharedMesh(*this, idx);
    return Components<CEdgeRefArray>(m, siEdgeID, Grow(m, siPolygonFaceID, idx, siEdgeID, d));
}

CPolygonFaceRefArray CPolygonFaceRefArray::GetNeighborPolygons(LONG d) const {
    std::vector<int32_t> idx;
    PolyMeshNode* m = SharedMesh(*this, idx);
    return Components<CPolygonFaceRefArray>(m, siPolygonFaceID, Grow(m, siPolygonFaceID, idx, siPolygonFaceID, d));
}

MATH::CVector3Array CPolygonFaceRefArray::GetNormalArray() const {
    MATH::CVector3Array out(GetCount());
    for (LONG i = 0; i < GetCount(); ++i) {
        PolyMeshNode* m = MeshOf((*this)[i]);
        if (!m) continue;
        const auto& n = m->mesh.PolygonNormals()[static_cast<size_t>(IndexOf((*this)[i]))];
        out[i].Set(n.x, n.y, n.z);
    }
    return out;
}

// ---- Samples

XSI_WRAPPER(Sample, siSampleID)

LONG Sample::GetIndex() const { return m_ref.IsValid() ? IndexOf(m_ref) : -1; }

CLongArray CSampleRefArray::GetIndexArray() const {
    CLongArray out(GetCount());
    for (LONG i = 0; i < GetCount(); ++i) out[i] = static_cast<LONG>((*this)[i].GetComponentIndex());
    return out;
}

// ---- NURBS curves and surfaces

XSI_WRAPPER(NurbsCurve, siNurbsCurveID)
XSI_WRAPPER(NurbsCurveList, siNurbsCurveListID)
XSI_WRAPPER(NurbsSurfaceMesh, siNurbsSurfaceMeshID)

namespace {
const nurbs::Curve* CurveOf(const CRef& ref) {
    if (!ref.IsValid() || ref.GetComponentClass() != siNurbsCurveID) return nullptr;
    auto* list = dynamic_cast<CurveListNode*>(ref.GetHostObject());
    return list ? &list->curves[static_cast<size_t>(ref.GetComponentIndex())] : nullptr;
}
MATH::CVector3 V(const mesh::Vec3& p) { return MATH::CVector3(p.x, p.y, p.z); }
}  // namespace

CStatus NurbsCurve::GetNormalizedUFromU(double u, double& out) const {
    const nurbs::Curve* c = CurveOf(m_ref);
    if (!c) return CStatus::InvalidArgument;
    out = c->NormalizedFromU(u);
    return CStatus::OK;
}

CStatus NurbsCurve::GetUFromNormalizedU(double n, double& out) const {
    const nurbs::Curve* c = CurveOf(m_ref);
    if (!c) return CStatus::InvalidArgument;
    out = c->UFromNormalized(n);
    return CStatus::OK;
}

CStatus NurbsCurve::EvaluatePosition(double u, MATH::CVector3& pos, MATH::CVector3& tangent, MATH::CVector3& normal,
                                     MATH::CVector3& binormal) const {
    const nurbs::Curve* c = CurveOf(m_ref);
    if (!c) return CStatus::InvalidArgument;
    pos = V(c->Evaluate(u));
    tangent = V(c->Derivative(u));
    tangent.NormalizeInPlace();
    // A normal perpendicular to the tangent, leaning toward +Y where it can.
    MATH::CVector3 up(0, 1, 0);
    if (std::abs(tangent.Dot(up)) > 0.99) up.Set(1, 0, 0);
    binormal.Cross(tangent, up);
    binormal.NormalizeInPlace();
    normal.Cross(binormal, tangent);
    return CStatus::OK;
}

CStatus NurbsCurve::GetLength(double& out) const {
    const nurbs::Curve* c = CurveOf(m_ref);
    if (!c) return CStatus::InvalidArgument;
    out = c->Length();
    return CStatus::OK;
}

CStatus NurbsCurve::GetDegree(LONG& out) const {
    const nurbs::Curve* c = CurveOf(m_ref);
    if (!c) return CStatus::InvalidArgument;
    out = c->Degree();
    return CStatus::OK;
}

CStatus NurbsCurve::GetClosed(bool& out) const {
    const nurbs::Curve* c = CurveOf(m_ref);
    if (!c) return CStatus::InvalidArgument;
    out = c->Closed();
    return CStatus::OK;
}

LONG NurbsCurve::GetIndex() const { return m_ref.IsValid() ? static_cast<LONG>(m_ref.GetComponentIndex()) : -1; }

CNurbsCurveRefArray NurbsCurveList::GetCurves() const {
    CNurbsCurveRefArray out;
    auto* list = NodeOf<CurveListNode>(m_ref);
    if (!list) return out;
    for (size_t i = 0; i < list->curves.size(); ++i) out.Add(CRef::FromHost(list, siNurbsCurveID, static_cast<LLONG>(i)));
    return out;
}

CStatus NurbsCurveList::GetClosestCurvePosition(MATH::CVector3& in_pos, LONG& out_index, double& out_d2, double& out_u,
                                                MATH::CVector3& out_pos) const {
    auto* list = NodeOf<CurveListNode>(m_ref);
    if (!list || list->curves.empty()) return CStatus::InvalidArgument;
    mesh::Vec3 p{in_pos.GetX(), in_pos.GetY(), in_pos.GetZ()};
    out_d2 = -1.0;
    for (size_t i = 0; i < list->curves.size(); ++i) {
        nurbs::CurvePoint c = list->curves[i].Closest(p);
        if (out_d2 < 0 || c.squaredDistance < out_d2) {
            out_d2 = c.squaredDistance;
            out_index = static_cast<LONG>(i);
            out_u = c.u;
            out_pos = V(c.position);
        }
    }
    return CStatus::OK;
}

CStatus NurbsCurveList::Get(siNurbsFormat format, CDoubleArray& points, CLongArray& pointCounts, CDoubleArray& knots,
                            CLongArray& knotCounts, CBoolArray& closed, CLongArray& degrees, CLongArray& parameterization) const {
    auto* list = NodeOf<CurveListNode>(m_ref);
    if (!list) return CStatus::InvalidArgument;
    if (format != siIGESNurbs) return CStatus::NotImpl;
    points.Clear();
    pointCounts.Clear();
    knots.Clear();
    knotCounts.Clear();
    closed.Clear();
    degrees.Clear();
    parameterization.Clear();
    for (const nurbs::Curve& c : list->curves) {
        for (const auto& h : c.HomogeneousPoints()) {
            points.Add(h[0] / h[3]);
            points.Add(h[1] / h[3]);
            points.Add(h[2] / h[3]);
            points.Add(h[3]);
        }
        pointCounts.Add(static_cast<LONG>(c.HomogeneousPoints().size()));
        for (double k : c.Knots()) knots.Add(k);
        knotCounts.Add(static_cast<LONG>(c.Knots().size()));
        closed.Add(c.Closed());
        degrees.Add(c.Degree());
        parameterization.Add(1);  // uniform
    }
    return CStatus::OK;
}

CStatus NurbsCurveList::GetLength(double& out) const {
    auto* list = NodeOf<CurveListNode>(m_ref);
    if (!list) return CStatus::InvalidArgument;
    out = 0.0;
    for (const auto& c : list->curves) out += c.Length();
    return CStatus::OK;
}

CStatus NurbsCurveList::GetClosed(bool& out) const {
    auto* list = NodeOf<CurveListNode>(m_ref);
    if (!list) return CStatus::InvalidArgument;
    out = !list->curves.empty();
    for (const auto& c : list->curves) out = out && c.Closed();
    return CStatus::OK;
}

CStatus NurbsSurfaceMesh::GetClosestSurfacePosition(MATH::CVector3& in_pos, LONG& out_index, double& out_d2,
                                                    double& out_u, double& out_v, MATH::CVector3& out_pos) const {
    auto* surfaces = NodeOf<SurfaceMeshNode>(m_ref);
    if (!surfaces || surfaces->surfaces.empty()) return CStatus::InvalidArgument;
    mesh::Vec3 p{in_pos.GetX(), in_pos.GetY(), in_pos.GetZ()};
    out_d2 = -1.0;
    for (size_t i = 0; i < surfaces->surfaces.size(); ++i) {
        nurbs::SurfacePoint c = surfaces->surfaces[i].Closest(p);
        if (out_d2 < 0 || c.squaredDistance < out_d2) {
            out_d2 = c.squaredDistance;
            out_index = static_cast<LONG>(i);
            out_u = c.u;
            out_v = c.v;
            out_pos = V(c.position);
        }
    }
    return CStatus::OK;
}

// ---- Clusters and cluster properties

XSI_WRAPPER(Cluster, siClusterID)
XSI_WRAPPER(ClusterProperty, siClusterPropertyID)

CClusterElementArray::CClusterElementArray() {}
CClusterElementArray::CClusterElementArray(const CClusterElementArray& other) : m_cluster(other.m_cluster) {}
CClusterElementArray::~CClusterElementArray() {}
CClusterElementArray& CClusterElementArray::operator=(const CClusterElementArray& other) {
    m_cluster = other.m_cluster;
    return *this;
}

CLongArray CClusterElementArray::GetArray() const {
    auto* c = NodeOf<ClusterNode>(m_cluster);
    CLongArray out;
    if (!c) return out;
    out.Resize(static_cast<LONG>(c->elements.size()));
    std::copy(c->elements.begin(), c->elements.end(), out.GetData());
    return out;
}

LONG CClusterElementArray::GetCount() const {
    auto* c = NodeOf<ClusterNode>(m_cluster);
    return c ? static_cast<LONG>(c->elements.size()) : 0;
}

LONG CClusterElementArray::GetItem(LONG index) const {
    auto* c = NodeOf<ClusterNode>(m_cluster);
    if (!c || index < 0 || static_cast<size_t>(index) >= c->elements.size()) return -1;
    return c->elements[static_cast<size_t>(index)];
}

LONG CClusterElementArray::FindIndex(LONG element) const {
    auto* c = NodeOf<ClusterNode>(m_cluster);
    if (!c) return -1;
    auto it = std::find(c->elements.begin(), c->elements.end(), element);
    return it == c->elements.end() ? -1 : static_cast<LONG>(it - c->elements.begin());
}

CClusterElementArray Cluster::GetElements() const {
    CClusterElementArray out;
    out.m_cluster = m_ref;
    return out;
}

CStatus Cluster::FindIndex(LONG geometryIndex, LONG& out_clusterIndex) const {
    out_clusterIndex = GetElements().FindIndex(geometryIndex);
    return out_clusterIndex < 0 ? CStatus::Fail : CStatus::OK;
}

bool Cluster::IsAlwaysComplete() const {
    auto* c = NodeOf<ClusterNode>(m_ref);
    return c && c->alwaysComplete;
}

CClusterPropertyElementArray::CClusterPropertyElementArray() {}
CClusterPropertyElementArray::CClusterPropertyElementArray(const CClusterPropertyElementArray& other)
    : m_property(other.m_property) {}
CClusterPropertyElementArray::~CClusterPropertyElementArray() {}
CClusterPropertyElementArray& CClusterPropertyElementArray::operator=(const CClusterPropertyElementArray& other) {
    m_property = other.m_property;
    return *this;
}

CDoubleArray CClusterPropertyElementArray::GetArray() const {
    auto* p = NodeOf<ClusterPropertyNode>(m_property);
    CDoubleArray out;
    if (!p) return out;
    const std::vector<double>& values = EvaluatedValues(*p);
    out.Resize(static_cast<LONG>(values.size()));
    std::copy(values.begin(), values.end(), out.GetData());
    return out;
}

CStatus CClusterPropertyElementArray::PutArray(const CDoubleArray& values) {
    auto* p = NodeOf<ClusterPropertyNode>(m_property);
    if (!p) return CStatus::InvalidArgument;
    if (static_cast<size_t>(values.GetCount()) != p->values.size()) {
        standin::Host::Current().HostError(L"PutArray: " + p->FullName() + L" holds " + std::to_wstring(p->values.size()) +
                                           L" values, " + std::to_wstring(values.GetCount()) + L" given");
        return CStatus::InvalidArgument;
    }
    std::vector<double>& target = WritableValues(*p);
    target.assign(values.GetArray(), values.GetArray() + values.GetCount());
    return CStatus::OK;
}

LONG CClusterPropertyElementArray::GetCount() const {
    auto* p = NodeOf<ClusterPropertyNode>(m_property);
    return p && p->valueSize > 0 ? static_cast<LONG>(p->values.size()) / p->valueSize : 0;
}

LONG CClusterPropertyElementArray::GetValueSize() const {
    auto* p = NodeOf<ClusterPropertyNode>(m_property);
    return p ? p->valueSize : 0;
}

CDoubleArray CClusterPropertyElementArray::GetItem(LONG index) const {
    auto* p = NodeOf<ClusterPropertyNode>(m_property);
    CDoubleArray out;
    if (!p || index < 0 || index >= GetCount()) return out;
    const std::vector<double>& values = EvaluatedValues(*p);
    for (LONG k = 0; k < p->valueSize; ++k) out.Add(values[static_cast<size_t>(index * p->valueSize + k)]);
    return out;
}

CStatus CClusterPropertyElementArray::PutItem(LONG index, const CDoubleArray& values) {
    auto* p = NodeOf<ClusterPropertyNode>(m_property);
    if (!p || index < 0 || index >= GetCount() || values.GetCount() != p->valueSize) return CStatus::InvalidArgument;
    std::vector<double>& target = WritableValues(*p);
    for (LONG k = 0; k < p->valueSize; ++k) target[static_cast<size_t>(index * p->valueSize + k)] = values[k];
    return CStatus::OK;
}

CClusterPropertyElementArray ClusterProperty::GetElements() const {
    CClusterPropertyElementArray out;
    out.m_property = m_ref;
    return out;
}

LONG ClusterProperty::GetValueSize() const {
    auto* p = NodeOf<ClusterPropertyNode>(m_ref);
    return p ? p->valueSize : 0;
}

siClusterPropertyType ClusterProperty::GetPropertyType() const {
    auto* p = NodeOf<ClusterPropertyNode>(m_ref);
    return p && p->type == L"uvspace" ? siClusterPropertyUVType : siClusterPropertyWeightMapType;
}

}  // namespace XSI
